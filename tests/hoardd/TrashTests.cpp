// The trash, without a daemon.
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/saving/Trash.h"

#include <chrono>
#include <filesystem>
#include <limits>

#include "hoardd/albums/Albums.h"
#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/DiskReserve.h"
#include "hoardd/library/StoreNotes.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/saving/AssetFiles.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Restore.h"
#include "hoardd/upkeep/DemoMode.h"
#include "hoardd/upkeep/Repair.h"
#include "hoardd/upkeep/Sizes.h"
#include "tests/hoardd/OpenLibrary.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/AnalysisReader.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using sqlite::Database;
namespace fs = std::filesystem;

namespace {

constexpr double day = 86'400;

class Trash : public OpenLibrary {
protected:
    void SetUp() override {
        OpenLibrary::SetUp();
        // The timer would note some time after a save that its thumbnails are synced.
        library().thumbnailSync().stop();
    }
    void execute(const std::string &sql) const {
        const auto done =
            library().writer().change([&](Database &database) { return database.execute(sql.c_str()); });
        ASSERT_TRUE(done) << done.error().text;
    }
    [[nodiscard]] std::int64_t integer(const std::string &sql) const {
        return library().read([&](Database &database) { return database.integer(sql); }).value_or(-99);
    }
    /// A picture that is in an album and in a shared one, edited, and said to be no duplicate of another.
    [[nodiscard]] AssetRecord savedWithAll(const AssetRecord &other) const {
        const AssetRecord asset = saved(jpegOf(fourCorners(300, 200)));
        const auto album = makeAlbum(library(), "Dunes"), shared = makeStreamAlbum(library(), "s");
        for (const auto &uuid : {*album, *shared})
            EXPECT_TRUE(addToAlbum(library(), **library().assets().assetWithUUID(asset.uuid),
                                   **library().assets().albumWithUUID(uuid), getuid()));
        writeFile(paths.renditionFolder(asset.uuid) + '/' + asset.uuid + "-E.PNG", pngOf(fourCorners(9, 9)));
        execute("INSERT INTO zrendition VALUES ('" + asset.uuid + "', '" + asset.uuid +
                "-E.PNG', zeroblob(32), 7, x'626C6F62')");
        const auto &[low, high] = std::minmax(asset.primaryKey, other.primaryKey);
        execute("INSERT INTO znotduplicate VALUES (" + std::to_string(low) + ", " + std::to_string(high) +
                ')');
        execute("UPDATE zgenericasset SET externalusageintent = 5 WHERE uuid = '" + asset.uuid + '\'');
        EXPECT_TRUE(measureAgain(library(), asset.uuid));
        return asset;
    }
    /// All rows of what the trash keeps, as text.
    [[nodiscard]] std::string rows() const {
        std::string all;
        for (const auto &table : store::trashedTables())
            for (const std::string &row : rowsOf(table.name))
                all += std::string(table.name) + ": " + row + '\n';
        return all;
    }
    [[nodiscard]] std::vector<std::string> rowsOf(const std::string &table) const {
        const auto read = library().read([&](Database &database) {
            const auto columns =
                database
                    .prepare("SELECT group_concat('quote(' || name || ')', '||'',''||') "
                             "FROM pragma_table_info(?)")
                    .bind(table)
                    .first([](const sqlite::Statement &row) { return std::string(row.text(0)); });
            return database.prepare("SELECT " + columns->value_or("") + " FROM " + table + " ORDER BY 1")
                .all([](const sqlite::Statement &row) { return std::string(row.text(0)); });
        });
        EXPECT_TRUE(read) << read.error().text;
        return read.value_or(std::vector<std::string>());
    }
    [[nodiscard]] std::uint64_t size(SizeKind kind) const {
        return librarySizes(library())->at(static_cast<std::uint32_t>(kind));
    }
    [[nodiscard]] std::vector<std::string> trashed() const {
        std::vector<std::string> uuids;
        const auto trash = library().assets().trash();
        for (const auto &each : *trash)
            uuids.push_back(each.asset->record().uuid);
        return uuids;
    }
    using Names = std::vector<std::string>;
};

TEST_F(Trash, GivesBackAllThatIsKnownOfAnAsset) {
    const AssetRecord other = saved(pngOf(fourCorners(4, 4))), asset = savedWithAll(other);
    const std::string before = rows();
    const auto all = size(SizeKind::photos) + size(SizeKind::derived);
    ASSERT_EQ(badgeCount(library()), 1);
    ASSERT_EQ(faults(), "");

    ASSERT_TRUE(trashAsset(library(), asset));
    EXPECT_EQ(recordOf(asset.uuid).uuid, "");
    EXPECT_EQ(trashed(), Names{asset.uuid});
    EXPECT_EQ(library().assets().counts()->photos, 1U);
    EXPECT_EQ(size(SizeKind::photos), other.byteSize);
    EXPECT_GT(size(SizeKind::trash), asset.byteSize);
    EXPECT_EQ(size(SizeKind::photos) + size(SizeKind::derived) + size(SizeKind::trash), all);
    EXPECT_EQ(integer("SELECT sum(cachedcount) FROM zalbum"), 0);
    EXPECT_EQ(badgeCount(library()), 0);
    EXPECT_EQ(integer("SELECT count(*) FROM zrendition"), 0);
    EXPECT_EQ(faults(), "") << "what is in the trash is no stray";
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(trashed(), Names{asset.uuid});
    EXPECT_TRUE(trashAsset(library(), asset)) << "it is there already";

    ASSERT_TRUE(restoreFromTrash(library(), asset.uuid));
    EXPECT_EQ(rows(), before);
    EXPECT_EQ(integer("SELECT sum(cachedcount) FROM zalbum"), 2);
    EXPECT_EQ(size(SizeKind::trash), 0U);
    EXPECT_EQ(faults(), "");
    for (const auto &table : store::trashedTables())
        EXPECT_EQ(rowsOf(table.trash), Names()) << table.trash;
    EXPECT_EQ(restoreFromTrash(library(), asset.uuid).error().kind, ProblemKind::notFound);
}

// Whichever comes back first, the decision is there once both are.
TEST_F(Trash, KeepsTheDecisionAboutTwoThatAreInIt) {
    const AssetRecord other = saved(pngOf(fourCorners(4, 4))), asset = savedWithAll(other);
    for (const auto &[first, last] : {std::pair(asset, other), std::pair(other, asset)}) {
        ASSERT_TRUE(trashAsset(library(), asset));
        ASSERT_TRUE(trashAsset(library(), other));
        ASSERT_TRUE(restoreFromTrash(library(), first.uuid));
        EXPECT_EQ(integer("SELECT count(*) FROM znotduplicate"), 0);
        ASSERT_TRUE(restoreFromTrash(library(), last.uuid));
        EXPECT_EQ(integer("SELECT count(*) FROM znotduplicate"), 1);
    }
}

TEST_F(Trash, IsEmptiedOfWhatHasBeenInItForLong) {
    const AssetRecord other = saved(pngOf(fourCorners(4, 4))), asset = savedWithAll(other);
    ASSERT_TRUE(trashAsset(library(), asset));
    ASSERT_TRUE(trashAsset(library(), other));
    execute("UPDATE ztrashedasset SET datetrashed = datetrashed - " + std::to_string(30 * day + 60) +
            " WHERE uuid = '" + asset.uuid + '\'');
    emptyExpiredTrash(library());
    EXPECT_EQ(trashed(), Names{other.uuid});
    EXPECT_FALSE(fs::exists(paths.original(asset)));
    EXPECT_TRUE(fs::exists(paths.original(other)));
    EXPECT_EQ(integer("SELECT count(*) FROM ztrashedrendition"), 0);
    EXPECT_EQ(faults(), "");

    ASSERT_TRUE(emptyTrash(library(), std::numeric_limits<double>::max()));
    EXPECT_EQ(trashed(), Names());
    EXPECT_EQ(size(SizeKind::derived) + size(SizeKind::trash), 0U);
    EXPECT_EQ(faults(), "");
}

TEST_F(Trash, GivesBackWhatIsSavedAgainUnlessItIsPresent) {
    const FileBytes picture = jpegOf(fourCorners(300, 200));
    const AssetRecord asset = saved(picture);
    ASSERT_TRUE(trashAsset(library(), asset));
    SaveJob job = jobOf(picture);
    const auto plain = saveAssets(library(), {&job, 1});
    EXPECT_NE(plain.front()->asset->record().uuid, asset.uuid) << "a copy was asked for";
    ASSERT_TRUE(removeAsset(library(), plain.front()->asset->record()));

    job.dictionary = Dictionary::createWithKeys(
        {{"imageData", dataOf(picture).get()}, {"unlessPresent", Number::of(true)}});
    const auto saves = saveAssets(library(), {&job, 1});
    ASSERT_TRUE(saves.front()) << saves.front().error().text;
    EXPECT_EQ(saves.front()->asset->record().uuid, asset.uuid);
    EXPECT_TRUE(saves.front()->wasPresent);
    EXPECT_EQ(trashed(), Names());
    EXPECT_EQ(contentsOf(paths.original(asset)), picture);
    EXPECT_EQ(library().assets().counts()->photos, 1U);
    EXPECT_EQ(faults(), "");
}

TEST_F(Trash, WhatASaveTakesOutOfItIsShownAndTold) {
    const FileBytes picture = jpegOf(fourCorners(300, 200));
    const AssetRecord asset = saved(picture);
    const auto album = makeStreamAlbum(library(), "s");
    ASSERT_TRUE(addToAlbum(library(), **library().assets().assetWithUUID(asset.uuid),
                           **library().assets().albumWithUUID(*album), getuid()));
    execute("INSERT OR REPLACE INTO zduethumbnail (asset) VALUES (" + std::to_string(asset.primaryKey) + ')');
    int told = 0;
    library().writer().whenBulletinsChange([&] { ++told; });
    ASSERT_TRUE(trashAsset(library(), asset));
    EXPECT_EQ(told, 1);
    EXPECT_EQ(badgeCount(library()), 0);
    execute("INSERT INTO zbulletin (originalrecordid, originaldate, date, album, photos, videos, sender) "
            "SELECT 1, 0, 1e10, pk, 1, 0, '' FROM zalbum");
    EXPECT_EQ(told, 2);

    SaveJob job = jobOf(picture);
    job.dictionary = Dictionary::createWithKeys(
        {{"imageData", dataOf(picture).get()}, {"unlessPresent", Number::of(true)}});
    ASSERT_TRUE(saveAssets(library(), {&job, 1}).front());
    EXPECT_EQ(told, 3) << "a bulletin counts it again";
    EXPECT_EQ(integer("SELECT count(*) FROM zduethumbnail WHERE made = 0"), 0);
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, asset.thumbnailIndex + 1);
    library().writer().whenBulletinsChange({});
}

