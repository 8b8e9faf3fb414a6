// The steps of a save, each by itself, and what undoes them.
#include "hoardd/saving/Saving.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <limits>

#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/saving/BackgroundWrite.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Restore.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/upkeep/Repair.h"
#include "tests/hoardd/FileAge.h"
#include "tests/hoardd/FileSum.h"
#include "tests/hoardd/LyingWrites.h"
#include "tests/hoardd/OpenLibrary.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/Sha256Internal.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

using Saving = OpenLibrary;
using Recovering = OpenLibrary;
using Restoring = OpenLibrary;
using WritingInBackground = OpenLibrary;
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
    EXPECT_EQ(faults(),
              "picture that can't be decoded " + paths.original(results[3]->asset->record()) + '\n');
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
    const SaveJob job = jobOf(jpegOf(fourCorners(1500, 1000)));
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

TEST_F(Saving, WhatTheStoreRefusesLeavesNothing) {
    const auto execute = [&](const char *sql) {
        ASSERT_TRUE(library().writer().change([&](sqlite::Database &opened) { return opened.execute(sql); }));
    };
    execute(
        "CREATE TRIGGER refuse BEFORE INSERT ON zgenericasset BEGIN SELECT RAISE(ABORT, 'not today'); END");
    const SaveJob job = jobOf(pngOf(fourCorners(4, 4)), ownUUID);
    const auto failed = saveAssets(library(), {&job, 1});
    ASSERT_FALSE(failed.front());
    EXPECT_EQ(failed.front().error().text, "can't store the asset: not today");
    EXPECT_FALSE(fs::exists(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG"));
    EXPECT_EQ(faults(), "");
    execute("DROP TRIGGER refuse");
    EXPECT_TRUE(saveAssets(library(), {&job, 1}).front());
}

TEST_F(Saving, WhatMayBeFoundAfterACrashStaysUntilItIsKnownToBeUndone) {
    const SaveJob job = jobOf(pngOf(fourCorners(4, 4)), ownUUID);
    {
        const LyingWrites lie(1, std::numeric_limits<int>::max());
        const auto failed = saveAssets(library(), {&job, 1});
        ASSERT_FALSE(failed.front());
        EXPECT_EQ(failed.front().error().text,
                  "can't store the asset: disk I/O error; it may be found done after a restart");
    }
    EXPECT_TRUE(fs::exists(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG"));
    EXPECT_EQ(saveAssets(library(), {&job, 1}).front().error().text, "an asset of that UUID is being saved");
    recoverSaves(library());
    EXPECT_EQ(faults(), "");
    EXPECT_FALSE(fs::exists(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG"));
    EXPECT_TRUE(!fs::exists(paths.found()) || fs::is_empty(paths.found()))
        << "its caller knows that it failed";
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

TEST_F(Saving, ARemovalThatCantFindAllFilesIsFinishedLater) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4)));
    const std::string folder = paths.renditionFolder(asset.uuid), edit = folder + '/' + asset.uuid + "-e.PNG";
    fs::create_directories(folder);
    writeFile(edit, {});
    fs::rename(folder, folder + ".away");
    writeFile(folder, {}); // which can't be listed, as a folder can't without a descriptor
    EXPECT_TRUE(removeAsset(library(), asset)) << "its row has gone";
    EXPECT_EQ(recordOf(asset.uuid).uuid, "");
    fs::remove(folder);
    fs::rename(folder + ".away", folder);
    EXPECT_EQ(faults(), "left over: " + paths.saving() + '/' + asset.filename + ".removing\n")
        << "it is noted whose the file is";
    recoverSaves(library());
    EXPECT_FALSE(fs::exists(edit));
    EXPECT_EQ(faults(), "");
}

TEST_F(Saving, ARemovalThatCantRemoveAFileIsFinishedLater) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4)));
    const std::string original = paths.original(asset), away = rootPath() + "/away";
    for (const bool isByRepair : {true, false}) {
        if (!isByRepair) {
            const SaveJob again = jobOf(contentsOf(away), asset.uuid);
            ASSERT_TRUE(saveAssets(library(), {&again, 1}).front());
        }
        fs::rename(original, away);
        fs::create_directory(original); // which can't be removed as a file
        EXPECT_TRUE(removeAsset(library(), asset)) << "its row has gone";
        EXPECT_EQ(recordOf(asset.uuid).uuid, "");
        fs::remove(original);
        fs::copy_file(away, original);
        if (isByRepair)
            EXPECT_TRUE(repairLibrary(library()));
        else
            recoverSaves(library());
        EXPECT_FALSE(fs::exists(original));
        EXPECT_EQ(recordOf(asset.uuid).uuid, "") << "it has not come back";
        EXPECT_EQ(faults(), "");
    }
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
    recoverSaves(library());
    EXPECT_FALSE(fs::exists(original));
    EXPECT_NE(faults().find("found file that is not saved"), std::string::npos) << "moved";
    saveFilesLeftFound(library());
    EXPECT_EQ(contentsOf(original), picture);
    EXPECT_EQ(recordOf(ownUUID).uuid, ownUUID);
    EXPECT_EQ(faults(), "") << "found";

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

