#include "hoardd/analysis/DuplicateStore.h"

#include <algorithm>
#include <map>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;
using store::AssetKind;

namespace {

/// Hashes are stored as the signed numbers of the same bits.
std::optional<Fingerprint> fingerprintIn(const Statement &row, int column) {
    if (row.isNull(column))
        return std::nullopt;
    return Fingerprint{static_cast<std::uint64_t>(row.integer(column)),
                       static_cast<std::uint64_t>(row.integer(column + 1))};
}

std::optional<std::vector<DuplicateItem>> readItems(Database &database) {
    std::vector<DuplicateItem> items;
    Statement statement = database.prepare(
        "SELECT a.pk, a.kind, a.width, a.height, a.datecreated, a.duration, a.sha256, f.difference, "
        "f.frequency FROM zgenericasset a LEFT JOIN zfingerprint f ON f.asset = a.pk ORDER BY a.pk");
    while (statement.next()) {
        DuplicateItem &item = items.emplace_back();
        item.key = statement.integer(0);
        item.kind = statement.integer(1) == 1 ? AssetKind::video : AssetKind::photo;
        item.width = static_cast<std::uint32_t>(statement.integer(2));
        item.height = static_cast<std::uint32_t>(statement.integer(3));
        item.date = statement.real(4);
        item.duration = statement.real(5);
        const Bytes sum = statement.blob(6);
        std::copy_n(sum.begin(), std::min(sum.size(), item.sum.size()), item.sum.begin());
        item.fingerprint = fingerprintIn(statement, 7);
    }
    return statement.failed() ? std::nullopt : std::optional(std::move(items));
}

std::optional<std::vector<NotDuplicates>> readNotDuplicates(Database &database) {
    std::vector<NotDuplicates> pairs;
    Statement statement = database.prepare("SELECT one, other FROM znotduplicate");
    while (statement.next())
        pairs.emplace_back(statement.integer(0), statement.integer(1));
    return statement.failed() ? std::nullopt : std::optional(std::move(pairs));
}

/// The group of each asset, by asset and likeness. A group has the key of its first asset.
using Grouping = std::map<std::pair<std::int64_t, Likeness>, std::int64_t>;

std::optional<Grouping> readGrouping(Database &database) {
    Grouping grouping;
    Statement statement = database.prepare("SELECT asset, likeness, duplicategroup FROM zduplicate");
    while (statement.next())
        grouping[{statement.integer(0), static_cast<Likeness>(statement.integer(1))}] = statement.integer(2);
    return statement.failed() ? std::nullopt : std::optional(std::move(grouping));
}

} // namespace

std::optional<std::vector<UnseenAsset>> unseenAssets(Database &database, std::int64_t after,
                                                     std::size_t most) {
    std::vector<UnseenAsset> assets;
    Statement statement = database.prepare(
        "SELECT a.pk, a.uuid, a.thumbnailindex FROM zgenericasset a LEFT JOIN zfingerprint f "
        "ON f.asset = a.pk WHERE a.pk > ? AND (f.asset IS NULL OR f.thumbnailindex <> a.thumbnailindex) "
        "ORDER BY a.pk LIMIT ?");
    statement.bind(after, most);
    while (statement.next())
        assets.push_back({statement.integer(0), std::string(statement.text(1)), statement.integer(2)});
    return statement.failed() ? std::nullopt : std::optional(std::move(assets));
}

std::optional<std::vector<Fingerprint>> readFingerprints(Database &database) {
    std::vector<Fingerprint> fingerprints;
    Statement statement =
        database.prepare("SELECT difference, frequency FROM zfingerprint WHERE difference IS NOT NULL");
    while (statement.next())
        fingerprints.push_back(*fingerprintIn(statement, 0));
    return statement.failed() ? std::nullopt : std::optional(std::move(fingerprints));
}

