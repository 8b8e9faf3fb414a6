#include "wickerlane/store/StoreReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "wickerlane/platform/file/Files.h"
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
         ProblemKind::failed},
        {"no identity", [](const LibraryPaths &paths) { makeStore(paths, ""); }, ProblemKind::damagedStore},
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
        [&] { return reader.albumNamed("A").map(isThere); },
        [&] { return reader.assets().map(isSome); },
        [&] { return reader.albums().map(isSome); },
        [&] { return reader.changes().map(isSome); },
        [&] { return reader.counts().map([](const auto &found) { return found.photos != 0; }); },
    };
    for (const auto &read : reads) {
        const auto found = read();
        EXPECT_TRUE(found && !*found) << "read " << &read - reads;
    }
    {
        auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(writer->execute(
            "PRAGMA foreign_keys=OFF; DROP TABLE zgenericasset; DROP TABLE zalbum; DROP TABLE zchange; "
            "DROP TABLE zcount;"));
    }
    for (const auto &read : reads) {
        const auto found = read();
        ASSERT_FALSE(found) << "read " << &read - reads;
        EXPECT_NE(found.error().text.find("no such table"), std::string::npos) << found.error().text;
    }
}

} // namespace
