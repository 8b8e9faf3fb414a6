#include "wickerlane/store/Schema.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/ObjectStore.h"

using namespace wickerlane;
using namespace wickerlane::store;

namespace {

// A library of the first version, of which only the assets' table existed.
TEST(Schema, AnOlderLibraryGainsWhatItLacks) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
    auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(writer) << writer.error().text;
    ASSERT_TRUE(writer->execute(schemaSteps().front()));
    ASSERT_TRUE(writer->execute(
        "INSERT INTO zlibrary VALUES ('00000000-0000-4000-8000-000000000000');"
        "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 7) "
        "INSERT INTO zgenericasset SELECT i, i, i % 3 = 0, '', '', '', '', 0, 0, 1, 0, 0, NULL, NULL, 0, "
        "zeroblob(32), 0, '' FROM n;"
        "PRAGMA user_version = 1;"))
        << writer->problem().text;
    ASSERT_TRUE(layOut(*writer)) << writer->problem().text;

    ReleaseScope scope;
    std::string problem;
    const auto store = ObjectStore::open(&problem);
    ASSERT_TRUE(store) << problem;
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
    ASSERT_TRUE(writer->execute(recountAssets));
    EXPECT_EQ(counted(), std::pair(std::uint64_t{3}, std::uint64_t{3}));
}

} // namespace
