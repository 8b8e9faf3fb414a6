// The steps of a save, each by itself, and what undoes them.
#include "hoardd/saving/Saving.h"

#include <sys/stat.h>

#include "hoardd/saving/BackgroundWrite.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Restore.h"
#include "tests/hoardd/FileSum.h"
#include "tests/hoardd/OpenLibrary.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using store::AssetRecord;
namespace fs = std::filesystem;

namespace {

using Saving = OpenLibrary;
using Recovering = OpenLibrary;
using Restoring = OpenLibrary;
using WritingNewFiles = OpenLibrary;
using FindingFiles = OpenLibrary;

constexpr const char *ownUUID = "AAAAAAAA-0000-4000-8000-00000000ABCD";

TEST_F(Saving, EachJobHasItsResultAndItsFiles) {
    const FileBytes picture = pngOf(fourCorners(40, 30)), broken = FileBytes(50, std::byte{1});
    const SaveJob jobs[] = {jobOf(picture), {}, jobOf(picture, ownUUID), jobOf(broken)};
    const auto results = saveAssets(library(), jobs);
    ASSERT_EQ(results.size(), std::size(jobs));
    ASSERT_FALSE(results[1]);
    EXPECT_EQ(results[1].error().kind, ProblemKind::empty);
    for (const std::size_t i : {0U, 2U, 3U}) {
        ASSERT_TRUE(results[i]) << results[i].error().text;
        const AssetRecord record = recordOf(results[i]->asset->record().uuid);
        const std::string original = paths.original(record);
        EXPECT_EQ(contentsOf(original), i == 3 ? broken : picture);
        EXPECT_EQ(sumOfFile(original), record.sha256);
        EXPECT_EQ(fs::status(original).permissions(), fs::perms::owner_read);
        EXPECT_EQ(record.thumbnailIndex, i == 3 ? 0 : 1);
        EXPECT_EQ(record.problem.empty(), i != 3);
        EXPECT_EQ(results[i]->asset->record().thumbnailIndex, record.thumbnailIndex);
    }
    EXPECT_EQ(results[2]->asset->record().uuid, ownUUID);
    EXPECT_EQ(faults(), "");
}

TEST_F(Saving, KeepsTheCamerasClockAndTheInstantWhereItIsKnown) {
    constexpr double clock = 645'445'230; // 2021-06-15 10:20:30, seconds since 2001
    const auto given = Date::createWithReferenceSeconds(1000);
    const struct {
        const char *what;
        const char *date, *zone;
        Date *given;
        double dateCreated;
        std::optional<double> clockDate;
        std::optional<std::int64_t> zoneMinutes;
    } cases[] = {
        {"a clock", "2021:06:15 10:20:30", "", nullptr, clock, clock, std::nullopt},
        {"a clock in a zone", "2021:06:15 10:20:30", "-03:30", nullptr, clock + 12'600, clock, -210},
        {"a date that the caller gives", "2021:06:15 10:20:30", "+02:00", given.get(), 1000, 8200, 120},
    };
    for (const auto &each : cases) {
        TestExif exif;
        exif.dateTimeOriginal = each.date;
        exif.offsetTimeOriginal = each.zone;
        const auto described = MutableDictionary::create();
        described->set("imageData", dataOf(jpegOf(fourCorners(16, 16), exif)).get());
        if (each.given != nullptr)
            described->set("creationDate", each.given);
        const SaveJob job{described, nullptr, nullptr, true};
        const auto results = saveAssets(library(), {&job, 1});
        ASSERT_TRUE(results.front()) << results.front().error().text;
        const AssetRecord record = recordOf(results.front()->asset->record().uuid);
        EXPECT_EQ(record.dateCreated, each.dateCreated) << each.what;
        EXPECT_EQ(record.clockDate, each.clockDate) << each.what;
        EXPECT_EQ(record.zoneMinutes, each.zoneMinutes) << each.what;
    }
    // Of an instant alone, the clock of this machine is shown.
    const AssetRecord undated = saved(pngOf(fourCorners(16, 16)));
    ASSERT_TRUE(undated.zoneMinutes && undated.clockDate);
    EXPECT_EQ(*undated.clockDate, undated.dateCreated + static_cast<double>(*undated.zoneMinutes) * 60);
}

TEST_F(Saving, IsBegunBeforeItsThumbnailsAreMade) {
    const SaveJob job = jobOf(pngOf(fourCorners(40, 30)));
    auto results = beginSaves(library(), {&job, 1});
    ASSERT_TRUE(results.front());
    EXPECT_TRUE(results.front()->isDue);
    const std::string uuid = results.front()->asset->record().uuid;
    EXPECT_EQ(recordOf(uuid).thumbnailIndex, 0) << "everybody sees it";
    finishSaves(library(), results);
    EXPECT_FALSE(results.front()->isDue);
    EXPECT_TRUE(results.front()->thumbnails);
    EXPECT_EQ(recordOf(uuid).thumbnailIndex, 1);
    finishSaves(library(), results);
    EXPECT_EQ(recordOf(uuid).thumbnailIndex, 1) << "nothing is due";
}

TEST_F(Saving, WhatCantBeMovedToItsPlaceTakesItsGroupBack) {
    writeFile(paths.folder() + "/DCIM/AA", {}); // where a folder should be
    const SaveJob jobs[] = {jobOf(pngOf(fourCorners(4, 4))), jobOf(pngOf(fourCorners(5, 4)), ownUUID)};
    for (const auto &result : saveAssets(library(), jobs))
        ASSERT_FALSE(result);
    fs::remove(paths.folder() + "/DCIM/AA");
    EXPECT_EQ(library().assets().counts()->photos, 0U);
    EXPECT_EQ(faults(), "");
    for (const auto &result : saveAssets(library(), jobs))
        EXPECT_TRUE(result) << "with room again, it goes on";
    EXPECT_EQ(faults(), "");
}

TEST_F(Saving, WhatCantBeCommittedStaysUntilItIsKnownToBeUndone) {
    ASSERT_TRUE(library().writer().change([](sqlite::Database &database) {
        return database.execute("CREATE TRIGGER refuse BEFORE INSERT ON zgenericasset BEGIN "
                                "SELECT RAISE(ABORT, 'not today'); END");
    }));
    const SaveJob job = jobOf(pngOf(fourCorners(4, 4)), ownUUID);
    const auto failed = saveAssets(library(), {&job, 1});
    ASSERT_FALSE(failed.front());
    EXPECT_EQ(failed.front().error().text, "can't store the asset: not today");
    EXPECT_TRUE(fs::exists(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG"));
    EXPECT_EQ(saveAssets(library(), {&job, 1}).front().error().text, "an asset of that UUID is being saved");
    recoverSaves(library());
    EXPECT_EQ(faults(), "");
    EXPECT_FALSE(fs::exists(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG"));
}

TEST_F(Saving, AUUIDThatIsTakenIsRefused) {
    const SaveJob job = jobOf(pngOf(fourCorners(4, 4)), ownUUID);
    ASSERT_TRUE(saveAssets(library(), {&job, 1}).front());
    EXPECT_EQ(saveAssets(library(), {&job, 1}).front().error().kind, ProblemKind::exists);
    {
        const auto reservation = library().locks().reserve("BBBBBBBB-0000-4000-8000-00000000ABCD");
        const SaveJob other = jobOf(pngOf(fourCorners(4, 4)), "BBBBBBBB-0000-4000-8000-00000000ABCD");
        EXPECT_EQ(saveAssets(library(), {&other, 1}).front().error().kind, ProblemKind::busy);
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(Saving, ARemovedAssetLeavesNothing) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4))), other = saved(pngOf(fourCorners(5, 4)));
    {
        const auto reservation = library().locks().reserve(asset.uuid);
        EXPECT_EQ(removeAsset(library(), asset).error().kind, ProblemKind::busy);
    }
    EXPECT_TRUE(removeAsset(library(), asset));
    EXPECT_TRUE(removeAsset(library(), asset)) << "it has gone already";
    EXPECT_EQ(recordOf(asset.uuid).uuid, "");
    EXPECT_FALSE(fs::exists(paths.original(asset)));
    EXPECT_EQ(recordOf(other.uuid).uuid, other.uuid);
    EXPECT_EQ(faults(), "");
}

// As a kill would leave it after each step.
TEST_F(Recovering, CompletesWhatWasCommittedAndUndoesTheRest) {
    const FileBytes picture = pngOf(fourCorners(4, 4));
    const SaveJob job = jobOf(picture, ownUUID);
    const std::string folder = paths.saving() + '/' + ownUUID + ".PNG";
    const std::string original = paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG";
    const auto small = paths.thumbnail(ownUUID, store::ThumbnailSize::small);
    {
        auto staged = stageAsset(library(), job);
        ASSERT_TRUE(staged);
        staged->folder.keep();
    }
    EXPECT_TRUE(fs::exists(folder));
    recoverSaves(library());
    EXPECT_EQ(faults(), "") << "staged";

    fs::create_directory(folder);
    writeFile(original, picture);
    writeFile(small, picture);
    writeFile(paths.renditionFolder(ownUUID) + '/' + ownUUID + "-0123456789abcdef.PNG", picture);
    recoverSaves(library());
    EXPECT_FALSE(fs::exists(original));
    EXPECT_EQ(faults(), "") << "moved, or removed but for the files";

    ASSERT_TRUE(saveAssets(library(), {&job, 1}).front());
    fs::create_directory(folder);
    recoverSaves(library());
    EXPECT_EQ(contentsOf(original), picture);
    EXPECT_EQ(recordOf(ownUUID).uuid, ownUUID);
    EXPECT_EQ(faults(), "") << "committed";

    fs::create_directory(paths.saving() + "/something else");
    writeFile(paths.saving() + "/staged-AAAAAAAA-0000-4000-8000-00000000ABCD", picture);
    recoverSaves(library());
    EXPECT_TRUE(fs::exists(paths.saving() + "/something else")) << "nothing of ours";
    EXPECT_FALSE(fs::exists(paths.saving() + "/staged-AAAAAAAA-0000-4000-8000-00000000ABCD"));
}

TEST_F(Restoring, BringsBackAMissingOriginalFromTheSameBytesOnly) {
    const FileBytes picture = pngOf(fourCorners(40, 20));
    const AssetRecord asset = saved(picture);
    const std::string same = rootPath() + "/same.png", other = rootPath() + "/other.png";
    writeFile(same, picture);
    writeFile(other, pngOf(fourCorners(41, 20)));
    fs::remove(paths.original(asset));
    const struct {
        std::vector<std::string> files;
        bool mayReadFiles;
        const char *problem; ///< A part of it; empty when there is none.
    } cases[] = {
        {{}, true, "no path was named"},
        {{same}, false, "only for the user"},
        {{other}, true, "it is another picture"},
        {{rootPath()}, true, "not a regular file"},
        {{rootPath() + "/none"}, true, "No such file"},
        {{other, same}, true, ""},
        {{}, false, ""}, // it is there
    };
    for (const auto &[files, mayReadFiles, problem] : cases) {
        const auto restored = restoreAsset(library(), asset.uuid, files, mayReadFiles);
        EXPECT_EQ(restored.has_value(), *problem == '\0') << problem;
        if (!restored) {
            EXPECT_NE(restored.error().text.find(problem), std::string::npos) << restored.error().text;
            EXPECT_FALSE(fs::exists(paths.original(asset))) << problem;
        }
    }
    EXPECT_EQ(contentsOf(paths.original(asset)), picture);
    EXPECT_EQ(fs::status(paths.original(asset)).permissions(), fs::perms::owner_read);
    EXPECT_EQ(faults(), "");
}

TEST_F(Restoring, MakesAnAssetThatTheLibraryLacks) {
    const FileBytes picture = jpegOf(fourCorners(50, 20));
    const std::string elsewhere = rootPath() + "/backup.png";
    writeFile(elsewhere, picture);
    EXPECT_TRUE(restoreAsset(library(), ownUUID, std::span(&elsewhere, 1), true));
    EXPECT_EQ(contentsOf(paths.original(recordOf(ownUUID))), picture);
    EXPECT_EQ(contentsOf(elsewhere), picture);

    // The file lies where it belongs already, and nothing of it is lost on the way.
    const std::string third = "BBBBBBBB-0000-4000-8000-00000000ABCD";
    const std::string lying = paths.folder() + "/DCIM/BB/" + third + ".JPG";
    writeFile(lying, picture);
    EXPECT_TRUE(restoreAsset(library(), third, std::span(&lying, 1), true));
    EXPECT_EQ(contentsOf(paths.original(recordOf(third))), picture);
    EXPECT_EQ(faults(), "");
}

TEST_F(WritingNewFiles, StayInTheLibraryAndReplaceNothing) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4)));
    const std::string outside = rootPath() + "/outside";
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, paths.folder() + "/DCIM/link");
    fs::create_symlink(outside + "/new", paths.incoming() + "/link.JPG");
    const FileBytes bytes(3, std::byte{'x'});
    const std::string fresh = paths.incoming() + "/fresh.JPG";
    EXPECT_TRUE(writeNewFile(library(), fresh, bytes));
    EXPECT_EQ(contentsOf(fresh), bytes);
    const struct {
        std::string path;
        ProblemKind kind;
    } refused[] = {
        {fresh, ProblemKind::exists},
        {paths.original(asset), ProblemKind::exists},
        {paths.incoming() + "/link.JPG", ProblemKind::exists},
        {paths.database(), ProblemKind::refused},
        {outside + "/a", ProblemKind::refused},
        {paths.folder() + "/DCIM/link/a", ProblemKind::failed},
        {paths.folder() + "/DCIM/../PhotoData/a", ProblemKind::failed},
        {paths.folder() + "/DCIM/nowhere/a", ProblemKind::notFound},
        {paths.incoming() + "/..", ProblemKind::invalid},
        {paths.incoming() + "/", ProblemKind::invalid},
    };
    for (const auto &[path, kind] : refused) {
        const auto written = writeNewFile(library(), path, FileBytes(5, std::byte{'y'}));
        ASSERT_FALSE(written) << path;
        EXPECT_EQ(written.error().kind, kind) << path << ": " << written.error().text;
    }
    EXPECT_TRUE(fs::is_empty(outside));
    EXPECT_EQ(contentsOf(fresh), bytes);
    EXPECT_EQ(sumOfFile(paths.original(asset)), asset.sha256);
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

