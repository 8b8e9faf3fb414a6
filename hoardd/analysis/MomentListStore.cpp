#include "hoardd/analysis/MomentListStore.h"

#include <algorithm>
#include <set>
#include <span>
#include <vector>

#include "hoardd/analysis/MomentRule.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

using Group = std::span<const RunItem>;

struct MomentList {
    double start = 0;
    double end = 0;
    std::int64_t momentCount = 0;
    std::int64_t assetCount = 0;
    bool operator==(const MomentList &) const = default;
};

Result<std::set<std::int64_t>> readListKeys(Database &database) {
    std::set<std::int64_t> keys;
    const auto read = database.prepare("SELECT pk FROM zmomentlist").forEach([&](const Statement &row) {
        keys.insert(row.integer(0));
    });
    if (!read)
        return passOn(read);
    return keys;
}

MomentList listOf(Group group) {
    MomentList list{group.front().interval.start, group.back().interval.end,
                    static_cast<std::int64_t>(group.size()), 0};
    for (const RunItem &moment : group)
        list.assetCount += moment.assetCount;
    return list;
}

/// Writes lists and what belongs to them.
class ListWriter {
public:
    explicit ListWriter(Database &opened)
        : database(opened), select(opened.prepare("SELECT startdate, enddate, momentcount, assetcount "
                                                  "FROM zmomentlist WHERE pk = ?")),
          add(opened.prepare("INSERT INTO zmomentlist (startdate, enddate, momentcount, assetcount) "
                             "VALUES (?, ?, ?, ?)")),
          alter(opened.prepare("UPDATE zmomentlist SET startdate = ?, enddate = ?, momentcount = ?, "
                               "assetcount = ?, analyzed = 0 WHERE pk = ?")),
          move(opened.prepare("UPDATE zmoment SET list = ? WHERE pk = ?")),
          remove(opened.prepare("DELETE FROM zmomentlist WHERE pk = ?")) {}

    /// A key of 0 makes a new list.
    Result<> writeGroup(std::int64_t key, Group group) {
        const MomentList list = listOf(group);
        const bool hasChanged = key == 0 || std::ranges::any_of(group, [key](const RunItem &moment) {
                                    return moment.previousGroup != key;
                                });
        if (!hasChanged) {
            const auto isWritten = isStored(key, list);
            if (!isWritten)
                return passOn(isWritten);
            if (*isWritten)
                return {};
        }
        const auto written = writeList(key, list);
        if (!written)
            return passOn(written);
        for (const RunItem &moment : group)
            if (moment.previousGroup != *written)
                if (const auto moved = move.bind(*written, moment.key).run(); !moved)
                    return moved;
        return {};
    }

    Result<> removeList(std::int64_t key) { return remove.bind(key).run(); }

private:
    /// Whether a list is stored with these values.
    Result<bool> isStored(std::int64_t key, const MomentList &list) {
        const auto stored = select.bind(key).first([](const Statement &row) {
            return MomentList{row.real(0), row.real(1), row.integer(2), row.integer(3)};
        });
        if (!stored)
            return passOn(stored);
        return *stored == list;
    }

    /// Gives the key.
    Result<std::int64_t> writeList(std::int64_t key, const MomentList &list) {
        Statement &write = key == 0 ? add : alter;
        write.bind(list.start, list.end, list.momentCount, list.assetCount);
        if (key != 0)
            write.bind(key);
        if (const auto written = write.run(); !written)
            return passOn(written);
        return key != 0 ? key : database.lastRowID();
    }

    Database &database;
    Statement select;
    Statement add;
    Statement alter;
    Statement move;
    Statement remove;
};

Result<> rebuildLists(Database &database, const std::vector<Run> &runs, std::set<std::int64_t> maybeGone) {
    const std::vector<Group> groups = groupsIn(runs, momentListRule);
    const GroupKeys keys = keysOf(groups, std::move(maybeGone));
    ListWriter writer(database);
    for (std::size_t i = 0; i < groups.size(); ++i)
        if (const auto written = writer.writeGroup(keys.keys[i], groups[i]); !written)
            return written;
    for (const std::int64_t key : keys.maybeGone)
        if (const auto removed = writer.removeList(key); !removed)
            return removed;
    return {};
}

} // namespace

Result<> rebuildAllMomentLists(Database &database) {
    const auto runs = readWholeRun(database, RunsOf::moments);
    if (!runs)
        return passOn(runs);
    auto stored = readListKeys(database);
    if (!stored)
        return passOn(stored);
    return rebuildLists(database, *runs, *std::move(stored));
}

Result<> rebuildMomentLists(Database &database, const RunChanges &changes) {
    const auto runs = readRunsAround(database, RunsOf::moments, changes.dates);
    if (!runs)
        return passOn(runs);
    return rebuildLists(database, *runs, changes.groups);
}

} // namespace wickerlane::hoardd
