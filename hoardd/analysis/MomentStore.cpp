#include "hoardd/analysis/MomentStore.h"

#include <algorithm>
#include <set>
#include <span>
#include <unordered_set>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

/// An asset, and the moment in which it is stored; 0 for none.
struct Item {
    std::int64_t asset = 0;
    std::int64_t former = 0;
    Stay stay;
};

/// Assets in their order in time, of which those before `first` and from `last` on only help to tell the
/// borders of the others.
struct Run {
    std::vector<Item> items;
    std::size_t first = 0;
    std::size_t last = 0;
};

#define SELECT_ITEMS                                                                                   \
    "SELECT a.pk, a.datecreated, a.latitude, a.longitude, coalesce(m.moment, 0) FROM zgenericasset a " \
    "LEFT JOIN zmomentasset m ON m.asset = a.pk "

constexpr const char *selectAll = SELECT_ITEMS "ORDER BY a.datecreated, a.pk";
constexpr const char *selectFrom = SELECT_ITEMS "WHERE a.datecreated >= ? ORDER BY a.datecreated, a.pk";
constexpr const char *selectBefore =
    SELECT_ITEMS "WHERE a.datecreated < ? ORDER BY a.datecreated DESC, a.pk DESC";

#undef SELECT_ITEMS

std::optional<Place> placeIn(const Statement &row, int latitude) {
    if (row.isNull(latitude) || row.isNull(latitude + 1))
        return std::nullopt;
    return Place{row.real(latitude), row.real(latitude + 1)};
}

Item itemIn(const Statement &row) {
    const double date = row.real(1);
    return {row.integer(0), row.integer(4), {date, date, placeIn(row, 2)}};
}

bool isStoredBorder(const Item &one, const Item &other) {
    return one.former != 0 && other.former != 0 && one.former != other.former;
}

/// The dates around which something has changed, and the moments from which something has gone.
struct Changes {
    std::vector<double> dates; ///< In order.
    std::set<std::int64_t> moments;
    std::int64_t last = 0;
};

std::optional<Changes> readChanges(Database &database) {
    Changes changes;
    Statement statement = database.prepare("SELECT pk, date, moment FROM zmomentchange ORDER BY date");
    while (statement.next()) {
        changes.last = std::max(changes.last, statement.integer(0));
        changes.dates.push_back(statement.real(1));
        if (!statement.isNull(2))
            changes.moments.insert(statement.integer(2));
    }
    return statement.failed() ? std::nullopt : std::optional(std::move(changes));
}

/// Reads the runs of assets around changes. Each ends, on either side, at a border that is stored and that no
/// change can have moved, so that moments are either wholly in a run or wholly outside.
class RunReader {
public:
    RunReader(Database &opened, std::span<const double> changed)
        : dates(changed), backwards(opened.prepare(selectBefore)), forwards(opened.prepare(selectFrom)) {}

    [[nodiscard]] bool atEnd() const { return dates.empty(); }
    /// The next run; nothing on failure.
    std::optional<Run> next() {
        Run run;
        const double start = dates.front();
        if (!readBackwards(start, run) || !readForwards(start, run))
            return std::nullopt;
        return run;
    }

private:
    bool readBackwards(double date, Run &run) {
        std::vector<Item> &items = run.items; // the latest first
        std::size_t cut = 0;                  // how many are before the border; 0: none has been found
        backwards.bind(date);
        while (!(cut != 0 && items.size() - cut == borderReach) && backwards.next()) {
            items.push_back(itemIn(backwards));
            const std::size_t before = items.size() - 1;
            if (cut == 0 && before >= borderReach && isStoredBorder(items[before], items[before - 1]))
                cut = before;
        }
        const bool succeeded = !backwards.failed();
        backwards.reset();
        run.first = cut != 0 ? items.size() - cut : 0;
        std::ranges::reverse(items);
        return succeeded;
    }

    bool readForwards(double date, Run &run) {
        std::vector<Item> &items = run.items;
        double lastChange = date;
        std::size_t quiet = 0; // items later than that
        std::size_t cut = 0;   // where the border is that ends the run; 0: none has been found
        bool isWhole = false;
        forwards.bind(date);
        while (!isWhole && !(cut != 0 && items.size() - cut == borderReach)) {
            if (!forwards.next()) {
                isWhole = true;
                break;
            }
            items.push_back(itemIn(forwards));
            const double reached = items.back().stay.start;
            for (; !dates.empty() && dates.front() <= reached; dates = dates.subspan(1)) {
                lastChange = dates.front();
                quiet = cut = 0;
            }
            if (reached > lastChange)
                ++quiet;
            if (cut == 0 && quiet > borderReach && isStoredBorder(items[items.size() - 2], items.back()))
                cut = items.size() - 1;
        }
        const bool succeeded = !forwards.failed();
        forwards.reset();
        // What lay behind the last asset, and has gone, can have moved any border up to there.
        if (isWhole && !dates.empty()) {
            cut = 0;
            dates = {};
        }
        run.last = cut != 0 ? cut : items.size();
        return succeeded;
    }

