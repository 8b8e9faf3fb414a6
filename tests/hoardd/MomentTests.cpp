// Where moments begin and end, and that an incremental result is that of a whole rebuild.
#include "hoardd/analysis/MomentRule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "hoardd/analysis/MomentAnalysisStore.h"
#include "hoardd/analysis/MomentStore.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;

namespace {

constexpr double minute = 60, hour = 3600, day = 24 * hour;
constexpr Place home{48.5, 9.05}, market{48.505, 9.055}, lake{48.7, 9.2}, island{-8.5, 179.9},
    beyond{-8.5, -179.9};

/// The gaps that are boundaries, of items that follow each other after these pauses, in this order of places.
std::vector<std::size_t> boundaries(const std::vector<double> &pauses,
                                    const std::vector<std::optional<Place>> &places = {},
                                    const BoundaryRule &rule = momentRule) {
    std::vector<Interval> intervals(pauses.size() + 1);
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        intervals[i].start = intervals[i].end = i == 0 ? 0 : intervals[i - 1].end + pauses[i - 1];
        if (i < places.size())
            intervals[i].place = places[i];
    }
    std::vector<std::size_t> found;
    const std::vector<bool> marks = findBoundaries(intervals, rule);
    for (std::size_t i = 0; i < marks.size(); ++i)
        if (marks[i])
            found.push_back(i);
    return found;
}

using Gaps = std::vector<std::size_t>;

TEST(Moments, BeginWhereAPauseStandsOut) {
    const struct {
        const char *what;
        std::vector<double> pauses;
        Gaps expected;
    } cases[] = {
        {"nothing", {}, {}},
        {"a lone pause has nothing to stand out from", {3 * hour}, {}},
        {"unless it is long by itself", {12 * hour}, {0}},
        {"a morning and an afternoon", {60, 90, 60, 4 * hour, 60, 90}, {3}},
        {"a burst and a pause of minutes", {1, 1, 1, 1, 20 * minute, 1, 1, 1}, {}},
        {"the same pause again and again", {hour, hour, hour, hour, hour, hour}, {}},
        {"one photo a day", {day, day, day}, {0, 1, 2}},
        {"photos at one instant", {0, 0, 0, 61 * minute, 0, 0}, {3}},
        {"less than twelve times as long", {10 * minute, 10 * minute, 119 * minute, 10 * minute}, {}},
        {"twelve times as long", {10 * minute, 10 * minute, 121 * minute, 10 * minute}, {2}},
    };
    for (const auto &[what, pauses, expected] : cases)
        EXPECT_EQ(boundaries(pauses), expected) << what;
    // Only ten neighbours on either side count: far away, the same pause is nothing special.
    std::vector<double> pauses(40, minute);
    pauses[20] = 2 * hour;
    EXPECT_EQ(boundaries(pauses), Gaps{20});
    std::fill(pauses.begin() + 10, pauses.begin() + 20, 2 * hour);
    std::fill(pauses.begin() + 21, pauses.begin() + 31, 2 * hour);
    EXPECT_EQ(boundaries(pauses), Gaps{}) << "an even stream of photos";
}

