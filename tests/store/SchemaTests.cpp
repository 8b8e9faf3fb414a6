#include "tests/support/StoreView.h"
#include "wickerlane/store/Schema.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/AnalysisReader.h"
#include "wickerlane/store/KeptSums.h"

using namespace wickerlane;
using namespace wickerlane::store;

namespace {

/// Takes the steps before the one that holds a text.
void layOutUntil(sqlite::Database &database, const char *text) {
    int taken = 0;
    for (const char *step : schemaSteps()) {
        if (std::strstr(step, text) != nullptr)
            break;
        ASSERT_TRUE(database.execute(step));
        ++taken;
    }
    ASSERT_TRUE(database.execute(("PRAGMA user_version = " + std::to_string(taken)).c_str()));
}

// A library of the first version, of which only the assets' table existed.
TEST(Schema, AnOlderLibraryGainsWhatItLacks) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
    auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(writer) << writer.error().text;
    ASSERT_TRUE(writer->execute(schemaSteps().front()));
    ASSERT_TRUE(writer->execute("INSERT INTO zlibrary VALUES ('00000000-0000-4000-8000-000000000000');"
                                "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 7) "
                                "INSERT INTO zgenericasset SELECT i, "
                                "printf('%08d-0000-4000-8000-00000000ABCD', i), i % 3 = 0, 'DCIM/00', "
                                "'a.JPG', '', '', 0, 0, 1, 0, 0, NULL, NULL, 0, "
                                "zeroblob(32), 0, '' FROM n;"
                                "PRAGMA user_version = 1;"))
        << writer->problem().text;
    ASSERT_TRUE(layOut(*writer)) << writer->problem().text;

    ReleaseScope scope;
    const auto store = test::StoreView::open();
    ASSERT_TRUE(store);
    const auto counted = [&] {
        const auto counts = store->counts().value_or(AssetCounts{99, 99});
        return std::pair(counts.photos, counts.videos);
    };
    EXPECT_EQ(counted(), std::pair(std::uint64_t{5}, std::uint64_t{2}));
    EXPECT_EQ(store->assets()->count(), 7U);
    ASSERT_TRUE(writer->execute(
        "DELETE FROM zgenericasset WHERE pk = 1; UPDATE zgenericasset SET kind = 1 WHERE pk = 2;"
        "UPDATE zgenericasset SET width = 3;"));
    EXPECT_EQ(counted(), std::pair(std::uint64_t{3}, std::uint64_t{3}));
    ASSERT_TRUE(writer->execute("UPDATE zcount SET number = 70;"));
    ASSERT_TRUE(recountSums(*writer));
    EXPECT_EQ(counted(), std::pair(std::uint64_t{3}, std::uint64_t{3}));
    EXPECT_TRUE(wrongSums(*writer)->empty());
    EXPECT_EQ(writer->integer("SELECT count(*) FROM zgenericasset WHERE duedetails = 15"), 6)
        << "what they say of themselves is read later";
    const auto changes = [&] { return writer->integer("SELECT count(*) FROM zchange"); };
    const auto before = changes();
    for (const char *change :
         {"favourite = 1", "hidden = 1", "rating = 5", "caption = 'a'", "keywords = 'a'"})
        for (int time = 0; time < 2; ++time)
            ASSERT_TRUE(writer->execute(
                (std::string("UPDATE zgenericasset SET ") + change + " WHERE pk = 3").c_str()));
    EXPECT_EQ(*changes(), *before + 5) << "what people change is noted, once";
    const auto unmeasured = unmeasuredAssets(*writer, AssetsIn::library, 2, 3);
    ASSERT_TRUE(unmeasured) << unmeasured.error().text;
    ASSERT_EQ(unmeasured->size(), 3U) << "their files are looked at later";
    EXPECT_EQ(unmeasured->front().primaryKey, 3);
}