TEST_F(Trash, TheFeedEndsWithWhatIsLeft) {
    const auto album = makeStreamAlbum(library(), "s");
    std::vector<AssetRecord> assets;
    for (std::uint32_t i = 0; i < 3; ++i) {
        assets.push_back(saved(pngOf(fourCorners(4 + i, 4))));
        execute("INSERT INTO zalbumasset (album, asset, dateadded) SELECT pk, " +
                std::to_string(assets.back().primaryKey) + ", " + std::to_string(1000 * (i + 1)) +
                " FROM zalbum");
    }
    const auto dates = [&] {
        const auto feed = store::AnalysisReader::open(paths)->cloudFeed();
        return feed && feed->size() == 1 ? std::pair(feed->front().startDate, feed->front().endDate)
                                         : std::pair(-1.0, -1.0);
    };
    EXPECT_EQ(dates(), std::pair(1000.0, 3000.0));
    ASSERT_TRUE(trashAsset(library(), assets[2]));
    EXPECT_EQ(dates(), std::pair(1000.0, 2000.0));
    ASSERT_TRUE(removeAsset(library(), assets[0]));
    EXPECT_EQ(dates(), std::pair(2000.0, 2000.0));
    ASSERT_TRUE(restoreFromTrash(library(), assets[2].uuid));
    EXPECT_EQ(dates(), std::pair(2000.0, 3000.0));
    execute("DELETE FROM zalbumasset WHERE asset = " + std::to_string(assets[1].primaryKey));
    EXPECT_EQ(dates(), std::pair(3000.0, 3000.0));
}

