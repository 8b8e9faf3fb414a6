#include "wickerlane/store/StoreReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane;
using namespace wickerlane::store;
namespace fs = std::filesystem;

namespace {

/// Lays out a library's store, and then runs `sql` in it.
void makeStore(const LibraryPaths &paths, const std::string &sql) {
    auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(writer) << writer.error().text;
    ASSERT_TRUE(layOut(*writer));
    const auto made = writer->execute(sql.c_str());
    ASSERT_TRUE(made) << made.error().text;
}

TEST(StoreReader, TellsWhyAStoreCantBeOpened) {
    const struct {
        const char *subject;
        void (*make)(const LibraryPaths &paths);
        ProblemKind kind;
    } cases[] = {
        {"no file", [](const LibraryPaths &) {}, ProblemKind::notFound},
        {"another file",
         [](const LibraryPaths &paths) { std::ofstream(paths.database()) << std::string(5000, 'x'); },
         ProblemKind::damagedStore},
        {"a newer version", [](const LibraryPaths &paths) { makeStore(paths, "PRAGMA user_version = 99"); },
         ProblemKind::newerVersion},
        {"an older version", [](const LibraryPaths &paths) { makeStore(paths, "PRAGMA user_version = 1"); },
         ProblemKind::busy},
        {"no identity", [](const LibraryPaths &paths) { makeStore(paths, ""); }, ProblemKind::damagedStore},
        {"an identity that is none",
         [](const LibraryPaths &paths) {
             makeStore(paths, "INSERT INTO zlibrary VALUES (CAST(x'41ff' AS TEXT))");
         },
         ProblemKind::damagedStore},
        {"a link",
         [](const LibraryPaths &paths) {
             makeStore(paths, "");
             fs::rename(paths.database(), paths.database() + ".moved");
             fs::create_symlink(paths.database() + ".moved", paths.database());
         },
         ProblemKind::invalid},
    };
    const LibraryPaths paths;
    for (const auto &each : cases) {
        fs::remove_all(paths.folder());
        ASSERT_TRUE(makeFolders(fs::path(paths.database()).parent_path()));
        each.make(paths);
        const auto opened = StoreReader::open(paths);
        ASSERT_FALSE(opened) << each.subject;
        EXPECT_EQ(opened.error().kind, each.kind) << each.subject << ": " << opened.error().text;
        EXPECT_EQ(opened.error().file, paths.database()) << each.subject;
        EXPECT_NE(opened.error().text.find(paths.database()), std::string::npos) << opened.error().text;
    }
}

TEST(StoreReader, TellsAReadThatFailsFromWhatIsNotThere) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(fs::path(paths.database()).parent_path()));
    makeStore(paths, "INSERT INTO zlibrary VALUES ('11111111-2222-4333-8444-555555555555')");
    auto opened = StoreReader::open(paths);
    ASSERT_TRUE(opened) << opened.error().text;
    StoreReader &reader = **opened;
    const auto url = URL::create(objectURI(reader.storeUUID(), 1));
    const std::string uuid = "00000001-0000-4000-8000-00000000ABCD";
    const auto isThere = [](const auto &found) { return static_cast<bool>(found); };
    const auto isSome = [](const auto &found) { return !found.empty(); };
    const std::function<Result<bool>()> reads[] = {
        [&] { return reader.assetWithUUID(uuid).map(isThere); },
        [&] { return reader.assetWithURI(url->absoluteString()->utf8()).map(isThere); },
        [&] { return reader.albumWithUUID(uuid).map(isThere); },
        [&] { return reader.page({}).map([](const auto &page) { return !page.records.empty(); }); },
        [&] { return reader.count({}).map([](std::uint64_t count) { return count != 0; }); },
        [&] { return reader.trash().map(isSome); },
        [&] { return reader.trash({}).map([](const auto &page) { return !page.records.empty(); }); },
        [&] { return reader.albums().map(isSome); },
        [&] {
            return reader.changesSince({}, 1).map([](const auto &page) { return !page.changes.empty(); });
        },
        [&] { return reader.counts().map([](const auto &found) { return found.photos != 0; }); },
    };
    for (const auto &read : reads) {
        const auto found = read();
        EXPECT_TRUE(found && !*found) << "read " << &read - reads;
    }
    {
        auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(writer->execute("PRAGMA foreign_keys=OFF; DROP TABLE zgenericasset; DROP TABLE "
                                    "ztrashedasset; DROP TABLE zalbum; DROP TABLE zchange; "
                                    "DROP TABLE zcount;"));
    }
    for (const auto &read : reads) {
        const auto found = read();
        ASSERT_FALSE(found) << "read " << &read - reads;
        EXPECT_NE(found.error().text.find("no such table"), std::string::npos) << found.error().text;
    }
}

