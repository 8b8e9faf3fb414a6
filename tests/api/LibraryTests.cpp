// The library's care, changes, analysis and sharing, with the real daemon.
#include <cmath>

#include "tests/api/CProgram.h"
#include "tests/api/WaitingCalls.h"
#include "wickerlane/protocol/BulletinKeys.h"
#include "wickerlane/protocol/VideoKeys.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class CLibrary : public CProgram {
protected:
    Ref<WLAsset> saveOne() {
        return assetOf(WLSaveJobRun(jobOfBytes(pngOf(fourCorners(++side, 8))).get(), nullptr));
    }
    [[nodiscard]] Ref<WLChanges> changesSince(const char *token, std::size_t limit = 100) {
        return Ref<WLChanges>::adopt(WLChangesCreate(token, limit, &error));
    }

    std::uint32_t side = 8;
};

TEST_F(CLibrary, DoesAllThatItIsAskedFor) {
    const Ref<WLAsset> asset = saveOne(), other = saveOne();
    ASSERT_TRUE(asset && other);
    for (const auto &[name, call] : waitingCalls(asset.get(), other.get())) {
        EXPECT_TRUE(call(&error)) << name;
        EXPECT_EQ(error, nullptr) << name << ": " << WLStringText(WLErrorText(error));
    }
    EXPECT_EQ(codeFrom([](const auto &handler) { WLRequestAccess(handler); }), success);
    WLLaunchDaemon();
    WLLibraryImportFilesInBackground();
    WLLibraryRecoverFromCrash();
    WLLibraryFinalizeOTARestore(false);
    WLLibrarySetRestoredPaths(WLAssetUUID(asset.get()), WLAssetFilePath(asset.get()));
    WLLibrarySetRestoredPaths(nullptr, nullptr);
    WLAlbumsRecount();
    WLStreamsUpdateLimits();
    WLAssetDownload(asset.get(), true, true, true);
    WLAssetDownload(nullptr, true, true, true);
    WLAssetShowInCameraPreview(asset.get());
    WLAssetShowInCameraPreview(nullptr);
    WLAssetsMakeThumbnailsInBackground(Array::of({asset.get()}), true, false);
    WLReportTermination("name", nullptr);
    WLWaitUntilSent();
    EXPECT_GE(WLLibraryModelVersion(&error), 0);
    EXPECT_TRUE(saveOne()) << "it serves on";
}