TEST_F(Trash, KeepsWhatASaveThatWasCutOffHasTheBytesOf) {
    const FileBytes picture = jpegOf(fourCorners(300, 200));
    const AssetRecord asset = saved(picture);
    ASSERT_TRUE(trashAsset(library(), asset));
    const std::string uuid = "AAAAAAAA-0000-4000-8000-00000000ABCD";
    writeFile(paths.found() + '/' + uuid + ".JPG", picture);
    ASSERT_TRUE(saveFoundFiles(library(), std::chrono::seconds(0)));
    EXPECT_EQ(trashed(), Names{asset.uuid});
    EXPECT_EQ(recordOf(uuid).sha256, asset.sha256);
    EXPECT_EQ(faults(), "");
}

TEST_F(Trash, LosesOnlyFilesInARepairThatNoRowNames) {
    const AssetRecord asset = saved(pngOf(fourCorners(40, 20)));
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(7, 4))), nullptr));
    const auto rendition = renditionPath(library(), asset);
    ASSERT_TRUE(rendition);
    ASSERT_TRUE(trashAsset(library(), asset));
    // An earlier edit that could not be removed.
    const std::string left = paths.renditionFolder(asset.uuid) + '/' + asset.uuid + "-0123456789abcdef.PNG";
    writeFile(left, pngOf(fourCorners(8, 4)));
    EXPECT_EQ(faults(), "stray file among the renditions " + left + '\n');
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_FALSE(fs::exists(left));
    EXPECT_TRUE(fs::exists(*rendition));
    EXPECT_EQ(faults(), "");
}

