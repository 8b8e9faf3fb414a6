// Pages of assets: which ones a filter finds, in which order, and how pages follow each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/QueryPlan.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane;
using namespace wickerlane::store;

namespace {

constexpr const char *libraryUUID = "11111111-2222-4333-8444-555555555555";
constexpr const char *albumUUID = "AAAAAAAA-2222-4333-8444-555555555555";
constexpr double secondsOfDay = 86'400;

std::string uuidNumbered(int number) {
    char text[37];
    std::snprintf(text, sizeof text, "%08X-0000-4000-8000-00000000ABCD", number);
    return text;
}

/// The number in a name that asset() gives.
int numberOf(const AssetRecord &record) {
    return std::stoi(record.uuid.substr(0, 8), nullptr, 16);
}

AssetRecord asset(int number, double date) {
    AssetRecord record;
    record.uuid = uuidNumbered(number);
    record.directory = LibraryPaths::directoryOfOriginal(record.uuid);
    record.filename = record.uuid + ".JPG";
    record.originalFilename = "IMG_" + std::to_string(number) + ".jpg";
    record.format = "image/jpeg";
    record.dateCreated = date;
    record.byteSize = 1000;
    return record;
}

class Queries : public testing::Test {
protected:
    LibraryPaths paths;
    std::optional<sqlite::Database> writer;
    std::unique_ptr<StoreReader> reader;

