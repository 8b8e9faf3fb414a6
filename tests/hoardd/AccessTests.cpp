// Who may ask for what: every operation by everybody who may ask.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/hoardd/PlausibleRequest.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

enum class Need { everybody, access, writeAssets, deleteAssets };

/// A new operation is written down here, or the test fails.
constexpr struct {
    std::int64_t code;
    std::string_view name;
    Need need;
} table[] = {
    {1, "fileDescriptorForAssetURL:", Need::access},
    {2, "fileURLForAssetURL:withAdjustments:", Need::access},
    {3, "requestAccessWithHandler:", Need::everybody},
    {5, "fileURLForNewAssetWithType:extension:", Need::access},
    {6, "imageDataForAsset:format:", Need::access},
    {8, "saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface:", Need::access},
    {9, "batchSaveAssetsWithJobDictionaries:handler:", Need::access},
    {10, "launchHoardd", Need::everybody},
    {11, "addGroupWithName:handler:", Need::access},
    {12, "addAssetWithURL:toAlbumWithUUID:handler:", Need::access},
    {13, "deleteAssetWithURL:handler:", Need::deleteAssets},
    {14, "setExternalUsageIntent:forAssetWithURL:handler:", Need::access},
    {15, "createPixholdDatabase", Need::access},
    {16, "getPhotosAndVideosCountWithHandler:", Need::access},
    {17, "setLargePreviewImageForAssetWithURL:imageData:properties:handler:", Need::writeAssets},
    {18, "updateThumbnailsForPhotos:waitForReply:assignNewIndex:forceRefresh:", Need::access},
    {19, "updateCameraPreviewWellImage:", Need::access},
    {20, "updateModelAfterOTARestore", Need::access},
    {21, "finalizeOTARestoreRecreatingAlbums:", Need::access},
    {21, "updateRestoredAssetWithUUID:paths:", Need::access},
    {22, "importFileSystemAssetsWaitingForReply:", Need::access},
    {23, "importFileSystemAssetsWaitingForReply:", Need::access},
    {24, "writeDataInBackground:toFileURL:", Need::access},
    {25, "secondsNeededToCleanupModelAfterHarborsyncRestore", Need::access},
    {26, "cleanupModelAfterHarborsyncRestore", Need::access},
    {27, "repairPotentialModelCorruption", Need::access},
    {28, "dataMigrationWillFinish", Need::access},
    {29, "notifyAboutTerminationDueToUncaughtException:", Need::access},
    {30, "recalculateCachedAlbumCounts", Need::access},
    {31, "clearChangeStore", Need::access},
    {33, "recoverFromCrashIfNeeded", Need::access},
    {34, "createSnapriverAlbumWithStreamID:", Need::access},
    {35, "enableSnapriversWithStreamID:", Need::access},
    {36, "repairSingletonObjects", Need::access},
    {37, "getCurrentBulletins", Need::access},
    {38, "getCurrentApplicationBadgeCount", Need::access},
    {39, "getThumbnailImageDataForBulletinWithRecordID:", Need::access},
    {40, "clearAllBulletinsWithLastClearedRecordID:", Need::access},
    {41, "cleanupForStoreDemoMode", Need::access},
    {45, "updateSharedAlbumsCachedServerConfigurationLimits", Need::access},
    {51, "attemptToPurgeSharedAssetsSpace:", Need::access},
    {51, "purgeableSharedAssetsSpace", Need::access},
    {56, "getLibrarySizes:", Need::access},
    {57, "emailAddressForKey:", Need::access},
    {57, "keyForEmailAddress:", Need::access},
    {58, "automaticallyDeleteEmptyAlbum:", Need::access},
    {59, "personInfoDictionaryForPersonID:", Need::access},
    {60, "setPersonInfoDictionary:forPersonID:", Need::access},
    {61, "rebuildMomentsIncremental:", Need::access},
    {62, "rebuildMomentLists", Need::access},
    {63, "analyzeAllMoments", Need::access},
    {64, "analyzeInvalidMomentsAndDupesIfNeeded", Need::access},
    {65, "analyzeMoment:", Need::access},
    {66, "analyzeMomentList:", Need::access},
    {67, "rebuildCloudFeed", Need::access},
    {68, "resetDupesAnalysis", Need::access},
    {69, "getCurrentModelVersion", Need::access},
    {70,
     "estimatedOutputFileLengthForVideoURL:fallbackFilePath:exportPreset:exportProperties:", Need::access},
    {71, "hasCompletedRestorePostProcessing", Need::access},
    {72, "hasCompletedMomentAnalysis", Need::access},
    {73, "rebuildAllThumbnails", Need::access},
    {74, "downloadAsset:requestThumbnail:shouldPrioritize:shouldExtendTimer:", Need::access},
    {75, "videoMetadataAtPath:", Need::access},
    {1000, "setAreDuplicates:forPhotos:", Need::access},
    {1001, "removeAssetWithURL:handler:", Need::deleteAssets},
    {1002, "restoreTrashedAssetWithURL:handler:", Need::deleteAssets},
    {1003, "emptyTrashWithHandler:", Need::deleteAssets},
    {1004, "trashMatchingQuery:", Need::access},
    {1010, "adjustDatesBySeconds:forPhotos:", Need::writeAssets},
    {1020, "revertAssetWithURL:", Need::writeAssets},
    {1021, "renditionOfAssetWithURL:", Need::access},
    {1022, "companionsOfPhotos:", Need::access},
    {1030, "assetsMatchingQuery:", Need::access},
    {1031, "sectionsOfAssetsMatchingQuery:byUnit:", Need::access},
    {1032, "albums", Need::access},
    {1033, "momentsMatchingQuery:", Need::access},
    {1034, "duplicatesMatchingQuery:", Need::access},
    {1035, "renameAlbumWithUUID:to:", Need::access},
    {1036, "deleteAlbumWithUUID:", Need::access},
    {1037, "removePhotos:fromAlbumWithUUID:", Need::access},
    {1038, "changesSinceToken:limit:", Need::access},
    {1039, "awaitChangesSinceToken:limit:seconds:", Need::access},
    {1040, "setDetails:forPhotos:", Need::writeAssets},
    {1041, "saveOpenFilesWithJobDictionaries:handler:", Need::access},
    {1042, "takeTrafficWithTexts:", Need::access},
    {1047, "progressOfWork", Need::access},
    {1044, "countOfAssetsMatchingQuery:", Need::access},
    {1045, "momentLists", Need::access},
    {1046, "cloudFeed", Need::access},
};