    std::span<const double> dates; // that have not been met
    Statement backwards;
    Statement forwards;
};

std::optional<std::vector<Run>> readRuns(Database &database, bool incremental, const Changes &changes) {
    std::vector<Run> runs;
    if (incremental) {
        RunReader reader(database, changes.dates);
        while (!reader.atEnd()) {
            auto run = reader.next();
            if (!run)
                return std::nullopt;
            runs.push_back(std::move(*run));
        }
        return runs;
    }
    Run &all = runs.emplace_back();
    Statement statement = database.prepare(selectAll);
    while (statement.next())
        all.items.push_back(itemIn(statement));
    all.last = all.items.size();
    return statement.failed() ? std::nullopt : std::optional(std::move(runs));
}

/// What belongs together by the rule. The runs stay where they are as long as the groups are used.
std::vector<std::span<const Item>> groupsIn(const std::vector<Run> &runs) {
    std::vector<std::span<const Item>> groups;
    for (const Run &run : runs) {
        std::vector<Stay> stays;
        stays.reserve(run.items.size());
        for (const Item &item : run.items)
            stays.push_back(item.stay);
        const std::vector<bool> borders = bordersOf(stays, momentRule);
        for (std::size_t start = run.first, end = start; start < run.last; start = end) {
            for (++end; end < run.last && !borders[end - 1];)
                ++end;
            groups.push_back(std::span(run.items).subspan(start, end - start));
        }
    }
    return groups;
}

MomentPlan::Moment momentOf(std::span<const Item> group, std::int64_t key) {
    std::vector<Stay> stays;
    MomentPlan::Moment moment;
    for (const Item &item : group) {
        stays.push_back(item.stay);
        if (key == 0 || item.former != key)
            moment.newAssets.push_back(item.asset);
    }
    moment.key = key;
    moment.start = stays.front().start;
    moment.end = stays.back().end;
    moment.assetCount = static_cast<std::int64_t>(group.size());
    if (const auto middle = middleOf(stays)) {
        moment.latitude = middle->latitude;
        moment.longitude = middle->longitude;
    }
    return moment;
}

/// Whether a moment is stored with these values.
bool isStored(Statement &byKey, const MomentPlan::Moment &moment) {
    const auto optionalReal = [&](int column) {
        return byKey.isNull(column) ? std::nullopt : std::optional(byKey.real(column));
    };
    byKey.bind(moment.key);
    const bool same = byKey.next() && byKey.real(0) == moment.start && byKey.real(1) == moment.end &&
                      byKey.integer(2) == moment.assetCount && optionalReal(3) == moment.latitude &&
                      optionalReal(4) == moment.longitude;
    byKey.reset();
    return same;
}

std::optional<std::set<std::int64_t>> keysIn(Database &database, std::string_view query) {
    std::set<std::int64_t> keys;
    Statement statement = database.prepare(query);
    while (statement.next())
        keys.insert(statement.integer(0));
    return statement.failed() ? std::nullopt : std::optional(std::move(keys));
}

} // namespace

std::optional<MomentPlan> planMoments(Database &database, bool incremental) {
    const auto changes = readChanges(database);
    if (!changes)
        return std::nullopt;
    const auto runs = readRuns(database, incremental, *changes);
    const auto stored = keysIn(database, "SELECT pk FROM zmoment");
    if (!runs || !stored)
        return std::nullopt;

    const std::vector<std::span<const Item>> groups = groupsIn(*runs);
    std::vector<std::vector<std::int64_t>> formers(groups.size());
    std::set<std::int64_t> doubtful = incremental ? changes->moments : *stored;
    for (std::size_t i = 0; i < groups.size(); ++i)
        for (const Item &item : groups[i]) {
            formers[i].push_back(item.former);
            doubtful.insert(item.former);
        }
    const std::vector<std::int64_t> keys = successionOf(formers);

    MomentPlan plan;
    plan.lastChange = changes->last;
    Statement byKey = database.prepare(
        "SELECT startdate, enddate, assetcount, latitude, longitude FROM zmoment WHERE pk = ?");
    for (std::size_t i = 0; i < groups.size(); ++i) {
        doubtful.erase(keys[i]);
        MomentPlan::Moment moment = momentOf(groups[i], keys[i]);
        if (!moment.newAssets.empty() || !isStored(byKey, moment))
            plan.moments.push_back(std::move(moment));
    }
    std::ranges::set_intersection(doubtful, *stored, std::back_inserter(plan.gone));
    return byKey.failed() ? std::nullopt : std::optional(std::move(plan));
}