TEST_F(Trash, KeepsItsUUIDsAndFilesFromOthers) {
    const std::string uuid = "AAAAAAAA-0000-4000-8000-00000000ABCD";
    const SaveJob job = jobOf(pngOf(fourCorners(4, 4)), uuid), other = jobOf(pngOf(fourCorners(5, 5)), uuid);
    const AssetRecord asset = saveAssets(library(), {&job, 1}).front()->asset->record();
    ASSERT_TRUE(trashAsset(library(), asset));
    EXPECT_EQ(saveAssets(library(), {&other, 1}).front().error().kind, ProblemKind::exists);
    // As a save leaves it that was killed at its end.
    fs::create_directory(paths.saving() + '/' + asset.filename);
    recoverSaves(library());
    EXPECT_TRUE(fs::exists(paths.original(asset)));
    EXPECT_TRUE(moveStray(library(), paths.original(asset), paths.lostAndFound()));
    EXPECT_TRUE(fs::exists(paths.original(asset)));
    EXPECT_EQ(faults(), "");

    // A restored device has it.
    EXPECT_TRUE(restoreAsset(library(), uuid, {}, true));
    EXPECT_EQ(recordOf(uuid).uuid, uuid);
    ASSERT_TRUE(removeAsset(library(), asset, AssetPlace::trash));
    EXPECT_TRUE(fs::exists(paths.original(asset))) << "it has come out of the trash meanwhile";
    EXPECT_EQ(faults(), "");
}

