#include "hoardd/analysis/MomentListStore.h"

#include <algorithm>
#include <set>
#include <span>
#include <vector>

#include "hoardd/analysis/MomentRule.h"
#include "hoardd/analysis/MomentRunStore.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

struct ListedMoment {
    std::int64_t key = 0;
    std::int64_t previousList = 0; ///< In which it is stored; 0 for none.
    std::int64_t assetCount = 0;
    Interval interval;
};
using Group = std::span<const ListedMoment>;

struct MomentList {
    double start = 0;
    double end = 0;
    std::int64_t momentCount = 0;
    std::int64_t assetCount = 0;
    bool operator==(const MomentList &) const = default;
};

Result<std::vector<ListedMoment>> readMoments(Database &database) {
    return database
        .prepare("SELECT pk, startdate, enddate, latitude, longitude, coalesce(list, 0), assetcount "
                 "FROM zmoment ORDER BY startdate, pk")
        .all([](const Statement &row) {
            return ListedMoment{
                row.integer(0), row.integer(5), row.integer(6), {row.real(1), row.real(2), placeIn(row, 3)}};
        });
}

Result<std::vector<std::int64_t>> readListKeys(Database &database) {
    return database.prepare("SELECT pk FROM zmomentlist").all([](const Statement &row) {
        return row.integer(0);
    });
}

std::vector<Group> groupsIn(Group moments) {
    std::vector<Interval> intervals;
    for (const ListedMoment &moment : moments)
        intervals.push_back(moment.interval);
    const std::vector<bool> boundaries = findBoundaries(intervals, momentListRule);
    std::vector<Group> groups;
    for (std::size_t start = 0, end = 0; start < moments.size(); start = end) {
        for (++end; end < moments.size() && !boundaries[end - 1];)
            ++end;
        groups.push_back(moments.subspan(start, end - start));
    }
    return groups;
}

std::vector<std::int64_t> keysOf(std::span<const Group> groups) {
    std::vector<std::vector<std::int64_t>> previousLists(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i)
        for (const ListedMoment &moment : groups[i])
            previousLists[i].push_back(moment.previousList);
    return reassignKeys(previousLists);
}

MomentList listOf(Group group) {
    MomentList list{group.front().interval.start, group.back().interval.end,
                    static_cast<std::int64_t>(group.size()), 0};
    for (const ListedMoment &moment : group)
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
        const bool hasChanged = key == 0 || std::ranges::any_of(group, [key](const ListedMoment &moment) {
                                    return moment.previousList != key;
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
        for (const ListedMoment &moment : group)
            if (moment.previousList != *written)
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

} // namespace

Result<> rebuildMomentLists(Database &database) {
    const auto moments = readMoments(database);
    if (!moments)
        return passOn(moments);
    const auto stored = readListKeys(database);
    if (!stored)
        return passOn(stored);
    std::set<std::int64_t> gone(stored->begin(), stored->end());
    const std::vector<Group> groups = groupsIn(*moments);
    const std::vector<std::int64_t> keys = keysOf(groups);
    ListWriter writer(database);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (const auto written = writer.writeGroup(keys[i], groups[i]); !written)
            return written;
        gone.erase(keys[i]);
    }
    for (const std::int64_t key : gone)
        if (const auto removed = writer.removeList(key); !removed)
            return removed;
    return {};
}

} // namespace wickerlane::hoardd