// Of a library that had a feed only when somebody asked for it.
TEST(Schema, WhatWasSharedBeforeComesIntoTheFeed) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
    auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(writer) << writer.error().text;
    layOutUntil(*writer, "zalbumasset_feed_insert");
    ASSERT_TRUE(writer->execute(
        "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 4) "
        "INSERT INTO zgenericasset (pk, uuid, kind, directory, filename, originalfilename, format, width, "
        "height, orientation, datecreated, dateadded, bytesize, sha256, thumbnailindex, problem) "
        "SELECT i, i, 0, '', '', '', '', 0, 0, 1, 0, 0, 0, zeroblob(32), 0, '' FROM n;"
        "INSERT INTO zlibrary VALUES ('00000000-0000-4000-8000-000000000000');"
        "INSERT INTO zalbum (pk, uuid, name, streamid, datecreated) VALUES (1, 'A', 'A', 's', 0), "
        "(2, 'B', 'B', NULL, 0);"
        "INSERT INTO zalbumasset VALUES (1, 1, 9000), (1, 2, 1000), (1, 3, 2000), (2, 4, 1000);"))
        << writer->problem().text;
    ASSERT_TRUE(layOut(*writer)) << writer->problem().text;

    const auto feed = AnalysisReader::open(paths)->cloudFeed();
    ASSERT_TRUE(feed && feed->size() == 2);
    EXPECT_EQ((*feed)[0].uuids, std::vector<std::string>{"1"});
    EXPECT_EQ((*feed)[1].uuids, (std::vector<std::string>{"2", "3"}));
    EXPECT_EQ((*feed)[1].startDate, 1000);
    EXPECT_EQ((*feed)[1].endDate, 2000);
    EXPECT_EQ(writer->integer("SELECT cachedcount FROM zalbum WHERE pk = 1"), 3);
}

// Applications remember the number of the last bulletin that they have shown.
TEST(Schema, BulletinsKeepTheirNumbersAndGetNewOnes) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
    auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(writer) << writer.error().text;
    layOutUntil(*writer, "znewbulletin");
    const auto insert = "INSERT INTO zbulletin (originalrecordid, originaldate, date, album, photos, videos, "
                        "sender) VALUES (5, 1, 2, 1, 3, 4, 'Ada');";
    ASSERT_TRUE(writer->execute("INSERT INTO zalbum (pk, uuid, name, datecreated) VALUES (1, 'A', 'A', 0);"));
    for (int i = 0; i < 7; ++i)
        ASSERT_TRUE(writer->execute(insert));
    ASSERT_TRUE(writer->execute("DELETE FROM zbulletin WHERE recordid <> 5;"));
    ASSERT_TRUE(layOut(*writer)) << writer->problem().text;
    ASSERT_TRUE(writer->execute(insert));
    EXPECT_EQ(writer->integer("SELECT min(recordid) FROM zbulletin"), 5);
    EXPECT_EQ(writer->integer("SELECT max(recordid) FROM zbulletin"), 8);
    EXPECT_EQ(
        writer->integer("SELECT count(*) FROM zbulletin WHERE type = 0 AND photos = 3 AND sender = 'Ada'"),
        2);
}

TEST(Schema, HashesOfAnOlderWayAreComputedAgain) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
    auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(database) << database.error().text;
    layOutUntil(*database, "DELETE FROM zfingerprint;");
    ASSERT_TRUE(database->execute(
        "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 4) "
        "INSERT INTO zgenericasset (pk, uuid, kind, directory, filename, originalfilename, format, width, "
        "height, orientation, datecreated, dateadded, bytesize, sha256, thumbnailindex, problem) "
        "SELECT i, i, 0, '', '', '', '', 0, 0, 1, 0, 0, 0, zeroblob(32), 1, '' FROM n;"
        "INSERT INTO zfingerprint VALUES (1, 1, 5, 6), (2, 1, 5, 6), (3, 1, NULL, NULL);"
        "INSERT INTO zduplicate VALUES (1, 0, 1), (2, 0, 1);"
        "UPDATE zduplicatestate SET grouped = changed;"))
        << database->problem().text;
    ASSERT_EQ(database->integer("SELECT count(*) FROM zduefingerprint"), 1);
    ASSERT_TRUE(layOut(*database)) << database->problem().text;
    EXPECT_EQ(database->integer("SELECT count(*) FROM zduefingerprint"), 4);
    EXPECT_EQ(database->integer("SELECT count(*) FROM zfingerprint"), 0);
    EXPECT_EQ(database->integer("SELECT changed > grouped FROM zduplicatestate"), 1);
    EXPECT_EQ(database->integer("SELECT count(*) FROM zduplicate"), 2) << "shown until they are found again";
}

} // namespace