bool writeFingerprint(Database &database, const UnseenAsset &asset,
                      const std::optional<Fingerprint> &fingerprint) {
    const auto number = [](std::uint64_t hash) { return static_cast<std::int64_t>(hash); };
    using Number = std::optional<std::int64_t>;
    Statement statement = database.prepare("INSERT OR REPLACE INTO zfingerprint (asset, thumbnailindex, "
                                           "difference, frequency) SELECT pk, ?, ?, ? FROM zgenericasset "
                                           "WHERE pk = ?");
    return statement
        .bind(asset.thumbnailIndex, fingerprint ? Number(number(fingerprint->difference)) : Number(),
              fingerprint ? Number(number(fingerprint->frequency)) : Number(), asset.key)
        .run();
}

std::optional<bool> hasTies(Database &database, std::int64_t asset) {
    Statement statement = database.prepare(
        "SELECT EXISTS (SELECT 1 FROM zgenericasset a JOIN zgenericasset b ON b.sha256 = a.sha256 AND "
        "b.pk <> a.pk WHERE a.pk = ?1) OR EXISTS (SELECT 1 FROM zduplicate WHERE asset = ?1)");
    statement.bind(asset);
    return statement.next() ? std::optional(statement.integer(0) != 0) : std::nullopt;
}

std::optional<bool> areGroupsStale(Database &database) {
    const auto stale = database.integer("SELECT changed > grouped FROM zduplicatestate");
    return stale ? std::optional(*stale != 0) : std::nullopt;
}

bool markGroupsStale(Database &database) {
    return database.execute("UPDATE zduplicatestate SET changed = changed + 1");
}

std::optional<DuplicatePlan> planDuplicates(Database &database) {
    const auto changed = database.integer("SELECT changed FROM zduplicatestate");
    const auto items = readItems(database);
    const auto apart = readNotDuplicates(database);
    if (!changed || !items || !apart)
        return std::nullopt;
    return DuplicatePlan{findDuplicates(*items, *apart), *changed};
}

bool applyPlan(Database &database, const DuplicatePlan &plan) {
    auto obsolete = readGrouping(database);
    if (!obsolete)
        return false;
    Grouping wanted;
    for (const DuplicateGroup &group : plan.groups)
        for (const std::int64_t key : group.keys)
            wanted[{key, group.likeness}] = group.keys.front();
    // What is stored as it is wanted needs no writing.
    std::erase_if(wanted, [&](const auto &each) {
        const auto stored = obsolete->find(each.first);
        if (stored == obsolete->end())
            return false;
        const bool same = stored->second == each.second;
        obsolete->erase(stored);
        return same;
    });
    Statement remove = database.prepare("DELETE FROM zduplicate WHERE asset = ? AND likeness = ?");
    for (const auto &[place, group] : *obsolete)
        if (!remove.bind(place.first, static_cast<int>(place.second)).run())
            return false;
    // An asset that has gone meanwhile is left out; its going has made the groups stale again.
    Statement add = database.prepare("INSERT OR REPLACE INTO zduplicate (asset, likeness, duplicategroup) "
                                     "SELECT pk, ?, ? FROM zgenericasset WHERE pk = ?");
    for (const auto &[place, group] : wanted)
        if (!add.bind(static_cast<int>(place.second), group, place.first).run())
            return false;
    return database.prepare("UPDATE zduplicatestate SET grouped = ?").bind(plan.changed).run();
}

bool forgetDuplicates(Database &database) {
    return database.execute("DELETE FROM zduplicate; DELETE FROM zfingerprint;") && markGroupsStale(database);
}

bool setAreDuplicates(Database &database, std::span<const std::int64_t> assets, bool areDuplicates) {
    Statement statement =
        database.prepare(areDuplicates ? "DELETE FROM znotduplicate WHERE one = ? AND other = ?"
                                       : "INSERT OR IGNORE INTO znotduplicate (one, other) VALUES (?, ?)");
    for (std::size_t i = 0; i < assets.size(); ++i)
        for (std::size_t j = i + 1; j < assets.size(); ++j) {
            const auto [one, other] = std::minmax(assets[i], assets[j]);
            if (one != other && !statement.bind(one, other).run())
                return false;
        }
    return markGroupsStale(database);
}

} // namespace wickerlane::hoardd
