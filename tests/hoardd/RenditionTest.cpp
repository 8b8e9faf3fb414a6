// Edited renditions, thumbnails made anew, files that callers bring.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "hoardd/pictures/Renditions.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

using Rendition = RunningHoardd;

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

TEST_F(Rendition, IsKeptBesideTheOriginalAndShown) {
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

    // Twice, as one call of a client sends it.
    for (int time = 0; time < 2; ++time) {
        const auto reply = answer(previewRequest(request(17), url, edited).get());
        EXPECT_TRUE(reply->getBool("success"));
        EXPECT_TRUE(reply->getBool("hasEntitlement"));
        EXPECT_EQ(store::ObjectStore::open()->assetWithUUID(uuid)->record().thumbnailIndex, 2);
    }
    EXPECT_EQ(contentsOf(fileURL(false)), original);
    EXPECT_EQ(contentsOf(fileURL(true)), edited);
    EXPECT_EQ(sizeOf(paths.thumbnail(uuid, store::ThumbnailSize::small)), (Size{77, 256}));

    // What can't be decoded changes nothing.
    const auto refused = answer(previewRequest(request(17), url, FileBytes(50, std::byte{1})).get());
    EXPECT_FALSE(refused->getBool("success"));
    EXPECT_EQ(contentsOf(fileURL(true)), edited);

    const std::string first = fileURL(true);
    EXPECT_TRUE(answer(previewRequest(request(17), url, original).get())->getBool("success"));
    EXPECT_FALSE(fs::exists(first)) << "the earlier rendition goes";
}

TEST_F(Rendition, NeedsTheEntitlement) {
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

TEST_F(Rendition, ThumbnailsAreMadeAnewWhenTheyAreMissingOrDemanded) {
    ReleaseScope scope;
    const MutableDictionary *saved = saveData(jpegOf(fourCorners(400, 200)));
    const std::string uuid = textIn(saved, "uuid");
    const std::string small = paths.thumbnail(uuid, store::ThumbnailSize::small);
    const auto update = [&](bool newIndex, bool force) {
        const auto message = request(18);
        JXMsgDictionarySetArray(message.get(), "photoUUIDs",
                                Array::of({String::of(uuid), String::of("nobody"), Number::of(1)}));
        message->setBool("assignNewIndex", newIndex);
        message->setBool("forceRefresh", force);
        message->setBool("waitingForReply", true);
        answer(message.get());
        return store::ObjectStore::open()->assetWithUUID(uuid)->record().thumbnailIndex;
    };
    const auto identity = [&] {
        struct stat status {};
        stat(small.c_str(), &status);
        return status.st_ino;
    };
    const ino_t before = identity();
    EXPECT_EQ(update(true, false), 1);
    EXPECT_EQ(identity(), before) << "nothing was missing";
    EXPECT_EQ(update(false, true), 1);
    EXPECT_NE(identity(), before);
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

TEST_F(Rendition, ThePreviewWellShowsAnAssetOrNone) {
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

TEST_F(Rendition, RestoredAssetsComeBack) {
    ReleaseScope scope;
    const FileBytes picture = pngOf(fourCorners(40, 20));
    const MutableDictionary *saved = saveData(picture);
    const std::string original = URL::of(textIn(saved, "fileURL"))->fileSystemPath();
    const std::string elsewhere = rootPath() + "/backup.png", other = rootPath() + "/other.png";
    writeFile(elsewhere, picture);
    writeFile(other, pngOf(fourCorners(41, 20)));
    const auto restore = [&](const std::string &uuid, std::initializer_list<Object *> list) {
        const auto message = request(21);
        message->setString("assetUUID", uuid);
        message->set("assetPaths", createMessageValue(Array::of(list)).get());
        return refusal(message.get());
    };
    fs::remove(original);
    EXPECT_NE(restore(textIn(saved, "uuid"), {String::of(other)}).find("another picture"), std::string::npos);
    EXPECT_FALSE(fs::exists(original));
    EXPECT_EQ(restore(textIn(saved, "uuid"), {String::of(other), String::of(elsewhere)}), "");
    EXPECT_EQ(contentsOf(original), picture);

    const std::string unknown = "0000000A-0000-4000-8000-00000000ABCD";
    EXPECT_EQ(restore(unknown, {String::of(other)}), "");
    const auto *added = store::ObjectStore::open()->assetWithUUID(unknown);
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(contentsOf(paths.original(added->record())), contentsOf(other));
    EXPECT_EQ(restore(unknown, {}), "") << "it is there";
    EXPECT_NE(restore("", {String::of(other)}), "");

    // The file lies where it belongs already, and nothing of it is lost on the way.
    const std::string third = "0000000B-0000-4000-8000-00000000ABCD";
    const FileBytes lying = jpegOf(fourCorners(50, 20));
    fs::create_directories(paths.folder() + "/DCIM/00");
    writeFile(paths.folder() + "/DCIM/00/" + third + ".JPG", lying);
    EXPECT_EQ(restore(third, {String::of(paths.folder() + "/DCIM/00/" + third + ".JPG")}), "");
    EXPECT_EQ(contentsOf(paths.original(store::ObjectStore::open()->assetWithUUID(third)->record())), lying);
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

TEST_F(Rendition, BackgroundWritesStayInTheLibraryAndTouchNothing) {
    ReleaseScope scope;
    const MutableDictionary *saved = saveData(pngOf(fourCorners(4, 4)));
    const std::string outside = rootPath() + "/outside";
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, paths.folder() + "/DCIM/link");
    const auto write = [&](const std::string &path) {
        const auto message = request(24);
        message->setData("dataToSave", "xyz", 3);
        message->setString("destinationURL", path.starts_with('/')
                                                 ? std::string(URL::ofPath(path)->absoluteString()->utf8())
                                                 : path);
        return refusal(message.get());
    };
    const std::string fresh = paths.incoming() + "/fresh.JPG";
    EXPECT_EQ(write(fresh), "");
    EXPECT_EQ(contentsOf(fresh).size(), 3U);
    const std::string refused[] = {
        fresh,
        URL::of(textIn(saved, "fileURL"))->fileSystemPath(),
        paths.database(),
        outside + "/a",
        paths.folder() + "/DCIM/link/a",
        paths.folder() + "/DCIM/../PhotoData/a",
        paths.folder() + "/DCIM/nowhere/a",
        paths.incoming() + "/..",
        paths.incoming() + "/",
        "http://host/a",
    };
    for (const std::string &path : refused)
        EXPECT_NE(write(path), "") << path;
    EXPECT_TRUE(fs::is_empty(outside));
    EXPECT_EQ(contentsOf(fresh).size(), 3U);
}

} // namespace