struct Asker {
    const char *who;
    bool access, writeAssets, deleteAssets;
};

constexpr Asker askers[] = {
    {"who has everything", true, true, true},
    {"who may not write renditions", true, false, true},
    {"who may not delete", true, true, false},
    {"who may neither write renditions nor delete", true, false, false},
    {"who was denied access", false, false, false},
    {"who was denied access and is entitled all the same", false, true, true},
};

bool isAllowed(const Asker &asker, Need need) {
    switch (need) {
    case Need::everybody:
        return true;
    case Need::access:
        return asker.access;
    case Need::writeAssets:
        return asker.access && asker.writeAssets;
    case Need::deleteAssets:
        return asker.access && asker.deleteAssets;
    }
    return false;
}

/// Whether an operation has a "success" of its own to say no by.
bool saysNoBySuccess(std::int64_t code) {
    return code == 12 || code == 13 || code == 14 || code == 17 || (code >= 1001 && code <= 1003);
}

using Access = RunningHoardd;

TEST_F(Access, IsWhatTheTableSays) {
    ReleaseScope scope;
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    auto &consent = ConsentStore::shared();
    std::set<std::pair<std::int64_t, std::string_view>> written;
    for (const auto &row : table)
        written.emplace(row.code, row.name);
    const auto served = servedRows();
    for (const protocol::Row *operation : served)
        EXPECT_TRUE(written.contains({operation->code, operation->name}))
            << operation->name << " is not in the table";
    EXPECT_EQ(written.size(), served.size());

    for (const Asker &asker : askers) {
        ASSERT_TRUE(consent.decide({kPVGServicePhotos, self, getuid(), asker.access}));
        ASSERT_TRUE(consent.setEntitled(self, "org.wickerlane.hoardd.write-assets", asker.writeAssets));
        ASSERT_TRUE(consent.setEntitled(self, "org.wickerlane.hoardd.delete-assets", asker.deleteAssets));
        for (const protocol::Row *operation : served) {
            const auto *row = std::ranges::find_if(table, [&](const auto &each) {
                return each.code == operation->code && each.name == operation->name;
            });
            if (row == std::end(table))
                continue;
            const Ref<MessageValue> reply = ask(plausibleRequest(*operation).get());
            const auto *error = as<MessageError>(reply.get());
            const auto *dictionary = as<MessageDictionary>(reply.get());
            const std::string shown = row->name.data() + std::string(" for one ") + asker.who + ": " +
                                      reply->description()->utf8().data();
            if (saysNoBySuccess(row->code)) {
                ASSERT_NE(dictionary, nullptr) << shown;
                if (!isAllowed(asker, row->need)) {
                    EXPECT_FALSE(dictionary->getBool("success")) << shown;
                }
                if (row->need != Need::access) {
                    EXPECT_EQ(dictionary->getBool("hasEntitlement"),
                              row->need == Need::writeAssets ? asker.writeAssets : asker.deleteAssets)
                        << shown;
                }
                continue;
            }
            const bool isRefused =
                error != nullptr && (error->text() == "this user has no access to the photo library" ||
                                     error->text() == "this program was denied access to the photo library" ||
                                     error->text() == "this program lacks the entitlement");
            EXPECT_EQ(!isRefused, isAllowed(asker, row->need)) << shown;
        }
    }
}

