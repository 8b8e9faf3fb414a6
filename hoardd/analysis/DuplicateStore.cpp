#include "hoardd/analysis/DuplicateStore.h"

#include <algorithm>
#include <map>

#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

/// Hashes are stored as the signed numbers of the same bits.
std::optional<Fingerprint> fingerprintIn(const Statement &row, int column) {
    if (row.isNull(column))
        return std::nullopt;
    return Fingerprint{static_cast<std::uint64_t>(row.integer(column)),
                       static_cast<std::uint64_t>(row.integer(column + 1))};
}

// In two passes over tables that are in the same order: a join would search the second for each row of the
// first.
Result<std::vector<DuplicateItem>> readItems(Database &database) {
    std::vector<DuplicateItem> items;
    const auto read =
        database
            .prepare("SELECT pk, kind, width, height, datecreated, duration, sha256 FROM zgenericasset "
                     "ORDER BY pk")
            .forEach([&](const Statement &row) {
                DuplicateItem &item = items.emplace_back();
                item.key = row.integer(0);
                item.kind = store::kindIn(row, 1);
                item.width = static_cast<std::uint32_t>(row.integer(2));
                item.height = static_cast<std::uint32_t>(row.integer(3));
                item.date = row.real(4);
                item.duration = row.real(5);
                item.sum = store::sumIn(row, 6);
            });
    if (!read)
        return passOn(read);
    auto item = items.begin();
    const auto added =
        database.prepare("SELECT asset, difference, frequency FROM zfingerprint ORDER BY asset")
            .forEach([&](const Statement &row) {
                const std::int64_t key = row.integer(0);
                while (item != items.end() && item->key < key)
                    ++item;
                if (item != items.end() && item->key == key)
                    item->fingerprint = fingerprintIn(row, 1);
            });
    if (!added)
        return passOn(added);
    return items;
}

Result<std::vector<CannotLink>> readConstraints(Database &database) {
    return database.prepare("SELECT one, other FROM znotduplicate").all([](const Statement &row) {
        return CannotLink(row.integer(0), row.integer(1));
    });
}

/// The group of each asset, by asset and likeness. A group has the key of its first asset.
using Grouping = std::map<std::pair<std::int64_t, Likeness>, std::int64_t>;

Result<Grouping> readGrouping(Database &database) {
    Grouping grouping;
    const auto read =
        database.prepare("SELECT asset, likeness, duplicategroup FROM zduplicate")
            .forEach([&](const Statement &row) {
                grouping[{row.integer(0), static_cast<Likeness>(row.integer(1))}] = row.integer(2);
            });
    if (!read)
        return passOn(read);
    return grouping;
}

Grouping groupingOf(const DuplicatePlan &plan) {
    Grouping grouping;
    for (const DuplicateGroup &group : plan.groups)
        for (const std::int64_t key : group.keys)
            grouping[{key, group.likeness}] = group.keys.front();
    return grouping;
}

/// Removes from both what is in both.
void removeEqual(Grouping &stored, Grouping &wanted) {
    std::erase_if(wanted, [&](const auto &each) {
        const auto found = stored.find(each.first);
        if (found == stored.end())
            return false;
        const bool isEqual = found->second == each.second;
        stored.erase(found);
        return isEqual;
    });
}

Result<> deleteGrouping(Database &database, const Grouping &obsolete) {
    Statement remove = database.prepare("DELETE FROM zduplicate WHERE asset = ? AND likeness = ?");
    for (const auto &[member, group] : obsolete)
        if (const auto removed = remove.bind(member.first, static_cast<int>(member.second)).run(); !removed)
            return removed;
    return {};
}

// An asset that has gone meanwhile is left out; its going has made the groups stale again.
Result<> writeGrouping(Database &database, const Grouping &grouping) {
    Statement add = database.prepare("INSERT OR REPLACE INTO zduplicate (asset, likeness, duplicategroup) "
                                     "SELECT pk, ?, ? FROM zgenericasset WHERE pk = ?");
    for (const auto &[member, group] : grouping)
        if (const auto added = add.bind(static_cast<int>(member.second), group, member.first).run(); !added)
            return added;
    return {};
}

} // namespace