TEST_F(Recovering, RemovesNoMetadataButWhatAnUnfinishedSaveBrought) {
    const struct {
        const char *what;
        bool isRefused, isBrought, isKept;
    } cases[] = {{"saved again", false, true, true},
                 {"saved again beside what was there", false, false, true},
                 {"refused", true, true, false},
                 {"refused beside what was there", true, false, true}};
    const std::string folder = paths.saving() + '/' + ownUUID + ".PNG", sidecar = paths.sidecar(ownUUID);
    fs::create_directories(fs::path(sidecar).parent_path());
    for (const auto &[what, isRefused, isBrought, isKept] : cases) {
        fs::create_directory(folder);
        writeFile(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG", pngOf(fourCorners(4, 4)));
        writeFile(sidecar, {});
        if (isRefused)
            writeFile(folder + "/refused", {});
        if (isBrought)
            writeFile(folder + "/sidecar", {});
        recoverSaves(library());
        EXPECT_EQ(fs::exists(sidecar), isKept) << what;
        EXPECT_EQ(fs::exists(paths.found() + '/' + ownUUID + ".PNG"), !isRefused) << what;
        fs::remove_all(paths.found());
    }
}

TEST_F(Recovering, PutsAwayARenditionThatWasNotCommitted) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4)));
    const FileBytes edit = pngOf(fourCorners(7, 4)), later = pngOf(fourCorners(8, 4));
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(edit), nullptr));
    const std::string row = *renditionPath(library(), asset),
                      cutOff = paths.renditionFolder(asset.uuid) + '/' + asset.uuid + "-0123456789abcdef.PNG";
    writeFile(cutOff, later);
    writeFile(paths.saving() + '/' + asset.filename + ".setting-rendition", {});
    EXPECT_EQ(store::checkLibrary(paths)->findings.size(), 0U) << "it is under way";
    recoverSaves(library());
    EXPECT_EQ(contentsOf(row), edit);
    EXPECT_FALSE(fs::exists(cutOff));
    EXPECT_EQ(contentsOf(paths.lostAndFound() + '/' + fs::path(cutOff).filename().string()), later);
    EXPECT_EQ(faults(), "");
}

TEST_F(Recovering, FinishesARemovalAtEachStep) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4)));
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(7, 4))), nullptr));
    const std::string note = paths.saving() + '/' + asset.filename + ".removing",
                      original = paths.original(asset);
    const FileBytes picture = contentsOf(original);
    writeFile(note, {});
    recoverSaves(library());
    EXPECT_EQ(recordOf(asset.uuid).uuid, "");
    EXPECT_FALSE(fs::exists(original));
    EXPECT_TRUE(fs::is_empty(paths.renditionFolder(asset.uuid)));
    EXPECT_EQ(faults(), "") << "noted";
    writeFile(original, picture);
    writeFile(note, {});
    recoverSaves(library());
    EXPECT_FALSE(fs::exists(original));
    EXPECT_EQ(faults(), "") << "without its row";
}