constexpr const char *twoAssets =
    "INSERT INTO zlibrary VALUES ('11111111-2222-4333-8444-555555555555');"
    "INSERT INTO zgenericasset (uuid, kind, directory, filename, originalfilename, format, width, height, "
    "orientation, "
    "datecreated, dateadded, bytesize, sha256, thumbnailindex, problem) VALUES "
    "('00000001-0000-4000-8000-00000000ABCD', 0, 'DCIM/00', '00000001-0000-4000-8000-00000000ABCD.JPG', 'a', "
    "'image/jpeg', 1, 1, 1, 0, 0, 1, zeroblob(32), 0, ''),"
    "('00000002-0000-4000-8000-00000000ABCD', 0, 'DCIM/00', '00000002-0000-4000-8000-00000000ABCD.JPG', 'b', "
    "'image/jpeg', 1, 1, 1, 0, 0, 1, zeroblob(32), 0, '');"
    "INSERT INTO zalbum (uuid, name, datecreated) VALUES ('00000003-0000-4000-8000-00000000ABCD', 'A', 0), "
    "('00000004-0000-4000-8000-00000000ABCD', 'B', 0);";

TEST(StoreReader, MakesNoObjectsOfRowsThatCantBeOnes) {
    const struct {
        const char *change;
        std::size_t assets, albums;
    } cases[] = {
        {"UPDATE zgenericasset SET uuid = CAST(x'41ff' AS TEXT) WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET uuid = lower(uuid)", 0, 2},
        {"UPDATE zgenericasset SET filename = CAST(x'41ff' AS TEXT) WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET filename = '' WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET filename = 'a.b c' WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET filename = '..' WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET directory = '../../etc' WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET directory = '/etc' WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET originalfilename = CAST(x'41ff' AS TEXT) WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET problem = 'a' || char(0) WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET datecreated = 9e999 WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET bytesize = -1 WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET camera = CAST(x'ff' AS TEXT) WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET exposureseconds = -1 WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET aperture = 9e999 WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET isospeed = -1 WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET rating = 6 WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET caption = CAST(x'ff' AS TEXT) WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET caption = printf('%.*c', 4097, 'x') WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET keywords = 'a' || char(10) || 'a' WHERE pk = 1", 1, 2},
        {"UPDATE zgenericasset SET caption = 'a' || char(10) || 'b', keywords = 'a' || char(10) || 'b', "
         "rating = 5, exposureseconds = 0.008, isospeed = 100",
         2, 2},
        {"UPDATE zalbum SET uuid = 'x' WHERE pk = 1", 2, 1},
        {"UPDATE zalbum SET name = CAST(x'ff' AS TEXT) WHERE pk = 1", 2, 1},
    };
    const LibraryPaths paths;
    for (const auto &[change, assets, albums] : cases) {
        ReleaseScope scope;
        fs::remove_all(paths.folder());
        ASSERT_TRUE(makeFolders(fs::path(paths.database()).parent_path()));
        makeStore(paths, std::string(twoAssets) + change);
        const auto opened = StoreReader::open(paths);
        ASSERT_TRUE(opened) << opened.error().text;
        const auto listed = (*opened)->page({});
        if (assets == 0)
            EXPECT_FALSE(listed) << change;
        else
            EXPECT_EQ(listed ? listed->records.size() : 99, assets) << change;
        EXPECT_EQ((*opened)->albums()->size(), albums) << change;
        const auto report = checkLibrary(paths);
        ASSERT_TRUE(report) << change;
        std::size_t unsound = 0;
        for (const Finding &each : report->findings)
            unsound += each.kind == Finding::Kind::unsoundRow ? 1 : 0;
        EXPECT_EQ(unsound, 4 - assets - albums) << change;
    }
}

TEST(StoreReader, DoesNotTakeAnEmptiedIndexForAnEmptyLibrary) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(fs::path(paths.database()).parent_path()));
    makeStore(paths, twoAssets);
    {
        auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        const auto root =
            writer->integer("SELECT rootpage FROM sqlite_schema WHERE name = 'zgenericasset_shown'");
        ASSERT_TRUE(root && writer->checkpoint());
        std::fstream file(paths.database(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp((*root - 1) * 4096);
        file.write("\x0a\0\0\0\0\x10\0\0", 8);
    }
    const auto opened = StoreReader::open(paths);
    ASSERT_TRUE(opened) << opened.error().text;
    const auto listed = (*opened)->page({});
    ASSERT_FALSE(listed) << listed->records.size();
    EXPECT_EQ(listed.error().kind, ProblemKind::damagedStore);
    EXPECT_TRUE((*opened)->page({.filter = {.kind = AssetKind::video}})) << "there is none";
}

TEST(StoreReader, ReadsTheFileThatIsTheStoreNow) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(fs::path(paths.database()).parent_path()));
    makeStore(paths, twoAssets);
    const auto opened = StoreReader::open(paths);
    ASSERT_EQ((*opened)->counts()->photos, 2U);
    for (const char *suffix : {"", "-wal", "-shm"})
        if (fs::exists(paths.database() + suffix))
            fs::rename(paths.database() + suffix, paths.database() + ".aside" + suffix);
    EXPECT_EQ((*opened)->counts()->photos, 2U) << "while there is none";
    makeStore(paths, std::string(twoAssets) + "DELETE FROM zgenericasset WHERE pk = 1");
    EXPECT_EQ((*opened)->counts()->photos, 1U);
    EXPECT_EQ((*opened)->page({})->records.size(), 1U);
}

} // namespace
