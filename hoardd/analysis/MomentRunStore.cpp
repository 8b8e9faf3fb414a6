#include "hoardd/analysis/MomentRunStore.h"

#include <algorithm>
#include <span>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

// In the words of its index.
#define SHOWN_DATE "coalesce(a.clockdate, a.datecreated)"
#define SELECT_ASSETS                                                                             \
    "SELECT a.pk, coalesce(m.moment, 0), 1, a.latitude, a.longitude, " SHOWN_DATE ", " SHOWN_DATE \
    " FROM zgenericasset a LEFT JOIN zmomentasset m ON m.asset = a.pk "
#define SELECT_MOMENTS \
    "SELECT pk, coalesce(list, 0), assetcount, latitude, longitude, startdate, enddate FROM zmoment "

struct Selects {
    const char *all;
    const char *before;
    const char *from;
};
constexpr Selects ofAssets = {
    SELECT_ASSETS "ORDER BY " SHOWN_DATE ", a.pk",
    SELECT_ASSETS "WHERE " SHOWN_DATE " < ? ORDER BY " SHOWN_DATE " DESC, a.pk DESC",
    SELECT_ASSETS "WHERE " SHOWN_DATE " >= ? ORDER BY " SHOWN_DATE ", a.pk",
};
constexpr Selects ofMoments = {
    SELECT_MOMENTS "ORDER BY startdate, pk",
    SELECT_MOMENTS "WHERE startdate < ? ORDER BY startdate DESC, pk DESC",
    SELECT_MOMENTS "WHERE startdate >= ? ORDER BY startdate, pk",
};

#undef SELECT_MOMENTS
#undef SELECT_ASSETS
#undef SHOWN_DATE

const Selects &selects(RunsOf of) {
    return of == RunsOf::assets ? ofAssets : ofMoments;
}

std::optional<Place> placeIn(const Statement &row, int latitude) {
    if (row.isNull(latitude) || row.isNull(latitude + 1))
        return std::nullopt;
    return Place{row.real(latitude), row.real(latitude + 1)};
}

RunItem readItem(const Statement &row) {
    return {row.integer(0), row.integer(1), row.integer(2), {row.real(5), row.real(6), placeIn(row, 3)}};
}

bool isStoredBoundary(const RunItem &one, const RunItem &other) {
    return one.previousGroup != 0 && other.previousGroup != 0 && one.previousGroup != other.previousGroup;
}

class RunReader {
public:
    RunReader(Database &opened, RunsOf of, std::span<const double> changed)
        : dates(changed), backwards(opened.prepare(selects(of).before)),
          forwards(opened.prepare(selects(of).from)) {}

    [[nodiscard]] bool atEnd() const { return dates.empty(); }
    Result<Run> next() {
        Run run;
        const double start = dates.front();
        const auto read = readBackwards(start, run).and_then([&] { return readForwards(start, run); });
        if (!read)
            return passOn(read);
        return run;
    }

private:
    Result<> readBackwards(double date, Run &run) {
        std::vector<RunItem> &items = run.items; // the latest first
        std::size_t cut = 0;                     // how many are before the boundary; 0: none has been found
        const auto read = backwards.bind(date).forEachWhile([&](const Statement &row) {
            items.push_back(readItem(row));
            const std::size_t before = items.size() - 1;
            if (cut == 0 && before >= boundaryReach && isStoredBoundary(items[before], items[before - 1]))
                cut = before;
            return cut == 0 || items.size() - cut < boundaryReach;
        });
        if (!read)
            return passOn(read);
        run.first = cut != 0 ? items.size() - cut : 0;
        std::ranges::reverse(items);
        return {};
    }

    Result<> readForwards(double date, Run &run) {
        std::vector<RunItem> &items = run.items;
        double lastChange = date;
        std::size_t unchanged = 0; // items later than that
        std::size_t cut = 0;       // where the boundary is that ends the run; 0: none has been found
        const auto isWhole = forwards.bind(date).forEachWhile([&](const Statement &row) {
            items.push_back(readItem(row));
            const double reached = items.back().interval.start;
            for (; !dates.empty() && dates.front() <= reached; dates = dates.subspan(1)) {
                lastChange = dates.front();
                unchanged = cut = 0;
            }
            if (reached > lastChange)
                ++unchanged;
            if (cut == 0 && unchanged > boundaryReach &&
                isStoredBoundary(items[items.size() - 2], items.back()))
                cut = items.size() - 1;
            return cut == 0 || items.size() - cut < boundaryReach;
        });
        if (!isWhole)
            return passOn(isWhole);
        // What was behind the last asset, and has gone, can have moved any boundary up to there.
        if (*isWhole && !dates.empty()) {
            cut = 0;
            dates = {};
        }
        run.last = cut != 0 ? cut : items.size();
        return {};
    }

    std::span<const double> dates; // that have not been reached
    Statement backwards;
    Statement forwards;
};

} // namespace

Result<RunChanges> readMomentChanges(Database &database) {
    RunChanges changes;
    const auto read =
        database.prepare("SELECT pk, date, moment FROM zmomentchange").forEach([&](const Statement &row) {
            changes.last = std::max(changes.last, row.integer(0));
            changes.dates.push_back(row.real(1));
            if (!row.isNull(2))
                changes.groups.insert(row.integer(2));
        });
    if (!read)
        return passOn(read);
    std::ranges::sort(changes.dates); // in a fraction of the time that SQLite takes for it
    return changes;
}

Result<std::vector<Run>> readRunsAround(Database &database, RunsOf of, std::span<const double> dates) {
    std::vector<Run> runs;
    RunReader reader(database, of, dates);
    while (!reader.atEnd()) {
        auto run = reader.next();
        if (!run)
            return passOn(run);
        runs.push_back(*std::move(run));
    }
    return runs;
}

Result<std::vector<Run>> readWholeRun(Database &database, RunsOf of) {
    auto items = database.prepare(selects(of).all).all(readItem);
    if (!items)
        return passOn(items);
    const std::size_t count = items->size();
    std::vector<Run> runs;
    runs.push_back({*std::move(items), 0, count});
    return runs;
}

std::vector<std::span<const RunItem>> groupsIn(const std::vector<Run> &runs, const BoundaryRule &rule) {
    std::vector<std::span<const RunItem>> groups;
    for (const Run &run : runs) {
        std::vector<Interval> intervals;
        intervals.reserve(run.items.size());
        for (const RunItem &item : run.items)
            intervals.push_back(item.interval);
        const std::vector<bool> boundaries = findBoundaries(intervals, rule);
        for (std::size_t start = run.first, end = start; start < run.last; start = end) {
            for (++end; end < run.last && !boundaries[end - 1];)
                ++end;
            groups.push_back(std::span(run.items).subspan(start, end - start));
        }
    }
    return groups;
}

GroupKeys keysOf(std::span<const std::span<const RunItem>> groups, std::set<std::int64_t> maybeGone) {
    std::vector<std::vector<std::int64_t>> previous(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i)
        for (const RunItem &item : groups[i]) {
            if (previous[i].empty() || previous[i].back() != item.previousGroup)
                maybeGone.insert(item.previousGroup);
            previous[i].push_back(item.previousGroup);
        }
    GroupKeys result{reassignKeys(previous), std::move(maybeGone)};
    for (const std::int64_t key : result.keys)
        result.maybeGone.erase(key);
    result.maybeGone.erase(0);
    return result;
}

} // namespace wickerlane::hoardd