// As a kill would leave it when the row did not go, or did.
TEST_F(Recovering, FinishesABegunRemovalOnlyOfWhatTheStoreLacks) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4))), trashed = saved(pngOf(fourCorners(5, 4)));
    ASSERT_TRUE(trashAsset(library(), trashed));
    AssetRecord gone = saved(pngOf(fourCorners(6, 4)));
    const FileBytes picture = contentsOf(paths.original(gone));
    ASSERT_TRUE(removeAsset(library(), gone));
    writeFile(paths.original(gone), picture);
    for (const AssetRecord &each : {asset, trashed, gone})
        writeFile(paths.saving() + '/' + each.filename + ".beginning-removal", {});
    recoverSaves(library());
    EXPECT_EQ(recordOf(asset.uuid).uuid, asset.uuid);
    EXPECT_TRUE(fs::exists(paths.original(asset)));
    EXPECT_TRUE(fs::exists(paths.original(trashed)));
    EXPECT_FALSE(fs::exists(paths.original(gone)));
    EXPECT_EQ(faults(), "");
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
    saveFilesLeftFound(library());
    EXPECT_EQ(faults(), "");
}

TEST_F(WritingInBackground, ReplacesAllButOriginals) {
    const AssetRecord asset = saved(pngOf(fourCorners(4, 4))), lost = saved(pngOf(fourCorners(5, 4)));
    fs::remove(paths.original(lost));
    const std::string outside = rootPath() + "/outside", originals = paths.folder() + "/DCIM";
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, originals + "/link");
    // Where the asset's original is not.
    const std::string elsewhere = originals + (asset.uuid.starts_with("BB") ? "/CC/" : "/BB/");
    fs::create_directories(originals + "/AA");
    fs::create_directories(elsewhere);
    fs::create_symlink(outside + "/new", paths.incoming() + "/link.JPG");
    for (const std::string &path :
         {paths.incoming() + "/fresh.JPG", paths.incoming() + "/link.JPG", originals + "/loose.JPG",
          originals + "/AA/" + ownUUID + ".JPG", elsewhere + asset.filename})
        for (const std::size_t length : {3U, 2U}) {
            const FileBytes bytes(length, std::byte{'x'});
            const auto written = writeInBackground(library(), path, bytes);
            EXPECT_TRUE(written) << path << ": " << written.error().text;
            EXPECT_EQ(contentsOf(path), bytes) << path;
        }
    const auto reservation = library().locks().reserve("BBBBBBBB-0000-4000-8000-00000000ABCD");
    const struct {
        std::string path;
        ProblemKind kind;
    } refused[] = {
        {paths.original(asset), ProblemKind::exists},
        {paths.original(lost), ProblemKind::exists},
        {originals + "/" + asset.directory.substr(5) + "/./" + asset.filename, ProblemKind::invalid},
        {originals + "//" + asset.directory.substr(5) + '/' + asset.filename, ProblemKind::invalid},
        {originals + "/BBBBBBBB-0000-4000-8000-00000000ABCD.JPG", ProblemKind::busy},
        {paths.database(), ProblemKind::refused},
        {outside + "/a", ProblemKind::refused},
        {originals + "/link/a", ProblemKind::failed},
        {originals + "/../PhotoData/a", ProblemKind::invalid},
        {originals + "/nowhere/a", ProblemKind::notFound},
        {paths.incoming() + "/..", ProblemKind::invalid},
        {paths.incoming() + "/a/", ProblemKind::invalid},
        {paths.incoming() + "/", ProblemKind::invalid},
    };
    for (const auto &[path, kind] : refused) {
        const auto written = writeInBackground(library(), path, FileBytes(5, std::byte{'y'}));
        ASSERT_FALSE(written) << path;
        EXPECT_EQ(written.error().kind, kind) << path << ": " << written.error().text;
    }
    EXPECT_TRUE(fs::is_empty(outside));
    EXPECT_EQ(sumOfFile(paths.original(asset)), asset.sha256);
    EXPECT_FALSE(fs::exists(paths.original(lost)));
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

// What is written there before the save ends is not what was saved.
TEST_F(WritingInBackground, WhatReplacesAFileThatIsBeingSavedStays) {
    const FileBytes picture = pngOf(fourCorners(4, 4)), next = pngOf(fourCorners(5, 4));
    for (const bool isReplaced : {true, false}) {
        const std::string path = paths.incoming() + "/picture.PNG";
        writeFile(path, picture);
        const SaveJob job{Dictionary::createWithKeys({{"filePath", String::of(path)}}), nullptr, nullptr,
                          true};
        library().writer().whenCountsChange([&] {
            if (isReplaced) {
                EXPECT_TRUE(writeInBackground(library(), path, next));
            }
        });
        const auto results = beginSaves(library(), {&job, 1});
        ASSERT_TRUE(results.front());
        EXPECT_EQ(contentsOf(paths.original(results.front()->asset->record())), picture);
        ASSERT_EQ(fs::exists(path), isReplaced);
        if (isReplaced) {
            EXPECT_EQ(contentsOf(path), next);
        }
    }
    library().writer().whenCountsChange(nullptr);
}