// The daemon keeps the decisions in memory and answers these by what it has there.
TEST_F(Access, ChangesWithTheNextRequestOfALivingConnection) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    auto &consent = ConsentStore::shared();
    ASSERT_EQ(refusal(request(69).get()), ""); // opens the library
    for (int i = 0; i < 100; ++i) {
        const bool isGranted = i % 2 == 0;
        ASSERT_TRUE(consent.decide({kPVGServicePhotos, self, getuid(), isGranted}));
        for (int again = 0; again < 2; ++again) {
            ReleaseScope scope;
            ASSERT_EQ(refusal(request(69).get()).empty(), isGranted) << i;
        }
    }
}

// That these operations say no by "success" alone does not mean that they did nothing.
TEST_F(Access, LeavesALibraryAsItIsForOneWhoHasNone) {
    ReleaseScope scope;
    const auto *saved = saveData(pngOf(fourCorners(64, 48)));
    const std::string url = textIn(saved, "assetURL");
    const auto group = request(11);
    group->setString("name", "Dunes");
    const std::string groupURL(answer(group.get())->getString("groupURL").value());
    const std::string album = groupURL.substr(groupURL.find("id=") + 3);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    auto &consent = ConsentStore::shared();
    for (const char *entitlement :
         {"org.wickerlane.hoardd.write-assets", "org.wickerlane.hoardd.delete-assets"})
        ASSERT_TRUE(consent.setEntitled(self, entitlement, true));
    const auto withAsset = [&](std::int64_t code) {
        auto message = request(code);
        message->setString("assetURL", url.c_str());
        return message;
    };
    const auto add = withAsset(12);
    add->setString("albumUUID", album.c_str());
    const auto intent = withAsset(14);
    intent->setUInt64("externalUsageIntent", 7);
    const auto edit = withAsset(17);
    const FileBytes picture = pngOf(fourCorners(32, 32));
    edit->setData("imageData", picture.data(), picture.size());
    const auto remove = withAsset(13);

    ASSERT_TRUE(consent.decide({kPVGServicePhotos, self, getuid(), false}));
    for (const auto &message : {add, intent, edit, remove})
        EXPECT_FALSE(answer(message.get())->getBool("success"));
    const auto store = StoreView::open();
    ASSERT_TRUE(store);
    EXPECT_EQ(store->assets()->count(), 1U);
    EXPECT_EQ(store->albumWithUUID(album)->record().assetCount, 0U);
    EXPECT_FALSE(std::filesystem::exists(paths.renditionFolder(textIn(saved, "uuid"))));

    ASSERT_TRUE(consent.decide({kPVGServicePhotos, self, getuid(), true}));
    for (const auto &message : {add, intent, edit, remove})
        EXPECT_TRUE(answer(message.get())->getBool("success"));
}

// The daemon has other rights to files than another user.
TEST_F(Access, OfAnotherUserIsToWhatTheConnectionCarries) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be another user";
    constexpr uid_t other = 65534;
    ReleaseScope scope;
    std::filesystem::create_directories(rootPath() + "/etc/wickerlane");
    std::ofstream(rootPath() + "/etc/wickerlane/device");
    std::filesystem::permissions(rootPath(), std::filesystem::perms(0755));
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    ASSERT_TRUE(ConsentStore::shared().decide({kPVGServicePhotos, self, other, true}));
    answer(request(15).get()); // it runs for this user
    ASSERT_EQ(seteuid(other), 0);
    connection = connect();
    const FileBytes picture = pngOf(fourCorners(8, 8));
    const std::string path = rootPath() + "/picture.png";
    const auto newFile = request(5);
    newFile->setUInt64("assetType", 0);
    newFile->setString("extension", "png");
    const std::string refused = refusal(newFile.get());
    const auto *byName = save(Dictionary::createWithKeys({{"filePath", String::of(path)}}).get());
    const auto *byBytes = save(Dictionary::createWithKeys({{"imageData", dataOf(picture).get()}}).get());
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(refused,
              "only the user that hoardd serves can write files in the library; send the bytes instead");
    EXPECT_EQ(textIn(byName, "error"),
              "files are read only for the user that hoardd serves; send the bytes instead");
    EXPECT_NE(textIn(byBytes, "uuid"), "") << textIn(byBytes, "error");
}

} // namespace
