#include "wickerlane/store/AnalysisReader.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::store {
namespace {

TEST(AnalysisReader, EndsAPageOfMomentsEarlyWhenTheyHaveManyAssets) {
    const LibraryPaths paths;
    ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
    auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
    ASSERT_TRUE(writer) << writer.error().text;
    ASSERT_TRUE(layOut(*writer));
    ASSERT_TRUE(writer->execute(
        "INSERT INTO zlibrary VALUES ('00000000-0000-4000-8000-000000000000');"
        "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n LIMIT 100003) "
        "INSERT INTO zgenericasset (pk, uuid, kind, directory, filename, originalfilename, format, width, "
        "height, orientation, datecreated, dateadded, bytesize, sha256, thumbnailindex, problem) "
        "SELECT i, i, 0, '', '', '', '', 0, 0, 1, 0, 0, 0, zeroblob(32), 0, '' FROM n;"
        "INSERT INTO zmoment (pk, startdate, enddate, assetcount) "
        "VALUES (1, 10, 10, 1), (2, 20, 20, 100000), (3, 30, 30, 1), (4, 40, 40, 1);"
        "INSERT INTO zmomentasset SELECT pk, CASE WHEN pk <= 100000 THEN 2 WHEN pk = 100001 THEN 1 "
        "ELSE pk - 99999 END FROM zgenericasset;"))
        << writer->problem().text;
    auto reader = AnalysisReader::open(paths);
    ASSERT_TRUE(reader) << reader.error().text;
    for (const bool isDescending : {false, true}) {
        MomentQuery query{.isDescending = isDescending, .limit = 10, .withAssets = true};
        std::vector<std::vector<std::size_t>> pages;
        do {
            const auto page = reader->moments(query);
            ASSERT_TRUE(page) << page.error().text;
            auto &counts = pages.emplace_back();
            for (const MomentRecord &each : page->moments)
                counts.push_back(each.uuids.size());
            query.cursor = page->next;
        } while (!query.cursor.empty() && pages.size() < 10);
        using Pages = std::vector<std::vector<std::size_t>>;
        EXPECT_EQ(pages, isDescending ? (Pages{{1, 1, 100'000}, {1}}) : (Pages{{1, 100'000}, {1, 1}}));
    }
}

} // namespace
} // namespace wickerlane::store
