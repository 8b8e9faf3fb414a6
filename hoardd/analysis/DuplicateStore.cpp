#include "hoardd/analysis/DuplicateStore.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

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

/// All but the fingerprint, of the columns in `itemColumns`.
constexpr const char *itemColumns = "pk, kind, width, height, datecreated, duration, sha256";

DuplicateItem itemIn(const Statement &row) {
    DuplicateItem item;
    item.key = row.integer(0);
    item.kind = store::kindIn(row, 1);
    item.width = static_cast<std::uint32_t>(row.integer(2));
    item.height = static_cast<std::uint32_t>(row.integer(3));
    item.date = row.real(4);
    item.duration = row.real(5);
    item.sum = store::sumIn(row, 6);
    return item;
}

// In two passes over tables that are in the same order: a join would search the second for each row of the
// first.
Result<std::vector<DuplicateItem>> readItems(Database &database) {
    auto items = database.prepare(std::string("SELECT ") + itemColumns + " FROM zgenericasset ORDER BY pk")
                     .all(itemIn);
    if (!items)
        return items;
    auto item = items->begin();
    const auto added =
        database.prepare("SELECT asset, difference, frequency FROM zfingerprint ORDER BY asset")
            .forEach([&](const Statement &row) {
                const std::int64_t key = row.integer(0);
                while (item != items->end() && item->key < key)
                    ++item;
                if (item != items->end() && item->key == key)
                    item->fingerprint = fingerprintIn(row, 1);
            });
    if (!added)
        return passOn(added);
    return items;
}

/// Those of the assets that there are.
Result<std::vector<DuplicateItem>> readItems(Database &database, std::span<const std::int64_t> assets) {
    Statement statement = database.prepare(std::string("SELECT ") + itemColumns +
                                           ", difference, frequency FROM zgenericasset "
                                           "LEFT JOIN zfingerprint ON asset = pk WHERE pk = ?");
    std::vector<DuplicateItem> items;
    for (const std::int64_t asset : assets) {
        const auto read = statement.bind(asset).forEach([&](const Statement &row) {
            items.push_back(itemIn(row));
            items.back().fingerprint = fingerprintIn(row, 7);
        });
        if (!read)
            return passOn(read);
    }
    return items;
}

Result<std::vector<CannotLink>> readConstraints(Database &database) {
    return database.prepare("SELECT one, other FROM znotduplicate").all([](const Statement &row) {
        return CannotLink(row.integer(0), row.integer(1));
    });
}

/// An asset that may be like more is not linked by itself.
constexpr std::size_t maxLinked = 256;

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

constexpr const char *isKeptApart =
    "SELECT 1 FROM znotduplicate WHERE ?1 IN (one, other) UNION ALL "
    "SELECT 1 FROM zduplicate own JOIN zduplicate d ON d.likeness = own.likeness AND "
    "d.duplicategroup = own.duplicategroup JOIN znotduplicate ON d.asset IN (one, other) "
    "WHERE own.asset = ?1 AND own.likeness = ?2";

/// Whether a person keeps apart any of the assets, or of those in their groups, from any other. If not, their
/// groups are all that they could be in.
Result<bool> isAnyKeptApart(Database &database, Likeness likeness, std::span<const std::int64_t> assets) {
    Statement statement = database.prepare(isKeptApart);
    for (const std::int64_t asset : assets) {
        const auto apart = statement.bind(asset, static_cast<int>(likeness)).any();
        if (!apart || *apart)
            return apart;
    }
    return false;
}

/// Makes one group of assets and of those that are in groups with them.
Result<> mergeGroups(Database &database, Likeness likeness, std::span<const std::int64_t> assets) {
    Statement find =
        database.prepare("SELECT duplicategroup FROM zduplicate WHERE asset = ? AND likeness = ?");
    std::set<std::int64_t> groups;
    for (const std::int64_t asset : assets) {
        const auto found = find.bind(asset, static_cast<int>(likeness)).forEach([&](const Statement &row) {
            groups.insert(row.integer(0));
        });
        if (!found)
            return found;
    }
    std::int64_t first = *std::ranges::min_element(assets);
    if (!groups.empty())
        first = std::min(first, *groups.begin());
    Statement move = database.prepare(
        "UPDATE zduplicate SET duplicategroup = ? WHERE likeness = ? AND duplicategroup = ?");
    for (const std::int64_t group : groups)
        if (const auto moved = move.bind(first, static_cast<int>(likeness), group).run(); !moved)
            return moved;
    Grouping grouping;
    for (const std::int64_t asset : assets)
        grouping[{asset, likeness}] = first;
    return writeGrouping(database, grouping);
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

Result<std::uint64_t> countWithoutFingerprint(Database &database) {
    return database.integer("SELECT count(*) FROM zduefingerprint").map([](std::int64_t count) {
        return static_cast<std::uint64_t>(count);
    });
}

Result<FingerprintMemory::Known> readFingerprints(Database &database) {
    FingerprintMemory::Known known;
    const auto read =
        database.prepare("SELECT asset, difference, frequency FROM zfingerprint WHERE difference IS NOT NULL")
            .forEach([&](const Statement &row) {
                known.assets.push_back(row.integer(0));
                known.fingerprints.push_back(*fingerprintIn(row, 1));
            });
    if (!read)
        return passOn(read);
    return known;
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

Result<bool> isGrouped(Database &database, std::int64_t asset) {
    return database.prepare("SELECT 1 FROM zduplicate JOIN zfingerprint USING (asset) WHERE asset = ?")
        .bind(asset)
        .any();
}

Result<bool> linkAsset(Database &database, std::int64_t asset, std::span<const std::int64_t> candidates) {
    auto keys = database
                    .prepare("SELECT b.pk FROM zgenericasset a JOIN zgenericasset b ON b.sha256 = a.sha256 "
                             "AND b.pk <> a.pk WHERE a.pk = ? LIMIT ?")
                    .bind(asset, maxLinked)
                    .all([](const Statement &row) { return row.integer(0); });
    if (!keys)
        return passOn(keys);
    std::ranges::copy_if(candidates, std::back_inserter(*keys),
                         [&](std::int64_t key) { return key != asset; });
    if (keys->size() >= maxLinked)
        return false;
    const auto items = readItems(database, *keys);
    if (!items)
        return passOn(items);
    const auto own = readItems(database, {&asset, 1});
    if (!own)
        return passOn(own);
    std::map<Likeness, std::vector<std::int64_t>> alike;
    for (const DuplicateItem &item : *own) // unless it has gone meanwhile
        for (const DuplicateItem &other : *items)
            if (const auto likeness = likenessOf(item, other))
                alike[*likeness].push_back(other.key);
    for (auto &[likeness, assets] : alike) {
        assets.push_back(asset);
        const auto apart = isAnyKeptApart(database, likeness, assets);
        if (!apart || *apart)
            return apart ? Result<bool>(false) : apart;
    }
    for (const auto &[likeness, assets] : alike)
        if (const auto merged = mergeGroups(database, likeness, assets); !merged)
            return passOn(merged);
    return true;
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
