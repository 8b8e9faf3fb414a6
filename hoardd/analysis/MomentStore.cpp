#include "hoardd/analysis/MomentStore.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <span>

#include "hoardd/analysis/MomentListStore.h"
#include "hoardd/analysis/MomentRunStore.h"
#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

/// The assets of each moment by the rule. They are part of the runs.
std::vector<std::span<const MomentAsset>> groupsIn(const std::vector<MomentRun> &runs) {
    std::vector<std::span<const MomentAsset>> groups;
    for (const MomentRun &run : runs) {
        std::vector<Interval> intervals;
        intervals.reserve(run.assets.size());
        for (const MomentAsset &asset : run.assets)
            intervals.push_back(asset.interval);
        const std::vector<bool> boundaries = findBoundaries(intervals, momentRule);
        for (std::size_t start = run.first, end = start; start < run.last; start = end) {
            for (++end; end < run.last && !boundaries[end - 1];)
                ++end;
            groups.push_back(std::span(run.assets).subspan(start, end - start));
        }
    }
    return groups;
}

MomentPlan::Moment momentOf(std::span<const MomentAsset> group, std::int64_t key) {
    std::vector<Interval> intervals;
    MomentPlan::Moment moment;
    for (const MomentAsset &asset : group) {
        intervals.push_back(asset.interval);
        if (key == 0 || asset.previousMoment != key)
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
    const auto read = database.prepare("SELECT pk FROM zmoment").forEach([&](const Statement &row) {
        keys.insert(row.integer(0));
    });
    if (!read)
        return passOn(read);
    return keys;
}

Result<> writeMoments(Database &database, std::span<const MomentPlan::Moment> moments) {
    Statement add = database.prepare("INSERT INTO zmoment (startdate, enddate, assetcount, latitude, "
                                     "longitude) VALUES (?, ?, ?, ?, ?)");
    Statement alter = database.prepare("UPDATE zmoment SET startdate = ?, enddate = ?, assetcount = ?, "
                                       "latitude = ?, longitude = ?, analyzed = 0 WHERE pk = ?");
    Statement move = database.prepare("INSERT OR REPLACE INTO zmomentasset (asset, moment) VALUES (?, ?)");
    for (const MomentPlan::Moment &moment : moments) {
        Statement &write = moment.key == 0 ? add : alter;
        write.bind(moment.start, moment.end, moment.assetCount, moment.latitude, moment.longitude);
        if (moment.key != 0)
            write.bind(moment.key);
        if (const auto written = write.run(); !written)
            return written;
        const std::int64_t key = moment.key != 0 ? moment.key : database.lastRowID();
        for (const std::int64_t asset : moment.newAssets)
            if (const auto moved = move.bind(asset, key).run(); !moved)
                return moved;
    }
    return {};
}

Result<> deleteMoments(Database &database, std::span<const std::int64_t> keys) {
    Statement remove = database.prepare("DELETE FROM zmoment WHERE pk = ?");
    for (const std::int64_t key : keys)
        if (const auto removed = remove.bind(key).run(); !removed)
            return removed;
    return {};
}

} // namespace

Result<MomentPlan> planMoments(Database &database, bool incremental) {
    const auto changes = readMomentChanges(database);
    if (!changes)
        return passOn(changes);
    const auto runs = incremental ? readRunsAround(database, *changes) : readWholeRun(database);
    if (!runs)
        return passOn(runs);
    const auto stored = readMomentKeys(database);
    if (!stored)
        return passOn(stored);

    const std::vector<std::span<const MomentAsset>> groups = groupsIn(*runs);
    std::vector<std::vector<std::int64_t>> previousMoments(groups.size());
    std::set<std::int64_t> maybeGone = incremental ? changes->moments : *stored;
    for (std::size_t i = 0; i < groups.size(); ++i)
        for (const MomentAsset &asset : groups[i]) {
            previousMoments[i].push_back(asset.previousMoment);
            maybeGone.insert(asset.previousMoment);
        }
    const std::vector<std::int64_t> keys = reassignKeys(previousMoments);

    MomentPlan plan;
    plan.lastChange = changes->last;
    Statement byKey = database.prepare(
        "SELECT startdate, enddate, assetcount, latitude, longitude FROM zmoment WHERE pk = ?");
    for (std::size_t i = 0; i < groups.size(); ++i) {
        maybeGone.erase(keys[i]);
        MomentPlan::Moment moment = momentOf(groups[i], keys[i]);
        const auto isWritten = isStored(byKey, moment);
        if (!isWritten)
            return passOn(isWritten);
        if (!*isWritten || !moment.newAssets.empty())
            plan.moments.push_back(std::move(moment));
    }
    std::ranges::set_intersection(maybeGone, *stored, std::back_inserter(plan.gone));
    return plan;
}

Result<bool> isCurrent(Database &database, const MomentPlan &plan) {
    const auto last = database.integer("SELECT coalesce(max(pk), 0) FROM zmomentchange");
    if (!last)
        return passOn(last);
    return *last <= plan.lastChange;
}

Result<> applyPlan(Database &database, const MomentPlan &plan) {
    return writeMoments(database, plan.moments)
        .and_then([&] { return deleteMoments(database, plan.gone); })
        .and_then([&] {
            return database.prepare("DELETE FROM zmomentchange WHERE pk <= ?").bind(plan.lastChange).run();
        })
        .and_then([&] { return rebuildMomentLists(database); })
        .and_then([&] {
            return database.execute("UPDATE zmomentlist SET analyzed = 0 "
                                    "WHERE pk IN (SELECT list FROM zmoment WHERE analyzed = 0)");
        });
}

} // namespace wickerlane::hoardd
