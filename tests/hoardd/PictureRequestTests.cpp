// Requests about edited renditions, thumbnails, and files that callers bring.
#include <filesystem>

#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

using PictureRequest = RunningHoardd;

struct Size {
    std::uint32_t width, height;
    bool operator==(const Size &) const = default;
};

Size sizeOf(const std::string &path) {
    const Pixels picture = decodedPicture(contentsOf(path));
    return {picture.width, picture.height};
}

Ref<MessageDictionary> previewRequest(Ref<MessageDictionary> message, const std::string &assetURL,
                                      const FileBytes &picture) {
    message->setString("assetURL", assetURL);
    message->setData("imageData", picture.data(), picture.size());
    return message;
}

TEST_F(PictureRequest, ARenditionIsKeptBesideTheOriginalAndShown) {
    ReleaseScope scope;
    const FileBytes original = jpegOf(fourCorners(400, 200)), edited = pngOf(fourCorners(90, 300));
    const MutableDictionary *saved = saveData(original);
    const std::string url = textIn(saved, "assetURL"), uuid = textIn(saved, "uuid");
    const auto fileURL = [&](bool adjusted) {
        const auto message = request(2);
        message->setString("assetURL", url);
        if (adjusted)
            message->setBool("withAdjustments", true);
        return URL::of(answer(message.get())->getString("fileURL").value_or(""))->fileSystemPath();
    };
    EXPECT_EQ(fileURL(true), fileURL(false)) << "nothing has been edited yet";

    const auto reply = answer(previewRequest(request(17), url, edited).get());
    EXPECT_TRUE(reply->getBool("success"));
    EXPECT_TRUE(reply->getBool("hasEntitlement"));
    EXPECT_EQ(contentsOf(fileURL(false)), original);
    EXPECT_EQ(contentsOf(fileURL(true)), edited);
    EXPECT_EQ(sizeOf(paths.thumbnail(uuid, store::ThumbnailSize::small)), (Size{77, 256}));

    const auto refused = answer(previewRequest(request(17), url, FileBytes(50, std::byte{1})).get());
    EXPECT_FALSE(refused->getBool("success"));
    EXPECT_TRUE(refused->getBool("hasEntitlement"));
    EXPECT_EQ(contentsOf(fileURL(true)), edited);
}

TEST_F(PictureRequest, ARenditionNeedsTheEntitlement) {
    ReleaseScope scope;
    const MutableDictionary *saved = saveData(pngOf(fourCorners(4, 4)));
    const std::string self = fs::read_symlink("/proc/self/exe");
    const auto mayWrite = [&] {
        const auto message = previewRequest(request(17), textIn(saved, "assetURL"), pngOf(fourCorners(4, 4)));
        return answer(message.get())->getBool("hasEntitlement");
    };
    EXPECT_TRUE(mayWrite()) << "the owner's programs may, unless they are listed";
    // On the living connection.
    ASSERT_TRUE(ConsentStore::shared().setEntitled(self, "org.wickerlane.hoardd.write-assets", false));
    EXPECT_FALSE(mayWrite());
    ASSERT_TRUE(ConsentStore::shared().setEntitled(self, "org.wickerlane.hoardd.write-assets", true));
    EXPECT_TRUE(mayWrite());
}