// As a kill leaves it after the note was written.
TEST_F(Trash, ARemovalFromItThatWasCutOffIsFinishedUnlessTheAssetCameBack) {
    const AssetRecord gone = saved(pngOf(fourCorners(4, 4))), back = saved(pngOf(fourCorners(5, 4)));
    ASSERT_TRUE(trashAsset(library(), gone));
    for (const AssetRecord &each : {gone, back})
        writeFile(paths.saving() + '/' + each.filename + ".removing-from-trash", {});
    recoverSaves(library());
    EXPECT_EQ(trashed(), Names());
    EXPECT_FALSE(fs::exists(paths.original(gone)));
    EXPECT_EQ(recordOf(back.uuid).uuid, back.uuid);
    EXPECT_EQ(faults(), "");
}

TEST_F(Trash, LeavesAnAssetWholeThatCantBeMoved) {
    const AssetRecord other = saved(pngOf(fourCorners(4, 4))), asset = savedWithAll(other);
    const std::string before = rows();
    execute("CREATE TRIGGER refuse BEFORE DELETE ON zgenericasset BEGIN SELECT RAISE(ABORT, 'no'); END");
    EXPECT_EQ(trashAsset(library(), asset).error().text, "no");
    EXPECT_EQ(rows(), before);
    EXPECT_EQ(trashed(), Names());
    execute("DROP TRIGGER refuse");
    {
        const auto reservation = library().locks().reserve(asset.uuid);
        EXPECT_EQ(trashAsset(library(), asset).error().kind, ProblemKind::busy);
    }
    ASSERT_TRUE(trashAsset(library(), asset));
    execute("CREATE TRIGGER refuse BEFORE INSERT ON zalbumasset BEGIN SELECT RAISE(ABORT, 'no'); END");
    EXPECT_EQ(restoreFromTrash(library(), asset.uuid).error().text, "no");
    EXPECT_EQ(trashed(), Names{asset.uuid});
    execute("DROP TRIGGER refuse");
    EXPECT_TRUE(restoreFromTrash(library(), asset.uuid));
    EXPECT_EQ(rows(), before);
}

TEST_F(Trash, KeepsWhatWasMovedThereWithoutANote) {
    const AssetRecord asset = saved(jpegOf(fourCorners(30, 20)));
    fs::copy(notesFolder(paths), rootPath() + "/notes");
    ASSERT_TRUE(trashAsset(library(), asset));
    fs::remove_all(notesFolder(paths));
    fs::copy(rootPath() + "/notes", notesFolder(paths));

    ASSERT_TRUE(repairLibrary(library()));
    EXPECT_EQ(integer("SELECT count(*) FROM zgenericasset"), 0);
    EXPECT_EQ(integer("SELECT count(*) FROM ztrashedasset"), 1);
    EXPECT_EQ(faults(), "");
}

TEST_F(Trash, ReportsOriginalsThatAreMissingInIt) {
    const AssetRecord asset = saved(jpegOf(fourCorners(300, 200)));
    ASSERT_TRUE(trashAsset(library(), asset));
    for (const auto &kind : store::thumbnailKinds)
        fs::remove(paths.thumbnail(asset.uuid, kind.size));
    EXPECT_EQ(faults(),
              "thumbnails of another size " + paths.thumbnail(asset.uuid, store::ThumbnailSize::small) + '\n')
        << "thumbnails are only needed again after a restore, but their room is counted";
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(faults(), "");
    fs::remove(paths.original(asset));
    EXPECT_EQ(faults(), "missing original " + paths.original(asset) + '\n');
}

TEST_F(Trash, DemoModePutsBackWhatVisitorsDeleted) {
    const AssetRecord mine = saved(pngOf(fourCorners(4, 4))), old = saved(pngOf(fourCorners(4, 5)));
    ASSERT_TRUE(trashAsset(library(), old));
    execute("UPDATE zgenericasset SET dateadded = dateadded - 10;"
            "UPDATE ztrashedasset SET dateadded = dateadded - 10, datetrashed = datetrashed - 10");
    const double began = secondsNow() - 5;
    const AssetRecord visitors = saved(pngOf(fourCorners(5, 4)));
    ASSERT_TRUE(trashAsset(library(), visitors));
    ASSERT_TRUE(trashAsset(library(), mine));
    EXPECT_TRUE(removeAddedSince(library(), began));
    EXPECT_EQ(recordOf(mine.uuid).uuid, mine.uuid);
    EXPECT_EQ(trashed(), Names{old.uuid});
    EXPECT_FALSE(fs::exists(paths.original(visitors)));
}