TEST_F(FindingFiles, GoesOnAfterOneThatCantBeSaved) {
    const FileBytes picture = pngOf(fourCorners(4, 4)), known = pngOf(fourCorners(5, 4));
    const AssetRecord asset = saved(known);
    writeFile(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG", picture);
    writeFile(paths.folder() + "/DCIM/AA/copy.PNG", known);
    writeFile(paths.folder() + "/DCIM/AA/words.txt", FileBytes(30, std::byte{'w'}));
    const std::string blocked = "BBBBBBBB-0000-4000-8000-00000000ABCD";
    writeFile(paths.found() + '/' + blocked + ".PNG", pngOf(fourCorners(6, 4)));
    auto reservation = library().locks().reserve(blocked);
    const auto first = saveFoundFiles(library());
    ASSERT_FALSE(first);
    EXPECT_NE(first.error().text.find("is being saved"), std::string::npos) << first.error().text;
    EXPECT_EQ(contentsOf(paths.original(recordOf(ownUUID))), picture);
    EXPECT_FALSE(fs::exists(paths.folder() + "/DCIM/AA/copy.PNG")) << "its bytes are there already";
    EXPECT_EQ(recordOf(asset.uuid).uuid, asset.uuid);
    EXPECT_TRUE(fs::exists(paths.folder() + "/DCIM/AA/words.txt")) << "no picture";
    reservation = {};
    EXPECT_TRUE(saveFoundFiles(library()));
    EXPECT_EQ(recordOf(blocked).uuid, blocked);
    EXPECT_TRUE(fs::is_empty(paths.found()));
}

} // namespace
