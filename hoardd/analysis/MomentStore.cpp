#include "hoardd/analysis/MomentStore.h"

#include <algorithm>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "hoardd/analysis/MomentListStore.h"
#include "hoardd/analysis/MomentRunStore.h"
#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

MomentPlan::Moment momentOf(std::span<const RunItem> group, std::int64_t key) {
    std::vector<Interval> intervals;
    MomentPlan::Moment moment;
    for (const RunItem &asset : group) {
        intervals.push_back(asset.interval);
        if (key == 0 || asset.previousGroup != key)
            moment.newAssets.push_back(asset.key);
    }
    moment.key = key;
    moment.start = intervals.front().start;
    moment.end = intervals.back().end;
    moment.assetCount = static_cast<std::int64_t>(group.size());
    if (const auto middle = centroid(intervals)) {
        moment.latitude = middle->latitude;
        moment.longitude = middle->longitude;
    }
    return moment;
}

/// Whether a moment is stored with these values.
Result<bool> isStored(Statement &byKey, const MomentPlan::Moment &moment) {
    const auto isSame = byKey.bind(moment.key).first([&](const Statement &row) {
        return row.real(0) == moment.start && row.real(1) == moment.end &&
               row.integer(2) == moment.assetCount && store::optionalRealIn(row, 3) == moment.latitude &&
               store::optionalRealIn(row, 4) == moment.longitude;
    });
    if (!isSame)
        return passOn(isSame);
    return isSame->value_or(false);
}

Result<std::set<std::int64_t>> readMomentKeys(Database &database) {
    std::set<std::int64_t> keys;
    const auto read =
        database.prepare("SELECT pk FROM zmoment ORDER BY pk").forEach([&](const Statement &row) {
            keys.insert(keys.end(), row.integer(0));
        });
    if (!read)
        return passOn(read);
    return keys;
}

/// Notes which moments assets belong to, many at a time: a statement that is run costs more than a row.
class AssetMoves {
public:
    explicit AssetMoves(Database &opened) : database(opened), many(opened.prepare(insertOf(rowsAtATime))) {}

    Result<> add(std::int64_t asset, std::int64_t moment) {
        waiting.push_back({asset, moment});
        return waiting.size() < rowsAtATime ? Result<>() : write(many);
    }
    /// Writes what is left.
    Result<> finish() {
        if (waiting.empty())
            return {};
        Statement rest = database.prepare(insertOf(waiting.size()));
        return write(rest);
    }

private:
    static constexpr std::size_t rowsAtATime = 64;

    struct Move {
        std::int64_t asset;
        std::int64_t moment;
    };

    static std::string insertOf(std::size_t rows) {
        std::string sql = "INSERT OR REPLACE INTO zmomentasset (asset, moment) VALUES (?, ?)";
        while (--rows > 0)
            sql += ", (?, ?)";
        return sql;
    }

    Result<> write(Statement &statement) {
        for (const Move &move : waiting)
            statement.bind(move.asset, move.moment);
        waiting.clear();
        return statement.run();
    }

    Database &database;
    Statement many;
    std::vector<Move> waiting;
};

/// Notes, for the lists, where moments are or were.
class ListChangeNotes {
public:
    explicit ListChangeNotes(Database &database)
        : stored(database.prepare("SELECT startdate, coalesce(list, 0) FROM zmoment WHERE pk = ?")) {}

    void note(double start) { changes.dates.push_back(start); }
    Result<> noteStored(std::int64_t moment) {
        return stored.bind(moment).forEach([&](const Statement &row) {
            note(row.real(0));
            changes.groups.insert(row.integer(1));
        });
    }
    RunChanges take() {
        std::ranges::sort(changes.dates);
        return std::move(changes);
    }

private:
    RunChanges changes;
    Statement stored;
};