TEST_F(Saving, WhatIsSaidBesideAPictureGoesBeforeWhatItSays) {
    const std::string picture = rootPath() + "/picture.jpg", metadata = rootPath() + "/picture.xmp";
    writeFile(picture,
              withXmp(jpegOf(fourCorners(16, 16)), "<xmp:Rating>2</xmp:Rating><dc:subject><rdf:Bag>"
                                                   "<rdf:li>inside</rdf:li></rdf:Bag></dc:subject>"));
    writeFile(metadata, xmpOf("<xmp:Rating>5</xmp:Rating>"));
    const SaveJob job{Dictionary::createWithKeys(
                          {{"filePath", String::of(picture)}, {"sidecarPath", String::of(metadata)}}),
                      nullptr, nullptr, true};
    const auto results = saveAssets(library(), {&job, 1});
    ASSERT_TRUE(results.front()) << results.front().error().text;
    const AssetRecord &record = results.front()->asset->record();
    EXPECT_EQ(record.rating, 5);
    EXPECT_EQ(record.keywords, "inside");
    EXPECT_EQ(recordOf(record.uuid).rating, 5);
}

// A caller of another user may name what it has opened, and nothing else.
TEST_F(Saving, TakesOpenFilesOfCallersThatMayNameNone) {
    const std::string folder = rootPath(), picture = folder + "/picture.png", closed = folder + "/closed.png",
                      metadata = folder + "/picture.xmp";
    const FileBytes bytes = pngOf(fourCorners(4, 4)), described = {std::byte('<')};
    writeFile(picture, bytes);
    writeFile(closed, pngOf(fourCorners(5, 4)));
    writeFile(metadata, described);
    const auto sent = MessageDictionary::create();
    const auto send = [&](const std::string &name, const std::string &path, int flags) {
        const UniqueFd file(::open(path.c_str(), flags | O_CLOEXEC));
        ASSERT_TRUE(file) << path;
        sent->setDescriptor(name.c_str(), file.get());
    };
    send(picture, picture, O_RDONLY);
    send(metadata, metadata, O_RDONLY);
    send("/folder", folder, O_RDONLY);
    send("/device", "/dev/zero", O_RDONLY);
    send("/written", closed, O_WRONLY);
    send("/place", closed, O_PATH);
    sent->setString("/text", "no descriptor");
    const CallersFiles files(false, sent.get());
    const auto save = [&](const std::string &path, const std::string &sidecar) {
        auto dictionary = MutableDictionary::create();
        dictionary->set("filePath", String::of(path));
        if (!sidecar.empty())
            dictionary->set("sidecarPath", String::of(sidecar));
        const SaveJob job{dictionary, nullptr, nullptr, files};
        return std::move(saveAssets(library(), {&job, 1}).front());
    };
    const auto saved = save(picture, metadata);
    ASSERT_TRUE(saved) << saved.error().text;
    const AssetRecord &record = saved->asset->record();
    EXPECT_EQ(contentsOf(paths.original(record)), bytes);
    EXPECT_EQ(contentsOf(paths.sidecar(record.uuid)), described);
    EXPECT_EQ(record.originalFilename, "picture.png");
    EXPECT_TRUE(fs::exists(picture));
    for (const std::string path : {"/folder", "/device", "/written", "/place", "/text"})
        EXPECT_FALSE(save(path, {})) << path;
    EXPECT_EQ(save(closed, {}).error().kind, ProblemKind::refused);
    EXPECT_EQ(save(picture, closed).error().kind, ProblemKind::refused);
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

TEST_F(FindingFiles, WaitsForFilesThatAreStillBeingWritten) {
    const FileBytes picture = pngOf(scene(300, 200, 1));
    const std::string path = paths.folder() + "/DCIM/AA/copied.PNG",
                      other = paths.folder() + "/DCIM/AA/other.PNG";
    writeFile(path, FileBytes(picture.begin(), picture.begin() + 1000));
    writeFile(other, pngOf(fourCorners(4, 4)));
    letSettle(other);
    UniqueFd writer = openFile(path, O_WRONLY | O_APPEND);
    const auto waitsFor = [&](const char *reason) {
        const auto found = saveFoundFiles(library(), std::chrono::hours(1));
        ASSERT_FALSE(found);
        EXPECT_EQ(found.error().kind, ProblemKind::busy);
        EXPECT_EQ(found.error().text, "1 files wait for the next time; the first: " + path + ": " + reason);
        EXPECT_EQ(moveStrayOriginal(library(), path, paths.lostAndFound()).error().kind, ProblemKind::busy);
        EXPECT_TRUE(fs::exists(path));
    };
    waitsFor("it is still being written");
    EXPECT_EQ(library().assets().counts()->photos, 1U) << "the other one does not";
    letSettle(path);
    waitsFor("it is still being written");
    ASSERT_TRUE(writeAll(writer.get(), std::span(picture).subspan(1000)));
    writer.reset();
    waitsFor("it has just changed");
    letSettle(path);
    EXPECT_TRUE(saveFoundFiles(library()));
    EXPECT_EQ(library().assets().counts()->photos, 2U);
    EXPECT_TRUE(*library().writer().assetWithSum(store::sha256Of(picture).value()));
    EXPECT_EQ(faults(), "");
}

TEST_F(FindingFiles, TakesNamesThatAreNoText) {
    const FileBytes picture = pngOf(fourCorners(4, 4)), other = pngOf(fourCorners(5, 4));
    const std::string path = paths.folder() + "/DCIM/AA/sch\xF6n.PNG", left = paths.found() + "/\xFF.PNG";
    writeFile(path, picture);
    writeFile(left, other);
    letSettle(path);
    EXPECT_EQ(faults(),
              "stray file among the originals " + path + "\nfound file that is not saved " + left + '\n');
    const auto saved = saveFoundFiles(library());
    EXPECT_TRUE(saved) << saved.error().text;
    const auto nameOf = [&](const FileBytes &bytes) {
        const auto asset = library().writer().assetWithSum(store::sha256Of(bytes).value());
        return asset && *asset ? (*asset)->originalFilename : std::string("none");
    };
    EXPECT_EQ(nameOf(picture), "sch\xEF\xBF\xBDn.PNG");
    EXPECT_EQ(nameOf(other), "\xEF\xBF\xBD.PNG");
    EXPECT_EQ(faults(), "");
}

TEST_F(FindingFiles, WhatCantBeSavedIsFound) {
    const std::string words = paths.found() + "/words.txt";
    writeFile(words, FileBytes(30, std::byte{'w'}));
    const auto repaired = repairLibrary(library());
    ASSERT_FALSE(repaired);
    EXPECT_NE(repaired.error().text.find("the first: " + words), std::string::npos) << repaired.error().text;
    EXPECT_EQ(faults(), "found file that is not saved " + words + '\n');
}

// It was moved there before a program opened it again.
TEST_F(FindingFiles, WaitsForAFoundFileThatIsBeingWritten) {
    fs::create_directories(paths.found());
    const std::string path = paths.found() + "/" + ownUUID + ".PNG";
    writeFile(path, pngOf(fourCorners(4, 4)));
    {
        const UniqueFd writer = openFile(path, O_WRONLY | O_APPEND);
        EXPECT_EQ(saveFoundFiles(library()).error().kind, ProblemKind::busy);
        EXPECT_EQ(library().assets().counts()->photos, 0U);
    }
    EXPECT_TRUE(saveFoundFiles(library()));
    EXPECT_EQ(recordOf(ownUUID).uuid, ownUUID);
    EXPECT_EQ(faults(), "");
}

TEST_F(FindingFiles, GoesOnAfterOneThatCantBeSaved) {
    const FileBytes picture = pngOf(fourCorners(4, 4)), known = pngOf(fourCorners(5, 4));
    const AssetRecord asset = saved(known);
    writeFile(paths.folder() + "/DCIM/AA/" + ownUUID + ".PNG", picture);
    writeFile(paths.folder() + "/DCIM/AA/copy.PNG", known);
    writeFile(paths.folder() + "/DCIM/AA/words.txt", FileBytes(30, std::byte{'w'}));
    for (const auto &entry : fs::directory_iterator(paths.folder() + "/DCIM/AA"))
        letSettle(entry.path());
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
