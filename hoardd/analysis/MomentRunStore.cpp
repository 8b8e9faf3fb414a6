#include "hoardd/analysis/MomentRunStore.h"

#include <algorithm>
#include <span>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

// In the words of its index.
#define SHOWN_DATE "coalesce(a.clockdate, a.datecreated)"
#define SELECT_ASSETS                                                                                   \
    "SELECT a.pk, " SHOWN_DATE ", a.latitude, a.longitude, coalesce(m.moment, 0) FROM zgenericasset a " \
    "LEFT JOIN zmomentasset m ON m.asset = a.pk "

constexpr const char *selectAll = SELECT_ASSETS "ORDER BY " SHOWN_DATE ", a.pk";
constexpr const char *selectFrom = SELECT_ASSETS "WHERE " SHOWN_DATE " >= ? ORDER BY " SHOWN_DATE ", a.pk";
constexpr const char *selectBefore =
    SELECT_ASSETS "WHERE " SHOWN_DATE " < ? ORDER BY " SHOWN_DATE " DESC, a.pk DESC";

#undef SELECT_ASSETS
#undef SHOWN_DATE

MomentAsset readAsset(const Statement &row) {
    const double date = row.real(1);
    return {row.integer(0), row.integer(4), {date, date, placeIn(row, 2)}};
}

bool isStoredBoundary(const MomentAsset &one, const MomentAsset &other) {
    return one.previousMoment != 0 && other.previousMoment != 0 && one.previousMoment != other.previousMoment;
}

class RunReader {
public:
    RunReader(Database &opened, std::span<const double> changed)
        : dates(changed), backwards(opened.prepare(selectBefore)), forwards(opened.prepare(selectFrom)) {}

    [[nodiscard]] bool atEnd() const { return dates.empty(); }
    Result<MomentRun> next() {
        MomentRun run;
        const double start = dates.front();
        const auto read = readBackwards(start, run).and_then([&] { return readForwards(start, run); });
        if (!read)
            return passOn(read);
        return run;
    }

private:
    Result<> readBackwards(double date, MomentRun &run) {
        std::vector<MomentAsset> &assets = run.assets; // the latest first
        std::size_t cut = 0; // how many are before the boundary; 0: none has been found
        const auto read = backwards.bind(date).forEachWhile([&](const Statement &row) {
            assets.push_back(readAsset(row));
            const std::size_t before = assets.size() - 1;
            if (cut == 0 && before >= boundaryReach && isStoredBoundary(assets[before], assets[before - 1]))
                cut = before;
            return cut == 0 || assets.size() - cut < boundaryReach;
        });
        if (!read)
            return passOn(read);
        run.first = cut != 0 ? assets.size() - cut : 0;
        std::ranges::reverse(assets);
        return {};
    }

    Result<> readForwards(double date, MomentRun &run) {
        std::vector<MomentAsset> &assets = run.assets;
        double lastChange = date;
        std::size_t unchanged = 0; // assets later than that
        std::size_t cut = 0;       // where the boundary is that ends the run; 0: none has been found
        const auto isWhole = forwards.bind(date).forEachWhile([&](const Statement &row) {
            assets.push_back(readAsset(row));
            const double reached = assets.back().interval.start;
            for (; !dates.empty() && dates.front() <= reached; dates = dates.subspan(1)) {
                lastChange = dates.front();
                unchanged = cut = 0;
            }
            if (reached > lastChange)
                ++unchanged;
            if (cut == 0 && unchanged > boundaryReach &&
                isStoredBoundary(assets[assets.size() - 2], assets.back()))
                cut = assets.size() - 1;
            return cut == 0 || assets.size() - cut < boundaryReach;
        });
        if (!isWhole)
            return passOn(isWhole);
        // What was behind the last asset, and has gone, can have moved any boundary up to there.
        if (*isWhole && !dates.empty()) {
            cut = 0;
            dates = {};
        }
        run.last = cut != 0 ? cut : assets.size();
        return {};
    }

    std::span<const double> dates; // that have not been reached
    Statement backwards;
    Statement forwards;
};

} // namespace

std::optional<Place> placeIn(const Statement &row, int latitude) {
    if (row.isNull(latitude) || row.isNull(latitude + 1))
        return std::nullopt;
    return Place{row.real(latitude), row.real(latitude + 1)};
}

Result<MomentChanges> readMomentChanges(Database &database) {
    MomentChanges changes;
    const auto read = database.prepare("SELECT pk, date, moment FROM zmomentchange ORDER BY date")
                          .forEach([&](const Statement &row) {
                              changes.last = std::max(changes.last, row.integer(0));
                              changes.dates.push_back(row.real(1));
                              if (!row.isNull(2))
                                  changes.moments.insert(row.integer(2));
                          });
    if (!read)
        return passOn(read);
    return changes;
}

Result<std::vector<MomentRun>> readRunsAround(Database &database, const MomentChanges &changes) {
    std::vector<MomentRun> runs;
    RunReader reader(database, changes.dates);
    while (!reader.atEnd()) {
        auto run = reader.next();
        if (!run)
            return passOn(run);
        runs.push_back(*std::move(run));
    }
    return runs;
}

Result<std::vector<MomentRun>> readWholeRun(Database &database) {
    auto assets = database.prepare(selectAll).all(readAsset);
    if (!assets)
        return passOn(assets);
    const std::size_t count = assets->size();
    std::vector<MomentRun> runs;
    runs.push_back({*std::move(assets), 0, count});
    return runs;
}

} // namespace wickerlane::hoardd