Result<> writeMoments(Database &database, std::span<const MomentPlan::Moment> moments,
                      ListChangeNotes &notes) {
    Statement add = database.prepare("INSERT INTO zmoment (startdate, enddate, assetcount, latitude, "
                                     "longitude) VALUES (?, ?, ?, ?, ?)");
    Statement alter = database.prepare("UPDATE zmoment SET startdate = ?, enddate = ?, assetcount = ?, "
                                       "latitude = ?, longitude = ?, analyzed = 0 WHERE pk = ?");
    AssetMoves moves(database);
    for (const MomentPlan::Moment &moment : moments) {
        notes.note(moment.start);
        if (moment.key != 0)
            if (const auto noted = notes.noteStored(moment.key); !noted)
                return noted;
        Statement &write = moment.key == 0 ? add : alter;
        write.bind(moment.start, moment.end, moment.assetCount, moment.latitude, moment.longitude);
        if (moment.key != 0)
            write.bind(moment.key);
        if (const auto written = write.run(); !written)
            return written;
        const std::int64_t key = moment.key != 0 ? moment.key : database.lastRowID();
        for (const std::int64_t asset : moment.newAssets)
            if (const auto moved = moves.add(asset, key); !moved)
                return moved;
    }
    return moves.finish();
}

Result<> deleteMoments(Database &database, std::span<const std::int64_t> keys, ListChangeNotes &notes) {
    Statement remove = database.prepare("DELETE FROM zmoment WHERE pk = ?");
    for (const std::int64_t key : keys) {
        if (const auto noted = notes.noteStored(key); !noted)
            return noted;
        if (const auto removed = remove.bind(key).run(); !removed)
            return removed;
    }
    return {};
}

} // namespace

Result<MomentPlan> planMoments(Database &database, bool incremental) {
    const auto changes = readMomentChanges(database);
    if (!changes)
        return passOn(changes);
    const auto runs = incremental ? readRunsAround(database, RunsOf::assets, changes->dates)
                                  : readWholeRun(database, RunsOf::assets);
    if (!runs)
        return passOn(runs);
    std::set<std::int64_t> maybeGone = changes->groups;
    if (!incremental) {
        auto stored = readMomentKeys(database);
        if (!stored)
            return passOn(stored);
        maybeGone = *std::move(stored);
    }
    const std::vector<std::span<const RunItem>> groups = groupsIn(*runs, momentRule);
    const GroupKeys keys = keysOf(groups, std::move(maybeGone));

    MomentPlan plan;
    plan.isWhole = !incremental;
    plan.lastChange = changes->last;
    Statement byKey = database.prepare(
        "SELECT startdate, enddate, assetcount, latitude, longitude FROM zmoment WHERE pk = ?");
    for (std::size_t i = 0; i < groups.size(); ++i) {
        MomentPlan::Moment moment = momentOf(groups[i], keys.keys[i]);
        const auto isWritten = isStored(byKey, moment);
        if (!isWritten)
            return passOn(isWritten);
        if (!*isWritten || !moment.newAssets.empty())
            plan.moments.push_back(std::move(moment));
    }
    for (const std::int64_t key : keys.maybeGone) {
        const auto isThere = byKey.bind(key).any();
        if (!isThere)
            return passOn(isThere);
        if (*isThere)
            plan.gone.push_back(key);
    }
    return plan;
}

Result<bool> isCurrent(Database &database, const MomentPlan &plan) {
    const auto last = database.integer("SELECT coalesce(max(pk), 0) FROM zmomentchange");
    if (!last)
        return passOn(last);
    return *last <= plan.lastChange;
}

Result<> applyPlan(Database &database, const MomentPlan &plan) {
    ListChangeNotes notes(database);
    return writeMoments(database, plan.moments, notes)
        .and_then([&] { return deleteMoments(database, plan.gone, notes); })
        .and_then([&] {
            return database.prepare("DELETE FROM zmomentchange WHERE pk <= ?").bind(plan.lastChange).run();
        })
        .and_then([&] {
            return plan.isWhole ? rebuildAllMomentLists(database)
                                : rebuildMomentLists(database, notes.take());
        })
        .and_then([&] {
            return database.execute("UPDATE zmomentlist SET analyzed = 0 "
                                    "WHERE pk IN (SELECT list FROM zmoment WHERE analyzed = 0)");
        });
}

} // namespace wickerlane::hoardd