TEST(Moments, BeginWhereThePlaceJumps) {
    const std::vector<double> even(4, 20 * minute);
    const std::optional<Place> unknown;
    const struct {
        const char *what;
        std::vector<double> pauses;
        std::vector<std::optional<Place>> places;
        Gaps expected;
    } cases[] = {
        {"a walk", even, {home, market, home, market, home}, {}},
        {"a journey", even, {home, home, lake, lake, lake}, {1}},
        {"there and back", even, {home, home, lake, home, home}, {1, 2}},
        {"one wrong fix", {10, 10, 10, 10}, {home, home, lake, home, home}, {}},
        {"where the most time passed", {600, 600, 700, 600}, {home, unknown, unknown, unknown, lake}, {2}},
        {"no places at all", even, {}, {}},
        {"across the date line", even, {island, island, beyond, beyond, beyond}, {1}},
    };
    for (const auto &[what, pauses, places, expected] : cases)
        EXPECT_EQ(boundaries(pauses, places), expected) << what;
    // Two places tell nothing when too many photos without one lie between them.
    std::vector<std::optional<Place>> places(12);
    places.front() = home;
    places[10] = lake;
    EXPECT_EQ(boundaries(std::vector<double>(11, 20 * minute), places).size(), 1U);
    std::swap(places[10], places[11]);
    EXPECT_EQ(boundaries(std::vector<double>(11, 20 * minute), places).size(), 0U);

    EXPECT_NEAR(distance(island, beyond), 22'000, 100);
    const auto middle = centroid(std::vector<Interval>{{0, 0, island}, {1, 1, beyond}, {2, 2, {}}});
    ASSERT_TRUE(middle);
    EXPECT_NEAR(std::abs(middle->longitude), 180, 1e-6);
    EXPECT_FALSE(centroid(std::vector<Interval>(3)));
}

TEST(Moments, ListsPartAtLongPausesAndLongJourneys) {
    const std::vector<double> days(6, day);
    EXPECT_EQ(boundaries(days, {}, momentListRule), Gaps{});
    EXPECT_EQ(boundaries({day, day, 5 * day, day, day}, {}, momentListRule), Gaps{2});
    EXPECT_EQ(boundaries({day, day, day}, {home, lake, island, island}, momentListRule), Gaps{1});
}

TEST(Moments, KeepTheKeyOfTheMomentWithWhichTheyShareTheMostMembers) {
    using Groups = std::vector<std::vector<std::int64_t>>;
    using Keys = std::vector<std::int64_t>;
    const std::pair<Groups, Keys> cases[] = {
        {{}, {}},
        {{{0, 0}, {7, 7}}, {0, 7}},
        {{{7}, {7, 7, 0}}, {0, 7}},             // split: the larger part keeps the key
        {{{7, 7, 8}}, {7}},                     // merged: the larger part gives it
        {{{7}, {7}}, {7, 0}},                   // equal parts: the earlier
        {{{7, 7, 8}, {7, 7, 7, 8, 8}}, {8, 7}}, // a key that is taken: the next best
    };
    for (const auto &[groups, keys] : cases)
        EXPECT_EQ(reassignKeys(groups), keys);
}

/// A store with assets, and moments made of them.
class MomentPlans : public testing::Test {
protected:
    std::optional<sqlite::Database> database;
    std::int64_t added = 0;

    void SetUp() override {
        const store::LibraryPaths paths;
        ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
        auto opened = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(opened) << opened.error().text;
        database = *std::move(opened);
        // Thousands of small commits, of which none needs to survive a power cut.
        ASSERT_TRUE(database->execute("PRAGMA synchronous=OFF") && store::layOut(*database));
    }
    void add(double date, std::optional<Place> place) {
        AssetRecord record;
        record.uuid = "U" + std::to_string(++added);
        record.dateCreated = date;
        if (added % 2 != 0) { // the camera's clock was ten hours ahead of UTC
            record.clockDate = date;
            record.dateCreated -= 36'000;
        }
        if (place) {
            record.latitude = place->latitude;
            record.longitude = place->longitude;
        }
        sqlite::Statement statement = database->prepare(store::insertAsset);
        store::bindRecord(statement, record);
        ASSERT_TRUE(statement.run()) << database->problem().text;
    }
    bool apply(const MomentPlan &plan) {
        sqlite::Transaction transaction(*database);
        return applyPlan(*database, plan) && transaction.commit();
    }
    /// Each list with its moments.
    std::vector<std::string> lists() {
        return *database
                    ->prepare(
                        "SELECT l.pk || ' ' || l.startdate || ' ' || l.enddate || ' ' || l.momentcount || "
                        "' ' || l.assetcount || ' ' || l.analyzed || ' ' || group_concat(m.pk) FROM "
                        "zmomentlist l LEFT JOIN zmoment m ON m.list = l.pk GROUP BY l.pk")
                    .all([](const sqlite::Statement &row) { return std::string(row.text(0)); });
    }
    std::int64_t number(const char *query) { return database->integer(query).value_or(-1); }
    /// The moment of each asset, in the order of time.
    std::vector<std::int64_t> momentsOfAssets() {
        std::vector<std::int64_t> moments;
        sqlite::Statement statement =
            database->prepare("SELECT m.moment FROM zgenericasset a JOIN zmomentasset m ON m.asset = a.pk "
                              "ORDER BY coalesce(a.clockdate, a.datecreated), a.pk");
        while (statement.next())
            moments.push_back(statement.integer(0));
        return moments;
    }
};

// Written from the rule's words, without any of the code above.
std::vector<bool> boundariesByTheRule(const std::vector<Interval> &intervals) {
    std::vector<bool> result;
    const auto gap = [&](std::size_t i) { return intervals[i + 1].start - intervals[i].start; };
    for (std::size_t i = 0; i + 1 < intervals.size(); ++i) {
        double product = 0;
        int neighbours = 0;
        for (int offset = -10; offset <= 10; ++offset) {
            const auto j = static_cast<std::ptrdiff_t>(i) + offset;
            if (offset == 0 || j < 0 || j + 1 >= static_cast<std::ptrdiff_t>(intervals.size()))
                continue;
            product += std::log(std::max(gap(static_cast<std::size_t>(j)), 300.0));
            ++neighbours;
        }
        const bool standsOut =
            neighbours != 0 && std::log(std::max(gap(i), 300.0)) - product / neighbours >= std::log(12.0);
        result.push_back(standsOut || gap(i) >= 12 * 3600);
    }
    for (std::size_t a = 0; a < intervals.size(); ++a)
        for (std::size_t b = a + 1; intervals[a].place && b < intervals.size(); ++b) {
            if (!intervals[b].place)
                continue;
            if (b - a <= 10 && intervals[b].start - intervals[a].start >= 300 &&
                distance(*intervals[a].place, *intervals[b].place) > 2000) {
                std::size_t widest = a;
                for (std::size_t i = a; i < b; ++i)
                    widest = gap(i) > gap(widest) ? i : widest;
                result[widest] = true;
            }
            break;
        }
    return result;
}

/// Photos come, go, and get other dates and places. After each edit the moments are brought up to date around
/// the change; the plan for that must be the plan of a whole rebuild, to the last row and key.
/// WICKERLANE_EDITS and WICKERLANE_SEED say how many and from which seed.
TEST_F(MomentPlans, AnIncrementalResultIsThatOfAWholeRebuild) {
    const char *wantedEdits = std::getenv("WICKERLANE_EDITS"), *wantedSeed = std::getenv("WICKERLANE_SEED");
    const int edits = wantedEdits != nullptr ? std::stoi(wantedEdits) : 2000;
    const unsigned seed =
        wantedSeed != nullptr ? static_cast<unsigned>(std::stoul(wantedSeed)) : std::random_device{}();
    std::printf("seed %u, %d edits\n", seed, edits);
    std::mt19937 random(seed);
    const auto below = [&](unsigned limit) { return random() % limit; };
    // Days with bursts in them: dates of all distances, many of them equal.
    const auto someDate = [&] {
        return static_cast<double>(below(100)) * day + static_cast<double>(below(5)) * 2 * hour +
               static_cast<double>(below(30) * below(30));
    };
    const auto somePlace = [&]() -> std::optional<Place> {
        if (below(3) == 0)
            return std::nullopt;
        return Place{48 + below(4) * 0.01, below(12) == 0 ? 12.0 : 9.0};
    };
    const auto someAsset = [&] {
        sqlite::Statement statement = database->prepare("SELECT pk FROM zgenericasset LIMIT 1 OFFSET ?");
        statement.bind(below(static_cast<unsigned>(number("SELECT count(*) FROM zgenericasset"))));
        return statement.next() ? statement.integer(0) : 0;
    };
    for (int i = 0; i < 300; ++i)
        add(someDate(), somePlace());

    std::size_t moved = 0, mostLists = 0;
    std::vector<std::string> wantedLists;
    for (int edit = 0; edit < edits; ++edit) {
        for (unsigned step = 0, steps = 1 + (below(4) == 0 ? below(6) : 0); step < steps; ++step) {
            const auto place = somePlace();
            const std::int64_t asset = someAsset();
            switch (number("SELECT count(*) FROM zgenericasset") < 150 ? 0 : below(4)) {
            case 0:
                add(someDate(), place);
                break;
            case 1:
                ASSERT_TRUE(database->prepare("DELETE FROM zgenericasset WHERE pk = ?").bind(asset).run());
                break;
            case 2:
                ASSERT_TRUE(database
                                ->prepare("UPDATE zgenericasset SET datecreated = ?1, "
                                          "clockdate = iif(pk % 2, ?1 + 36000, NULL) WHERE pk = ?2")
                                .bind(someDate(), asset)
                                .run());
                break;
            default: {
                sqlite::Statement update = database->prepare(
                    place ? "UPDATE zgenericasset SET latitude = ?2, longitude = ?3 WHERE pk = ?1"
                          : "UPDATE zgenericasset SET latitude = NULL, longitude = NULL WHERE pk = ?1");
                update.bind(asset);
                if (place)
                    update.bind(place->latitude, place->longitude);
                ASSERT_TRUE(update.run());
            }
            }
        }
        const auto around = planMoments(*database, true), whole = planMoments(*database, false);
        ASSERT_TRUE(around && whole) << database->problem().text;
        ASSERT_EQ(around->moments, whole->moments) << "edit " << edit << " of seed " << seed;
        ASSERT_EQ(around->gone, whole->gone) << "edit " << edit << " of seed " << seed;
        moved += around->moments.size();
        {
            const sqlite::Transaction rolledBack(*database);
            ASSERT_TRUE(applyPlan(*database, *whole)) << database->problem().text;
            wantedLists = lists();
        }
        ASSERT_TRUE(apply(*around)) << database->problem().text;
        ASSERT_EQ(lists(), wantedLists) << "edit " << edit << " of seed " << seed;
        mostLists = std::max(mostLists, wantedLists.size());
        ASSERT_EQ(isCurrent(*database, *around), true);
        ASSERT_EQ(number("SELECT count(*) FROM zmomentchange"), 0);

        if (edit % 100 != 0)
            continue;
        const auto again = planMoments(*database, false);
        ASSERT_TRUE(again && again->moments.empty() && again->gone.empty()) << "edit " << edit;
        std::vector<Interval> intervals;
        sqlite::Statement statement = database->prepare(
            "SELECT coalesce(clockdate, datecreated) AS shown, latitude, longitude FROM zgenericasset "
            "ORDER BY shown, pk");
        while (statement.next()) {
            const double date = statement.real(0);
            intervals.push_back({date, date, {}});
            if (!statement.isNull(1))
                intervals.back().place = Place{statement.real(1), statement.real(2)};
        }
        const std::vector<std::int64_t> moments = momentsOfAssets();
        const std::vector<bool> expected = boundariesByTheRule(intervals);
        ASSERT_EQ(moments.size(), intervals.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_EQ(moments[i] != moments[i + 1], expected[i]) << "gap " << i << " at edit " << edit;
        ASSERT_EQ(number("SELECT count(*) FROM zmoment m WHERE assetcount <> (SELECT count(*) FROM "
                         "zmomentasset WHERE moment = m.pk)"),
                  0);
        ASSERT_EQ(number("SELECT count(*) FROM zmomentlist l WHERE momentcount <> (SELECT count(*) FROM "
                         "zmoment WHERE list = l.pk) OR momentcount = 0"),
                  0);
        ASSERT_EQ(number("SELECT count(*) FROM zmoment WHERE list IS NULL"), 0);
    }
    EXPECT_GT(moved, static_cast<std::size_t>(edits) / 10) << "the edits must have moved something";
    EXPECT_GT(mostLists, 5U) << "and some lists must be far from a change";
}

TEST_F(MomentPlans, AnyChangeOutdatesAPlan) {
    add(0, home);
    const auto plan = planMoments(*database, true);
    ASSERT_TRUE(plan);
    EXPECT_EQ(isCurrent(*database, *plan), true);
    add(1, home);
    EXPECT_EQ(isCurrent(*database, *plan), false);
}

TEST_F(MomentPlans, AnalysisFindsKeyAssetsAndRepeatsOnlyWhatHasChanged) {
    for (const double date : {0.0, 100.0, 200.0, 300.0, 3 * day})
        add(date, home);
    // The middle one is a video, the next shows nothing, and of the last nothing has been seen.
    ASSERT_TRUE(
        database->execute("UPDATE zgenericasset SET thumbnailindex = 1 WHERE pk < 4;"
                          "UPDATE zgenericasset SET kind = 1 WHERE pk = 2;"
                          "INSERT INTO zfingerprint VALUES (1, 1, 5, 6), (2, 1, 5, 6), (3, 1, NULL, NULL)"));
    ASSERT_TRUE(apply(*planMoments(*database, true)));
    const auto analyze = [&](AnalysisScope scope) {
        const auto moments = momentsIn(*database, scope);
        EXPECT_TRUE(analyzeMoments(*database, *moments));
        EXPECT_TRUE(analyzeLists(*database, scope));
        return moments->size();
    };
    EXPECT_EQ(analyze({AnalysisScope::Kind::invalid, 0}), 2U);
    EXPECT_EQ(number("SELECT keyasset FROM zmoment ORDER BY startdate LIMIT 1"), 1);
    EXPECT_EQ(number("SELECT photocount * 10 + videocount FROM zmoment ORDER BY startdate LIMIT 1"), 31);
    EXPECT_EQ(number("SELECT keyasset FROM zmomentlist"), 1);
    EXPECT_EQ(analyze({AnalysisScope::Kind::invalid, 0}), 0U);
    EXPECT_EQ(analyze({AnalysisScope::Kind::all, 0}), 2U);
    EXPECT_EQ(analyze({AnalysisScope::Kind::oneMoment, 1}), 1U);
    EXPECT_EQ(analyze({AnalysisScope::Kind::oneMoment, 99}), 0U);
    EXPECT_EQ(analyze({AnalysisScope::Kind::oneList, 1}), 2U);

    // Only the moment that changed, and its list, are looked into again.
    ASSERT_TRUE(database->execute("DELETE FROM zgenericasset WHERE pk = 1"));
    ASSERT_TRUE(apply(*planMoments(*database, true)));
    EXPECT_EQ(number("SELECT count(*) FROM zmoment WHERE analyzed = 0"), 1);
    EXPECT_EQ(number("SELECT count(*) FROM zmomentlist WHERE analyzed = 0"), 1);
    EXPECT_EQ(analyze({AnalysisScope::Kind::invalid, 0}), 1U);
    EXPECT_EQ(number("SELECT keyasset FROM zmoment ORDER BY startdate LIMIT 1"), 3);
}

} // namespace