Result<std::vector<NewAsset>> assetsWithoutFingerprint(Database &database, std::int64_t after,
                                                       std::size_t limit) {
    return database
        .prepare("SELECT pk, uuid, thumbnailindex FROM zduefingerprint JOIN zgenericasset ON pk = asset "
                 "WHERE asset > ? ORDER BY asset LIMIT ?")
        .bind(after, limit)
        .all([](const Statement &row) {
            return NewAsset{row.integer(0), std::string(row.text(1)), row.integer(2)};
        });
}

Result<std::vector<Fingerprint>> readFingerprints(Database &database) {
    return database.prepare("SELECT difference, frequency FROM zfingerprint WHERE difference IS NOT NULL")
        .all([](const Statement &row) { return *fingerprintIn(row, 0); });
}

Result<> writeFingerprints(Database &database, std::span<const NewAsset> assets,
                           std::span<const std::optional<Fingerprint>> fingerprints) {
    Statement write =
        database.prepare("INSERT OR REPLACE INTO zfingerprint (asset, thumbnailindex, difference, frequency) "
                         "SELECT pk, ?, ?, ? FROM zgenericasset WHERE pk = ?");
    for (std::size_t i = 0; i < assets.size(); ++i) {
        std::optional<std::uint64_t> difference, frequency;
        if (fingerprints[i]) {
            difference = fingerprints[i]->difference;
            frequency = fingerprints[i]->frequency;
        }
        write.bind(assets[i].thumbnailIndex, difference, frequency, assets[i].key);
        if (const auto written = write.run(); !written)
            return written;
    }
    return {};
}

Result<bool> isLinked(Database &database, std::int64_t asset) {
    return database
        .prepare("SELECT 1 WHERE EXISTS (SELECT 1 FROM zgenericasset a JOIN zgenericasset b ON b.sha256 = "
                 "a.sha256 AND b.pk <> a.pk WHERE a.pk = ?1) OR EXISTS (SELECT 1 FROM zduplicate WHERE "
                 "asset = ?1)")
        .bind(asset)
        .any();
}

Result<bool> areGroupsStale(Database &database) {
    return database.prepare("SELECT 1 FROM zduplicatestate WHERE changed > grouped").any();
}

Result<> markGroupsStale(Database &database) {
    return database.execute("UPDATE zduplicatestate SET changed = changed + 1");
}

Result<DuplicatePlan> planDuplicates(Database &database) {
    const auto changed = database.integer("SELECT changed FROM zduplicatestate");
    if (!changed)
        return passOn(changed);
    const auto items = readItems(database);
    if (!items)
        return passOn(items);
    const auto constraints = readConstraints(database);
    if (!constraints)
        return passOn(constraints);
    return DuplicatePlan{findDuplicates(*items, *constraints), *changed};
}

Result<> applyPlan(Database &database, const DuplicatePlan &plan) {
    auto obsolete = readGrouping(database);
    if (!obsolete)
        return passOn(obsolete);
    Grouping wanted = groupingOf(plan);
    removeEqual(*obsolete, wanted);
    return deleteGrouping(database, *obsolete)
        .and_then([&] { return writeGrouping(database, wanted); })
        .and_then([&] {
            return database.prepare("UPDATE zduplicatestate SET grouped = ?").bind(plan.changed).run();
        });
}

Result<> forgetDuplicates(Database &database) {
    return database.execute("DELETE FROM zduplicate; DELETE FROM zfingerprint;").and_then([&] {
        return markGroupsStale(database);
    });
}

Result<> setAreDuplicates(Database &database, std::span<const std::int64_t> assets, bool areDuplicates) {
    Statement statement =
        database.prepare(areDuplicates ? "DELETE FROM znotduplicate WHERE one = ? AND other = ?"
                                       : "INSERT OR IGNORE INTO znotduplicate (one, other) VALUES (?, ?)");
    for (std::size_t i = 0; i < assets.size(); ++i)
        for (std::size_t j = i + 1; j < assets.size(); ++j) {
            const auto [one, other] = std::minmax(assets[i], assets[j]);
            if (one == other)
                continue;
            if (const auto done = statement.bind(one, other).run(); !done)
                return done;
        }
    return markGroupsStale(database);
}

} // namespace wickerlane::hoardd
