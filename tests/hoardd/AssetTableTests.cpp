// Each table that says something of an asset has its place in the trash, the notes and the backup, or is
// known to need none: one that was forgotten there would be missed only when it is needed.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "hoardd/library/Store.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using sqlite::Statement;

namespace {

using Tables = std::set<std::string>;

// What is found out again.
const Tables foundAgain = {"zmomentasset", "zfingerprint", "zduefingerprint",
                           "zduplicate",   "zbulletin",    "zcloudfeedasset"};
// Of what goes into the trash: what is found out again from the files, which the notes leave out. Albums have
// copies of their own.
const Tables leftOutOfNotes = {"zalbumasset", "zduethumbnail", "zundecodable",
                               "zduefacts",   "zscrub",        "zcompanionscrub"};
// The files of these are listed in cli/backup/LibraryFiles.cpp.
const Tables withFiles = {"zgenericasset",     "zrendition", "ztrashedasset",
                          "ztrashedrendition", "zcompanion", "ztrashedcompanion"};

class AssetTables : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(paths.folder() + "/PhotoData");
        const auto made = Store::open(paths);
        ASSERT_TRUE(made) << made.error().text;
        for (const store::TrashedTable &each : store::trashedTables()) {
            trashed.insert(each.name);
            trash.insert(each.trash);
        }
    }
    [[nodiscard]] Tables tables(const char *sql) const {
        Tables names;
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
        EXPECT_TRUE(database && database->prepare(sql).forEach(
                                    [&](const Statement &row) { names.emplace(row.text(0)); }));
        return names;
    }
    const store::LibraryPaths paths;
    Tables trashed, trash;
};

TEST_F(AssetTables, AreKnownToTheTrash) {
    const Tables ofAssets = tables("SELECT s.name FROM sqlite_schema s, pragma_foreign_key_list(s.name) k "
                                   "WHERE s.type = 'table' AND k.\"table\" = 'zgenericasset'");
    ASSERT_TRUE(ofAssets.contains("zrendition"));
    for (const std::string &each : ofAssets)
        EXPECT_TRUE(trashed.contains(each) != foundAgain.contains(each)) << each;
    for (const std::string &each : foundAgain)
        EXPECT_TRUE(ofAssets.contains(each)) << each;
    EXPECT_EQ(tables("SELECT name FROM sqlite_schema WHERE type = 'table' AND name LIKE 'ztrashed%'"), trash);
}

TEST_F(AssetTables, AreKnownToTheNotes) {
    const auto names = notedTableNames();
    const Tables noted(names.begin(), names.end());
    for (const store::TrashedTable &each : store::trashedTables()) {
        EXPECT_TRUE(noted.contains(each.name) != leftOutOfNotes.contains(each.name)) << each.name;
        EXPECT_EQ(noted.contains(each.name), noted.contains(each.trash)) << each.trash;
    }
}

TEST_F(AssetTables, AreKnownToTheBackupIfTheyNameFiles) {
    EXPECT_EQ(tables("SELECT s.name FROM sqlite_schema s, pragma_table_info(s.name) c "
                     "WHERE s.type = 'table' AND c.name = 'filename'"),
              withFiles);
}

} // namespace