TEST_F(Trash, BulletinsCountWhatIsThere) {
    const auto album = makeStreamAlbum(library(), "s");
    std::vector<AssetRecord> assets;
    for (std::uint32_t i = 0; i < 3; ++i) {
        assets.push_back(saved(pngOf(fourCorners(4 + i, 4))));
        ASSERT_TRUE(addToAlbum(library(), **library().assets().assetWithUUID(assets.back().uuid),
                               **library().assets().albumWithUUID(*album), getuid()));
    }
    const auto bulletin = [&] {
        const auto all = currentBulletins(library());
        EXPECT_LE((*all)->count(), 1U);
        const auto *only = (*all)->count() == 1 ? as<Dictionary>((*all)->at(0)) : nullptr;
        if (only == nullptr)
            return std::pair<std::int64_t, std::string>();
        return std::pair(only->get<Number>("assetCount")->int64Value(),
                         std::string(only->get<String>("assetUUID")->utf8()));
    };
    using Shown = std::pair<std::int64_t, std::string>;
    EXPECT_EQ(bulletin(), Shown(3, assets[2].uuid));
    ASSERT_TRUE(trashAsset(library(), assets[2]));
    EXPECT_EQ(bulletin(), Shown(2, assets[1].uuid)) << "the newest of those that are left";
    ASSERT_TRUE(removeAsset(library(), assets[0]));
    EXPECT_EQ(bulletin(), Shown(1, assets[1].uuid));
    ASSERT_TRUE(restoreFromTrash(library(), assets[2].uuid));
    EXPECT_EQ(bulletin(), Shown(2, assets[1].uuid));
    ASSERT_TRUE(trashAsset(library(), assets[1]));
    ASSERT_TRUE(trashAsset(library(), assets[2]));
    EXPECT_EQ(bulletin(), Shown());
    EXPECT_EQ(badgeCount(library()), 0);
}

TEST_F(Trash, ALaterStepsColumnsComeIntoTheTrash) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4)));
    execute("ALTER TABLE zgenericasset ADD COLUMN stars INTEGER NOT NULL DEFAULT 3");
    ASSERT_TRUE(library().writer().change([](Database &database) { return store::layOut(database); }));
    execute("UPDATE zgenericasset SET stars = 5");
    ASSERT_TRUE(trashAsset(library(), asset));
    ASSERT_TRUE(restoreFromTrash(library(), asset.uuid));
    EXPECT_EQ(integer("SELECT stars FROM zgenericasset"), 5);
}

TEST_F(Trash, AReserveIsGivenUpWhereThereIsNoSpace) {
    int tries = 0;
    const auto work = [&]() -> Result<> {
        ++tries;
        if (fs::exists(paths.reserve()))
            return fail(ProblemKind::noSpace, "full");
        return {};
    };
    keepDiskReserve(paths);
    if (!fs::exists(paths.reserve()))
        GTEST_SKIP() << "the file system reserves no room, or has none";
    EXPECT_EQ(fs::file_size(paths.reserve()), diskReserveBytes);
    EXPECT_TRUE(withDiskReserve(paths, work));
    EXPECT_EQ(tries, 2);
    EXPECT_TRUE(withDiskReserve(paths, work));
    EXPECT_EQ(tries, 3);
    const auto full = [&]() -> Result<> {
        ++tries;
        return fail(ProblemKind::noSpace, "full");
    };
    EXPECT_FALSE(withDiskReserve(paths, full));
    EXPECT_EQ(tries, 4) << "there is nothing to give up";
}

} // namespace