bool isCurrent(Database &database, const MomentPlan &plan) {
    return database.integer("SELECT coalesce(max(pk), 0) FROM zmomentchange").value_or(-1) <= plan.lastChange;
}

bool applyPlan(Database &database, const MomentPlan &plan) {
    Statement add = database.prepare("INSERT INTO zmoment (startdate, enddate, assetcount, latitude, "
                                     "longitude) VALUES (?, ?, ?, ?, ?)");
    Statement alter = database.prepare("UPDATE zmoment SET startdate = ?, enddate = ?, assetcount = ?, "
                                       "latitude = ?, longitude = ?, analyzed = 0 WHERE pk = ?");
    Statement move = database.prepare("INSERT OR REPLACE INTO zmomentasset (asset, moment) VALUES (?, ?)");
    for (const MomentPlan::Moment &moment : plan.moments) {
        Statement &write = moment.key == 0 ? add : alter;
        write.bind(moment.start, moment.end, moment.assetCount, moment.latitude, moment.longitude);
        if (moment.key != 0)
            write.bind(moment.key);
        if (!write.run())
            return false;
        const std::int64_t key = moment.key != 0 ? moment.key : database.lastRowID();
        for (const std::int64_t asset : moment.newAssets)
            if (!move.bind(asset, key).run())
                return false;
    }
    Statement remove = database.prepare("DELETE FROM zmoment WHERE pk = ?");
    for (const std::int64_t key : plan.gone)
        if (!remove.bind(key).run())
            return false;
    Statement forget = database.prepare("DELETE FROM zmomentchange WHERE pk <= ?");
    return forget.bind(plan.lastChange).run() && rebuildMomentLists(database) &&
           database.execute("UPDATE zmomentlist SET analyzed = 0 WHERE pk IN (SELECT list FROM zmoment WHERE "
                            "analyzed = 0)");
}

namespace {

/// A stored moment, as an item of a list.
struct ListedMoment {
    std::int64_t key = 0;
    std::int64_t former = 0; ///< The list in which it is stored; 0 for none.
    std::int64_t assetCount = 0;
    Stay stay;
};

struct MomentList {
    double start = 0;
    double end = 0;
    std::int64_t momentCount = 0;
    std::int64_t assetCount = 0;
};

std::optional<std::vector<ListedMoment>> readMoments(Database &database) {
    std::vector<ListedMoment> moments;
    Statement statement =
        database.prepare("SELECT pk, startdate, enddate, latitude, longitude, coalesce(list, 0), assetcount "
                         "FROM zmoment ORDER BY startdate, pk");
    while (statement.next())
        moments.push_back({statement.integer(0),
                           statement.integer(5),
                           statement.integer(6),
                           {statement.real(1), statement.real(2), placeIn(statement, 3)}});
    return statement.failed() ? std::nullopt : std::optional(std::move(moments));
}

std::vector<std::span<const ListedMoment>> groupsIn(std::span<const ListedMoment> moments) {
    std::vector<Stay> stays;
    for (const ListedMoment &moment : moments)
        stays.push_back(moment.stay);
    const std::vector<bool> borders = bordersOf(stays, momentListRule);
    std::vector<std::span<const ListedMoment>> groups;
    for (std::size_t start = 0, end = 0; start < moments.size(); start = end) {
        for (++end; end < moments.size() && !borders[end - 1];)
            ++end;
        groups.push_back(moments.subspan(start, end - start));
    }
    return groups;
}

bool writeList(Database &database, std::int64_t key, std::span<const ListedMoment> group) {
    MomentList list{group.front().stay.start, group.back().stay.end, 0, 0};
    bool hasChanged = key == 0;
    for (const ListedMoment &moment : group) {
        ++list.momentCount;
        list.assetCount += moment.assetCount;
        hasChanged = hasChanged || moment.former != key;
    }
    if (key != 0 && !hasChanged) {
        Statement stored = database.prepare(
            "SELECT startdate, enddate, momentcount, assetcount FROM zmomentlist WHERE pk = ?");
        stored.bind(key);
        if (stored.next() && stored.real(0) == list.start && stored.real(1) == list.end &&
            stored.integer(2) == list.momentCount && stored.integer(3) == list.assetCount)
            return true;
    }
    Statement write =
        database.prepare(key == 0 ? "INSERT INTO zmomentlist (startdate, enddate, momentcount, assetcount) "
                                    "VALUES (?, ?, ?, ?)"
                                  : "UPDATE zmomentlist SET startdate = ?, enddate = ?, momentcount = ?, "
                                    "assetcount = ?, analyzed = 0 WHERE pk = ?");
    write.bind(list.start, list.end, list.momentCount, list.assetCount);
    if (key != 0)
        write.bind(key);
    if (!write.run())
        return false;
    if (key == 0)
        key = database.lastRowID();
    Statement move = database.prepare("UPDATE zmoment SET list = ? WHERE pk = ?");
    for (const ListedMoment &moment : group)
        if (moment.former != key && !move.bind(key, moment.key).run())
            return false;
    return true;
}

} // namespace