TEST_F(CLibrary, TellsWhatHasChangedSinceAToken) {
    const auto start = changesSince(nullptr, 0);
    ASSERT_TRUE(start);
    EXPECT_EQ(WLChangesCount(start.get()), 0U);
    const Ref<WLAsset> asset = saveOne();
    EXPECT_TRUE(WLAssetDelete(asset.get(), &error));
    const auto first = changesSince(WLChangesToken(start.get()), 1);
    ASSERT_EQ(WLChangesCount(first.get()), 1U);
    EXPECT_EQ(WLChangesKind(first.get(), 0), WLChangeAdded);
    EXPECT_STREQ(WLChangesUUID(first.get(), 0), WLAssetUUID(asset.get()));
    EXPECT_GT(WLChangesDate(first.get(), 0), 0);
    EXPECT_FALSE(WLChangesIsLast(first.get()));
    std::vector<int> kinds;
    std::int64_t number = WLChangesNumber(first.get(), 0);
    auto rest = changesSince(WLChangesToken(first.get()));
    for (std::size_t i = 0; i < WLChangesCount(rest.get()); ++i) {
        kinds.push_back(WLChangesKind(rest.get(), i));
        EXPECT_GT(WLChangesNumber(rest.get(), i), number);
        number = WLChangesNumber(rest.get(), i);
    }
    ASSERT_FALSE(kinds.empty());
    EXPECT_EQ(kinds.back(), WLChangeRemoved);
    EXPECT_TRUE(WLChangesIsLast(rest.get()));
    EXPECT_FALSE(WLChangesIsTooOld(rest.get()));
    EXPECT_EQ(WLChangesUUID(rest.get(), kinds.size()), nullptr);

    WLLibraryClearChanges();
    const auto cleared = changesSince(WLChangesToken(start.get()));
    EXPECT_TRUE(WLChangesIsTooOld(cleared.get()));
    EXPECT_EQ(changesSince("\xff"), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    EXPECT_EQ(WLChangesCount(nullptr) + WLChangesKind(nullptr, 0), 0U);
    EXPECT_TRUE(WLChangesIsLast(nullptr));
}

TEST_F(CLibrary, AwaitsTheNextChange) {
    const auto start = changesSince(nullptr, 0);
    const char *const token = WLChangesToken(start.get());
    const auto await = [&](const char *since) {
        return codeFrom<WLChanges *>([&](const auto &handler) {
            WLChangesAwait(since, 10, 600, handler);
            std::ignore = saveOne();
        });
    };
    EXPECT_EQ(await(token), success);
    EXPECT_EQ(await("\xff"), WLErrorInvalid);
    const auto changes = Ref<WLChanges>::adopt(WLChangesCreateWhenAny(token, 10, 600, &error));
    EXPECT_GT(WLChangesCount(changes.get()), 0U);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(WLChangesCreateWhenAny(token, 0, 1, &error), nullptr) << "a limit of none";
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
}

TEST_F(CLibrary, SharesAlbumsAndTellsOfIt) {
    ASSERT_TRUE(WLStreamAddAlbum("a stream", &error));
    const auto albums = Ref<WLArray>::adopt(WLAlbumsCreate(&error));
    ASSERT_EQ(WLArrayCount(albums.get()), 1U);
    const WLAlbum *album = WLAsAlbum(WLArrayGet(albums.get(), 0));
    EXPECT_STREQ(WLAlbumStreamID(album), "a stream");
    const Ref<WLAsset> asset = saveOne();
    EXPECT_EQ(codeFrom([&](const auto &handler) {
                  WLAlbumAddAssetWithHandler(WLAlbumUUID(album), asset.get(), handler);
              }),
              success);

    const auto bulletins = Ref<WLArray>::adopt(WLBulletinsCreate(&error));
    ASSERT_EQ(WLArrayCount(bulletins.get()), 1U);
    const WLDictionary *bulletin = WLAsDictionary(WLArrayGet(bulletins.get(), 0));
    EXPECT_STREQ(WLStringText(WLAsString(WLDictionaryGet(bulletin, WLBulletinAssetUUID))),
                 WLAssetUUID(asset.get()));
    EXPECT_GT(WLDateSeconds(WLAsDate(WLDictionaryGet(bulletin, WLBulletinDate))), 0);
    const std::uint64_t record = WLNumberUInt64(WLAsNumber(WLDictionaryGet(bulletin, WLBulletinRecordID)));
    const auto thumbnail = Ref<WLData>::adopt(WLBulletinCreateThumbnail(record, &error));
    EXPECT_GT(WLDataLength(thumbnail.get()), 0U);
    EXPECT_EQ(WLBadgeCount(&error), 1);
    WLBulletinsClear(record);
    EXPECT_EQ(WLBadgeCount(&error), 0);
    EXPECT_EQ(error, nullptr);

    const auto feed = Ref<WLFeed>::adopt(WLFeedCreate(&error));
    ASSERT_EQ(WLFeedCount(feed.get()), 1U);
    EXPECT_STREQ(WLFeedAlbumUUID(feed.get(), 0), WLAlbumUUID(album));
    EXPECT_GE(WLFeedStartDate(feed.get(), 0), WLAssetDateAdded(asset.get()));
    EXPECT_EQ(WLFeedEndDate(feed.get(), 0), WLFeedStartDate(feed.get(), 0));
    ASSERT_EQ(WLFeedAssetCount(feed.get(), 0), 1U);
    EXPECT_STREQ(WLFeedAssetUUID(feed.get(), 0, 0), WLAssetUUID(asset.get()));
    EXPECT_EQ(WLFeedAssetUUID(feed.get(), 0, 1), nullptr);
    EXPECT_EQ(WLFeedAssetUUID(feed.get(), 1, 0), nullptr);

    WLAlbumDeleteIfEmpty(album); // which it is not
    WLStreamEnable("another");
    WLStreamEnable(nullptr);
    EXPECT_EQ(WLArrayCount(Ref<WLArray>::adopt(WLAlbumsCreate(&error)).get()), 2U);
    EXPECT_FALSE(WLStreamAddAlbum(nullptr, &error));
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
}

TEST_F(CLibrary, MakesAlbumsWithHandlers) {
    const auto add = [](const char *name) {
        return codeFrom<WLString *>([name](const auto &handler) { WLAlbumAddWithHandler(name, handler); });
    };
    EXPECT_EQ(add("Dunes"), success);
    EXPECT_EQ(add("Dunes"), WLErrorExists);
    EXPECT_EQ(add("\xff"), WLErrorInvalid);
    const auto albums = Ref<WLArray>::adopt(WLAlbumsCreate(&error));
    const WLAlbum *album = WLAsAlbum(WLArrayGet(albums.get(), 0));
    EXPECT_EQ(codeFrom([&](const auto &handler) { WLAlbumAddAssetWithHandler(nullptr, nullptr, handler); }),
              WLErrorInvalid);
    WLAlbumDeleteIfEmpty(album);
    WLAlbumDeleteIfEmpty(nullptr);
    EXPECT_EQ(WLArrayCount(Ref<WLArray>::adopt(WLAlbumsCreate(&error)).get()), 0U);
}

TEST_F(CLibrary, KnowsPeople) {
    const int key = WLEmailAddressKey("ada@example.org", &error);
    EXPECT_GE(key, 0);
    EXPECT_STREQ(WLStringText(WLEmailAddressOfKey(key, &error)), "ada@example.org");
    EXPECT_EQ(WLEmailAddressOfKey(key + 1, &error), nullptr);
    EXPECT_EQ(WLEmailAddressKey(nullptr, &error), -1);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);

    EXPECT_EQ(WLPersonInfoCreate("ada", &error), nullptr);
    EXPECT_EQ(error, nullptr) << "nothing is known of her";
    const auto born = Ref<WLDate>::adopt(WLDateCreate(-1000.5));
    const auto info = Dictionary::createWithKeys({{"name", String::of("Ada")}, {"born", born.get()}});
    WLPersonInfoSet("ada", info.get());
    WLPersonInfoSet(nullptr, info.get());
    const auto known = Ref<WLDictionary>::adopt(WLPersonInfoCreate("ada", &error));
    EXPECT_TRUE(WLIsEqual(known.get(), info.get()));
    EXPECT_EQ(WLPersonInfoCreate("\xff", &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
}

TEST_F(CLibrary, AnalyzesMoments) {
    EXPECT_FALSE(WLMomentListAnalyze(1, &error));
    EXPECT_EQ(WLErrorCode(error), WLErrorNotFound) << "an empty library has none";
    std::ignore = saveOne();
    ASSERT_TRUE(WLMomentsRebuild(false, &error) && WLMomentListsRebuild(&error));
    const auto page = Ref<WLMomentPage>::adopt(WLMomentPageCreate(-HUGE_VAL, HUGE_VAL, false, 1, &error));
    const WLMoment *moment = WLMomentPageGet(page.get(), 0);
    ASSERT_NE(moment, nullptr);
    EXPECT_TRUE(WLMomentAnalyze(moment, &error));
    EXPECT_TRUE(WLMomentListAnalyze(WLMomentListNumber(moment), &error));
    EXPECT_EQ(error, nullptr);
    WLWaitUntilSent();
    EXPECT_TRUE(WLMomentsAnalyze(&error));
    EXPECT_TRUE(WLMomentsAreAnalyzed(&error));
    EXPECT_FALSE(WLMomentAnalyze(nullptr, &error));
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
}

TEST_F(CLibrary, TakesAndDescribesFiles) {
    const Ref<WLURL> url = WLLibraryReserveFile(WLAssetKindPhoto, "PNG", &error);
    ASSERT_TRUE(url);
    const FileBytes picture = pngOf(fourCorners(12, 12));
    const auto data = Ref<WLData>::adopt(WLDataCreate(picture.data(), picture.size()));
    WLLibraryWriteFile(data.get(), url.get());
    ASSERT_TRUE(WLLibraryImportFiles(&error));
    EXPECT_EQ(contentsOf(url->fileSystemPath()), picture);
    EXPECT_EQ(WLLibraryReserveFile(WLAssetKindPhoto, nullptr, &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    for (const char *path : {"", "\xff", "/no/such/file", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(WLVideoMetadataCreate(path, &error), nullptr);
        EXPECT_NE(error, nullptr);
    }
}

TEST_F(CLibrary, GivesPicturesToHandlers) {
    const Ref<WLAsset> asset = saveOne();
    const auto ask = [](WLAsset *asked, int picture) {
        return codeFrom<WLData *>(
            [=](const auto &handler) { WLAssetRequestPicture(asked, picture, handler); });
    };
    EXPECT_EQ(ask(asset.get(), WLPictureSmallJPEG), success);
    EXPECT_EQ(ask(asset.get(), 99), WLErrorInvalid);
    EXPECT_EQ(ask(nullptr, 0), WLErrorInvalid);
}

TEST(Keys, AreTheSameInC) {
    namespace videoKey = protocol::videoKey;
    const std::pair<std::string_view, std::string_view> pairs[] = {
        {WLBulletinType, kBulletinkeyBulletinType->utf8()},
        {WLBulletinRecordID, kBulletinKeyRecordID->utf8()},
        {WLBulletinTitle, kBulletinKeyTitle->utf8()},
        {WLBulletinMessage, kBulletinKeyMessage->utf8()},
        {WLBulletinDate, kBulletinKeyDate->utf8()},
        {WLBulletinExpirationDate, kBulletinKeyExpirationDate->utf8()},
        {WLBulletinAlbumUUID, kBulletinKeyAlbumUUID->utf8()},
        {WLBulletinAssetUUID, kBulletinKeyAssetUUID->utf8()},
        {WLBulletinAssetCount, kBulletinKeyAssetCount->utf8()},
        {WLBulletinDefaultURL, kBulletinKeyDefaultURL->utf8()},
        {WLBulletinHasThumbnail, kBulletinKeyHasThumbnail->utf8()},
        {WLVideoDuration, videoKey::duration},
        {WLVideoWidth, videoKey::width},
        {WLVideoHeight, videoKey::height},
        {WLVideoRotation, videoKey::rotation},
        {WLVideoFrameRate, videoKey::frameRate},
        {WLVideoCodec, videoKey::videoCodec},
        {WLVideoBitRate, videoKey::videoBitRate},
        {WLVideoAudioCodec, videoKey::audioCodec},
        {WLVideoAudioBitRate, videoKey::audioBitRate},
        {WLVideoAudioChannels, videoKey::audioChannels},
        {WLVideoAudioSampleRate, videoKey::audioSampleRate},
        {WLVideoContainer, videoKey::container},
        {WLVideoTrackCount, videoKey::trackCount},
        {WLVideoFileSize, videoKey::fileSize},
        {WLVideoCreationDate, videoKey::creationDate},
        {WLVideoZoneMinutes, videoKey::zoneMinutes},
        {WLVideoLatitude, videoKey::latitude},
        {WLVideoLongitude, videoKey::longitude},
    };
    for (const auto &[c, key] : pairs)
        EXPECT_EQ(c, key);
}

} // namespace