    void SetUp() override {
        ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
        auto opened = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(opened) << opened.error().text;
        writer = *std::move(opened);
        ASSERT_TRUE(layOut(*writer)) << writer->problem().text;
        execute(std::string("INSERT INTO zlibrary VALUES ('") + libraryUUID + "')");
        auto openedReader = StoreReader::open(paths);
        ASSERT_TRUE(openedReader) << openedReader.error().text;
        reader = *std::move(openedReader);
    }
    void execute(const std::string &sql) {
        ASSERT_TRUE(writer->execute(sql.c_str())) << writer->problem().text << ": " << sql;
    }
    void add(const AssetRecord &record) {
        auto statement = writer->prepare(insertAsset);
        bindRecord(statement, record);
        ASSERT_TRUE(statement.run()) << writer->problem().text;
    }
    /// The numbers of the assets on all pages.
    std::vector<int> allOf(wickerlane::AssetQuery query) {
        std::vector<int> numbers;
        for (int pages = 0; pages < 1000; ++pages) {
            const auto page = reader->page(query);
            EXPECT_TRUE(page) << page.error().text;
            if (!page)
                return numbers;
            for (const AssetRecord &each : page->records)
                numbers.push_back(numberOf(each));
            if (page->next.empty())
                return numbers;
            EXPECT_EQ(page->records.size(), query.limit);
            query.cursor = page->next;
        }
        ADD_FAILURE() << "the pages do not end";
        return numbers;
    }
};

using Numbers = std::vector<int>;

TEST_F(Queries, FindWhatAllConditionsApplyTo) {
    AssetRecord first = asset(1, 100), second = asset(2, 200), third = asset(3, 300);
    first.latitude = 47.37;
    first.longitude = 8.54;
    first.camera = "Model 5";
    first.favourite = true;
    first.caption = "Boats on the lake";
    second.kind = AssetKind::video;
    second.format = "video/mp4";
    second.latitude = -18.0;
    second.longitude = 179.9;
    second.byteSize = 5000;
    second.rating = 4;
    second.keywords = "harbour\nnight";
    second.originalFilename = "100%_sure.mp4";
    third.problem = "it is cut off";
    third.clockDate = 3700;
    third.hidden = true;
    third.originalFilename = "DSC_0003.NEF";
    for (const AssetRecord &each : {first, second, third})
        add(each);
    execute(
        std::string("INSERT INTO zalbum (uuid, name, datecreated) VALUES ('") + albumUUID +
        "', 'Summer 2019', 0); INSERT INTO zalbumasset (album, asset, dateadded) VALUES (1, 3, 0), (1, 1, 0);"
        "INSERT INTO zrendition VALUES ('" +
        uuidNumbered(2) +
        "', 'x', zeroblob(32), 0, zeroblob(0));"
        "INSERT INTO zmoment (startdate, enddate, assetcount) VALUES (0, 0, 0);"
        "INSERT INTO zmomentasset VALUES (2, 1), (3, 1);");
    const std::string beginning = "0000000";
    const struct {
        const char *subject;
        AssetFilter filter;
        Numbers expected;
    } cases[] = {
        {"nothing asked", {}, {1, 2, 3}},
        {"kind", {.kind = AssetKind::video}, {2}},
        {"from, by the camera's clock", {.from = 200}, {2, 3}},
        {"until", {.until = 200}, {1}},
        {"an empty time", {.from = 200, .until = 200}, {}},
        {"a box", {.south = 47, .west = 8, .north = 48, .east = 9}, {1}},
        {"a box across the date line", {.south = -20, .west = 179, .north = -10, .east = -179}, {2}},
        {"near", {.nearLatitude = 47.3, .nearLongitude = 8.5, .radius = 10'000}, {1}},
        {"in the box around, but too far",
         {.nearLatitude = 47.3, .nearLongitude = 8.46, .radius = 9'000},
         {}},
        {"near across the date line", {.nearLatitude = -18, .nearLongitude = -179.9, .radius = 30'000}, {2}},
        {"near a pole", {.nearLatitude = 89.9, .nearLongitude = 0, .radius = 1'000'000}, {}},
        {"all the world", {.nearLatitude = 0, .nearLongitude = 0, .radius = 30'000'000}, {1, 2}},
        {"album", {.album = albumUUID}, {1, 3}},
        {"album in lower case", {.album = "aaaaaaaa-2222-4333-8444-555555555555"}, {1, 3}},
        {"no such album", {.album = libraryUUID}, {}},
        {"an album that is none", {.album = "Summer"}, {}},
        {"album and time", {.from = 200, .album = albumUUID}, {3}},
        {"moment", {.moment = 1}, {2, 3}},
        {"name", {.name = "img_1.JPG"}, {1}},
        {"name with stars", {.name = "*.nef"}, {3}},
        {"name with what SQL takes for a star", {.name = "100%_*"}, {2}},
        {"name that is only a part", {.name = "DSC"}, {}},
        {"words of caption and album", {.text = "  lake summer"}, {1}},
        {"a word of a name", {.text = "0%_S"}, {2}},
        {"a keyword", {.text = "night"}, {2}},
        {"a word of a camera", {.text = "MODEL lake"}, {1}},
        {"words of which one is missing", {.text = "lake winter"}, {}},
        {"format", {.format = "video/mp4"}, {2}},
        {"camera", {.camera = "Model 5"}, {1}},
        {"favourite", {.isFavourite = true}, {1}},
        {"no favourite", {.isFavourite = false}, {2, 3}},
        {"not hidden", {.isHidden = false}, {1, 2}},
        {"hidden", {.isHidden = true}, {3}},
        {"rating", {.minRating = 4}, {2}},
        {"edited", {.isEdited = true}, {2}},
        {"not edited", {.isEdited = false}, {1, 3}},
        {"problem", {.hasProblem = true}, {3}},
        {"size", {.minBytes = 1001, .maxBytes = 5000}, {2}},
        {"by several UUIDs",
         {.uuids = {{"00000003-0000-4000-8000-00000000abcd", uuidNumbered(1), "1\"]"}}},
         {1, 3}},
        {"by no UUIDs", {.uuids = {{}}}, {}},
        {"by UUIDs and another condition",
         {.uuids = {{uuidNumbered(1), uuidNumbered(2)}}, .minRating = 4},
         {2}},
        {"by UUID", {.identity = "00000002-0000-4000-8000-00000000abcd"}, {2}},
        {"by a beginning", {.identity = "00000003-0000"}, {3}},
        {"by a beginning of several", {.identity = beginning}, {1, 2, 3}},
        {"by a beginning that is too short", {.identity = "000"}, {}},
        {"by another text", {.identity = "0000000%"}, {}},
        {"by URL", {.identity = "rez-vault://asset/asset.JPG?id=" + uuidNumbered(1) + "&ext=JPG"}, {1}},
        {"by object ID", {.identity = objectURI(libraryUUID, 3)}, {3}},
        {"by an object ID of another library", {.identity = objectURI(albumUUID, 3)}, {}},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(allOf({.filter = each.filter}), each.expected) << each.subject;
        Numbers backwards = each.expected;
        std::ranges::reverse(backwards);
        EXPECT_EQ(allOf({.filter = each.filter, .isDescending = true, .limit = 1}), backwards)
            << each.subject;
        EXPECT_EQ(reader->count(each.filter), each.expected.size()) << each.subject;
    }
    execute("DELETE FROM zrendition; UPDATE zgenericasset SET clockdate = 10 WHERE pk = 3;");
    EXPECT_EQ(allOf({.filter = {.isEdited = true}}), Numbers()) << "the edit was taken back";
    EXPECT_EQ(allOf({.filter = {.album = albumUUID}}), (Numbers{3, 1})) << "its date was changed";
}

TEST_F(Queries, FollowEachOtherInEveryOrderWhileAssetsComeAndGo) {
    for (int i = 1; i <= 60; ++i) {
        AssetRecord each = asset(i, i / 20); // many have the same date
        each.dateAdded = -i % 7;
        each.byteSize = static_cast<std::uint64_t>(i % 5);
        each.originalFilename = i % 2 == 0 ? "Same/name" : "b" + std::to_string(i);
        add(each);
    }
    for (const AssetOrder order : {AssetOrder::date, AssetOrder::added, AssetOrder::size, AssetOrder::name})
        for (const bool isDescending : {false, true}) {
            wickerlane::AssetQuery query{.order = order, .isDescending = isDescending, .limit = 7};
            const Numbers before = allOf(query);
            ASSERT_EQ(before.size(), 60U);
            EXPECT_EQ(std::set<int>(before.begin(), before.end()).size(), 60U);
            // The last asset of the first page goes, and others come before and behind it.
            const auto page = reader->page(query);
            ASSERT_TRUE(page);
            query.cursor = page->next;
            const std::string last = std::to_string(page->records.back().primaryKey);
            execute("BEGIN; DELETE FROM zgenericasset WHERE pk = " + last);
            add(asset(100, -1));
            add(asset(101, 1000));
            execute("COMMIT");
            Numbers after = allOf(query);
            std::erase_if(after, [](int number) { return number >= 100; });
            EXPECT_EQ(after, Numbers(before.begin() + 7, before.end())) << static_cast<int>(order);
            execute("DELETE FROM zgenericasset WHERE uuid >= '" + uuidNumbered(100) + "'");
            add(page->records.back()); // it comes back as a younger one
        }
}

TEST_F(Queries, RefuseWhatMakesNoSense) {
    add(asset(1, 1));
    const double none = std::nan("");
    const wickerlane::AssetQuery cases[] = {
        {.limit = 0},
        {.limit = 10'001},
        {.filter = {.south = 1}},
        {.filter = {.nearLatitude = 1, .nearLongitude = 2}},
        {.filter = {.from = none}},
        {.filter = {.nearLatitude = 1, .nearLongitude = 2, .radius = INFINITY}},
        {.filter = {.nearLatitude = 91, .nearLongitude = 2, .radius = 1}},
        {.filter = {.nearLatitude = 1, .nearLongitude = 2, .radius = -1}},
        {.filter = {.south = 1, .west = -181, .north = 2, .east = 3}},
        {.filter = {.minRating = 6}},
        {.filter = {.uuids = std::vector<std::string>(10'001)}},
        {.cursor = "x"},
        {.cursor = "1/"},
        {.cursor = "1/nan"},
        {.cursor = "/1"},
        {.order = AssetOrder::size, .cursor = "1/1.5"},
    };
    for (const auto &each : cases) {
        const auto page = reader->page(each);
        ASSERT_FALSE(page);
        EXPECT_EQ(page.error().kind, ProblemKind::invalid) << page.error().text;
    }
}

// Each promised filter and order is a range of an index, at the start and behind a cursor.
TEST_F(Queries, WalkAnIndex) {
    const wickerlane::AssetQuery cases[] = {
        {},
        {.isDescending = true},
        {.order = AssetOrder::added},
        {.order = AssetOrder::size, .isDescending = true},
        {.order = AssetOrder::name},
        {.filter = {.kind = AssetKind::video}},
        {.filter = {.from = 1, .until = 2}},
        {.filter = {.album = albumUUID}, .isDescending = true},
        {.filter = {.format = "image/jpeg"}},
        {.filter = {.camera = "x"}},
        {.filter = {.isFavourite = true}},
        {.filter = {.minRating = 2}},
        {.filter = {.isHidden = true}},
        {.filter = {.isEdited = true}},
        {.filter = {.hasProblem = true}},
    };
    for (wickerlane::AssetQuery query : cases)
        for (const bool isBehind : {false, true}) {
            query.cursor = isBehind ? "5/1" : "";
            const auto selections = selectionsFor(query, libraryUUID);
            ASSERT_TRUE(selections) << selections.error().text;
            for (const Selection &each : *selections) {
                const std::string sql = std::string(selectAssets) + each.narrowing;
                auto statement = writer->prepare("EXPLAIN QUERY PLAN " + sql);
                each.bindTo(statement);
                const auto lines =
                    statement.all([](const sqlite::Statement &row) { return std::string(row.text(3)); });
                ASSERT_TRUE(lines) << lines.error().text << sql;
                for (const std::string &line : *lines) {
                    EXPECT_EQ(line.find("TEMP B-TREE"), std::string::npos) << sql << "\n" << line;
                    const bool isIndexed = line.find("INDEX") != std::string::npos ||
                                           line.find("PRIMARY KEY") != std::string::npos ||
                                           line.starts_with("SCALAR");
                    EXPECT_TRUE(isIndexed) << sql << "\n" << line;
                }
            }
        }
}

TEST_F(Queries, CountDaysAndMonthsWithTheirShapes) {
    AssetRecord wide = asset(1, 10), high = asset(2, secondsOfDay - 1), unknown = asset(3, 40 * secondsOfDay),
                early = asset(4, -1);
    wide.width = 3000;
    wide.height = 2000;
    high.width = 1;
    high.height = 5000;
    for (const AssetRecord &each : {wide, high, unknown, early})
        add(each);
    const auto days = reader->sections({}, SectionUnit::day, false);
    ASSERT_TRUE(days);
    ASSERT_EQ(days->size(), 3U);
    EXPECT_EQ((*days)[0].start, -secondsOfDay);
    EXPECT_EQ((*days)[1].start, 0);
    EXPECT_EQ((*days)[1].shapes, (std::vector<std::uint16_t>{1500, 1}));
    EXPECT_EQ((*days)[2].shapes, std::vector<std::uint16_t>{0});
    const auto months = reader->sections({}, SectionUnit::month, true);
    ASSERT_TRUE(months);
    ASSERT_EQ(months->size(), 3U);
    EXPECT_EQ((*months)[0].start, 31 * secondsOfDay) << "February 2001";
    EXPECT_EQ((*months)[2].start, -31 * secondsOfDay) << "December 2000";
    EXPECT_EQ((*months)[1].shapes, (std::vector<std::uint16_t>{1, 1500}));
}

TEST_F(Queries, GiveChangesWithoutAGapOrSayThatThereIsOne) {
    const auto since = [&](const std::string &token, std::size_t limit) {
        auto page = reader->changesSince(token, limit);
        EXPECT_TRUE(page) << page.error().text;
        return page ? *page : ChangesPage();
    };
    const std::string beginning = since("", 0).token;
    for (int i = 1; i <= 5; ++i)
        add(asset(i, i));
    const ChangesPage first = since(beginning, 3), second = since(first.token, 3);
    EXPECT_EQ(first.changes.size(), 3U);
    EXPECT_FALSE(first.isLast);
    ASSERT_EQ(second.changes.size(), 2U);
    EXPECT_EQ(second.changes.back().uuid, uuidNumbered(5));
    EXPECT_TRUE(second.isLast);
    EXPECT_EQ(since("", 100).changes.size(), 5U) << "from the oldest on";
    EXPECT_EQ(since("3", 100).changes.size(), 2U) << "by number";
    EXPECT_TRUE(since(since("", 0).token, 100).changes.empty()) << "from now on";

    execute("UPDATE zchange SET assetuuid = 'damaged' WHERE pk = 2");
    const ChangesPage besideDamage = since(beginning, 3);
    EXPECT_EQ(besideDamage.changes.size(), 2U);
    EXPECT_EQ(besideDamage.token, first.token) << "a damaged row costs none of those behind it";

    execute("DELETE FROM zchange WHERE pk <= 3"); // as when there are too many
    const struct {
        const char *subject;
        std::string token;
        bool isTooOld;
    } cases[] = {
        {"the first is missing", beginning, true},
        {"only what was seen is missing", first.token, false},
        {"ahead of the store", std::string("6/") + libraryUUID, true},
        {"of another store", std::string("4/") + albumUUID, true},
        {"the present", second.token, false},
    };
    for (const auto &each : cases) {
        const ChangesPage page = since(each.token, 100);
        EXPECT_EQ(page.isTooOld, each.isTooOld) << each.subject;
        EXPECT_TRUE(!page.isTooOld || page.changes.empty()) << each.subject;
        EXPECT_TRUE(page.isLast) << each.subject;
        EXPECT_EQ(page.token, second.token) << each.subject;
    }
    execute("INSERT INTO zstate VALUES ('history', 7)"); // as when an older store was put back
    EXPECT_TRUE(since(second.token, 100).isTooOld);
    EXPECT_FALSE(since(since(second.token, 100).token, 100).isTooOld);
    EXPECT_FALSE(since("5", 100).isTooOld) << "by number";
    execute("DELETE FROM zstate WHERE name = 'history'");
    execute("DELETE FROM zchange"); // as when they are cleared
    EXPECT_TRUE(since(first.token, 100).isTooOld);
    EXPECT_FALSE(since(second.token, 100).isTooOld);
    for (const char *token : {"x", "/", "1/2/3x", "99999999999999999999"}) {
        const auto page = reader->changesSince(token, 1);
        EXPECT_TRUE(!page || page->isTooOld) << token;
    }
    EXPECT_FALSE(reader->changesSince("", 10'001));
}

} // namespace