bool rebuildMomentLists(Database &database) {
    const auto moments = readMoments(database);
    auto left = keysIn(database, "SELECT pk FROM zmomentlist");
    if (!moments || !left)
        return false;
    const std::vector<std::span<const ListedMoment>> groups = groupsIn(std::span(*moments));
    std::vector<std::vector<std::int64_t>> formers(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i)
        for (const ListedMoment &moment : groups[i])
            formers[i].push_back(moment.former);
    const std::vector<std::int64_t> keys = successionOf(formers);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (!writeList(database, keys[i], groups[i]))
            return false;
        left->erase(keys[i]);
    }
    Statement remove = database.prepare("DELETE FROM zmomentlist WHERE pk = ?");
    return std::ranges::all_of(*left, [&](std::int64_t key) { return remove.bind(key).run(); });
}

namespace {

/// Narrows a query of moments or lists to a scope.
std::string_view condition(const AnalysisScope &scope) {
    switch (scope.kind) {
    case AnalysisScope::Kind::all:
        return "?1 = 0";
    case AnalysisScope::Kind::invalid:
        return "?1 = 0 AND analyzed = 0";
    case AnalysisScope::Kind::oneMoment:
        return "pk = ?1";
    case AnalysisScope::Kind::oneList:
        return "list = ?1";
    }
    return "0";
}

} // namespace

std::optional<std::vector<std::int64_t>> momentsIn(Database &database, const AnalysisScope &scope) {
    std::vector<std::int64_t> keys;
    Statement statement =
        database.prepare(std::string("SELECT pk FROM zmoment WHERE ").append(condition(scope)));
    statement.bind(scope.key);
    while (statement.next())
        keys.push_back(statement.integer(0));
    return statement.failed() ? std::nullopt : std::optional(std::move(keys));
}

// What shows something stands for a moment sooner than what shows nothing, a photo sooner than a video, and
// among those the one nearest to the moment's middle.
bool analyzeMoment(Database &database, std::int64_t moment) {
    return database
        .prepare(R"sql(
UPDATE zmoment SET
    photocount = (SELECT count(*) FROM zmomentasset m JOIN zgenericasset a ON a.pk = m.asset
                  WHERE m.moment = zmoment.pk AND a.kind = 0),
    videocount = (SELECT count(*) FROM zmomentasset m JOIN zgenericasset a ON a.pk = m.asset
                  WHERE m.moment = zmoment.pk AND a.kind = 1),
    keyasset = (SELECT a.pk FROM zmoment z JOIN zmomentasset m ON m.moment = z.pk
                JOIN zgenericasset a ON a.pk = m.asset LEFT JOIN zfingerprint f ON f.asset = a.pk
                WHERE z.pk = zmoment.pk
                ORDER BY a.thumbnailindex = 0, a.kind, f.difference IS NULL,
                         abs(a.datecreated - (z.startdate + z.enddate) / 2), a.pk LIMIT 1),
    analyzed = 1
WHERE pk = ?)sql")
        .bind(moment)
        .run();
}

bool analyzeLists(Database &database, const AnalysisScope &scope) {
    std::string narrowing(condition(scope));
    if (scope.kind == AnalysisScope::Kind::oneMoment)
        narrowing = "pk = (SELECT list FROM zmoment WHERE pk = ?1)";
    else if (scope.kind == AnalysisScope::Kind::oneList)
        narrowing = "pk = ?1";
    return database
        .prepare(R"sql(
UPDATE zmomentlist SET
    keyasset = (SELECT keyasset FROM zmoment WHERE list = zmomentlist.pk
                ORDER BY assetcount DESC, startdate LIMIT 1),
    analyzed = 1
WHERE )sql" + narrowing)
        .bind(scope.key)
        .run();
}

} // namespace wickerlane::hoardd