TEST_F(PictureRequest, ThumbnailsAreMadeAgain) {
    ReleaseScope scope;
    const MutableDictionary *saved = saveData(jpegOf(fourCorners(400, 200)));
    const std::string uuid = textIn(saved, "uuid");
    const std::string small = paths.thumbnail(uuid, store::ThumbnailSize::small);
    const auto update = [&](bool newIndex, bool force) {
        const auto message = request(18);
        JXMsgDictionarySetArray(message.get(), "photoUUIDs",
                                Array::of({String::of("nobody"), Number::of(1), String::of(uuid)}));
        message->setBool("assignNewIndex", newIndex);
        message->setBool("forceRefresh", force);
        message->setBool("waitingForReply", true);
        answer(message.get());
        return StoreView::open()->assetWithUUID(uuid)->record().thumbnailIndex;
    };
    EXPECT_EQ(update(true, false), 1) << "nothing was missing";
    EXPECT_EQ(update(true, true), 2);
    fs::remove(small);
    EXPECT_EQ(update(false, false), 2);
    EXPECT_EQ(sizeOf(small), (Size{256, 128}));

    fs::remove(small);
    const auto download = request(74);
    const std::string uri = textIn(saved, "objectIDURI");
    download->setData("objectID", uri.data(), uri.size());
    for (const char *key : {"requestThumbnail", "shouldPrioritize", "shouldExtendTimer"})
        download->setBool(key, true);
    answer(download.get());
    EXPECT_TRUE(fs::exists(small));
    fs::remove(textIn(saved, "fileURL").substr(7));
    EXPECT_NE(refusal(download.get()).find("no cloud"), std::string::npos);
}

TEST_F(PictureRequest, ThePreviewWellShowsAnAssetOrNone) {
    ReleaseScope scope;
    const MutableDictionary *saved = saveData(jpegOf(fourCorners(400, 200)));
    const auto well = request(19);
    well->setString("objectID", textIn(saved, "objectIDURI"));
    answer(well.get());
    EXPECT_EQ(sizeOf(paths.previewWell()), (Size{256, 128}));
    answer(request(19).get());
    EXPECT_FALSE(fs::exists(paths.previewWell()));
    well->setString("objectID", "x-hoard-store://x/GenericAsset/p1");
    EXPECT_EQ(refusal(well.get()), "there is no such asset");
}

TEST_F(PictureRequest, ARestoreFindsItsPathsInAnyTree) {
    ReleaseScope scope;
    const FileBytes picture = pngOf(fourCorners(40, 20));
    const std::string elsewhere = rootPath() + "/backup.png", uuid = "0000000A-0000-4000-8000-00000000ABCD";
    writeFile(elsewhere, picture);
    const auto restore = [&](const std::string &restored, Object *tree) {
        const auto message = request(21);
        message->setString("assetUUID", restored);
        message->set("assetPaths", createMessageValue(tree).get());
        return refusal(message.get());
    };
    Array *files = Array::of({Number::of(1), String::of("/none"), String::of(elsewhere)});
    const auto nested = Dictionary::createWithKeys({{"files", Array::of({files})}});
    EXPECT_NE(restore("no UUID", nested.get()), "");
    EXPECT_NE(restore(uuid, Array::of({String::of("/none")})).find("can't read /none"), std::string::npos);
    EXPECT_EQ(restore(uuid, nested.get()), "");
    const auto *added = StoreView::open()->assetWithUUID(uuid);
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(contentsOf(paths.original(added->record())), picture);
}

TEST_F(PictureRequest, ABackgroundWriteSaysWhichFileWasNotWritten) {
    ReleaseScope scope;
    answer(request(15).get());
    const auto write = [&](std::string_view url) {
        const auto message = request(24);
        message->setData("dataToSave", "xyz", 3);
        message->setString("destinationURL", url);
        return refusal(message.get());
    };
    const std::string fresh = paths.incoming() + "/fresh.JPG";
    const std::string_view url = URL::ofPath(fresh)->absoluteString()->utf8();
    EXPECT_EQ(write(url), "");
    EXPECT_EQ(contentsOf(fresh).size(), 3U);
    const std::string original = paths.original(
        StoreView::open()->assetWithUUID(textIn(saveData(pngOf(fourCorners(4, 4))), "uuid"))->record());
    EXPECT_EQ(write(URL::ofPath(original)->absoluteString()->utf8()),
              original + " was not written: it is the original of an asset");
    EXPECT_EQ(write("http://host/a"), "destinationURL is no file URL");
}

} // namespace
