// Saving, looking at, sorting and deleting assets, with the real daemon.
#include <filesystem>
#include <fstream>

#include "tests/api/ProgramOutcome.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/UniqueFd.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class CSaves : public RunningHoardd {
protected:
    static Ref<WLSaveJob> jobOfFile(const std::string &path) {
        return Ref<WLSaveJob>::adopt(WLSaveJobCreateWithFile(path.c_str()));
    }
    static Ref<WLSaveJob> jobOfBytes(const FileBytes &bytes) {
        const auto data = Ref<WLData>::adopt(WLDataCreate(bytes.data(), bytes.size()));
        return Ref<WLSaveJob>::adopt(WLSaveJobCreateWithData(data.get()));
    }
    /// The one asset of that identity, or of the album; null when there is none.
    static Ref<WLAsset> assetOf(const WLSavedAsset *saved, const char *album = nullptr) {
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        WLAssetQuerySetIdentity(query.get(), WLStringText(WLSavedAssetUUID(saved)));
        WLAssetQuerySetAlbum(query.get(), album);
        const auto page = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), nullptr));
        return WLAssetPageGet(page.get(), 0);
    }

    WLError *error = nullptr;
    ReleaseScope scope;
};

TEST_F(CSaves, SaveFilesAndBytes) {
    const FileBytes picture = pngOf(fourCorners(12, 8));
    const fs::path path = fs::path(rootPath()) / "picture.png";
    writeFile(path, picture);
    const auto job = jobOfFile(fs::relative(path));
    WLSaveJobSetUnlessPresent(job.get(), true);
    const WLSavedAsset *saved = WLSaveJobRun(job.get(), &error);
    ASSERT_NE(saved, nullptr);
    EXPECT_EQ(error, nullptr);
    EXPECT_FALSE(WLSavedAssetWasPresent(saved));
    EXPECT_EQ(WLSavedAssetProblem(saved), nullptr);
    const Ref<WLAsset> asset = assetOf(saved);
    ASSERT_TRUE(asset);
    EXPECT_STREQ(WLAssetOriginalFilename(asset.get()), "picture.png");
    EXPECT_TRUE(WLIsEqual(WLAssetURL(asset.get()), WLSavedAssetURL(saved)));

    const WLSavedAsset *again = WLSaveJobRun(job.get(), &error);
    EXPECT_TRUE(WLSavedAssetWasPresent(again));
    EXPECT_TRUE(WLIsEqual(WLSavedAssetUUID(again), WLSavedAssetUUID(saved)));

    const auto bytes = jobOfBytes(picture);
    EXPECT_TRUE(WLSaveJobSetOriginalFilename(bytes.get(), "named.png"));
    EXPECT_FALSE(WLSaveJobSetOriginalFilename(bytes.get(), "\xff"));
    WLSaveJobSetDateCreated(bytes.get(), 86400.5);
    const WLSavedAsset *copy = WLSaveJobRun(bytes.get(), nullptr);
    EXPECT_FALSE(WLSavedAssetWasPresent(copy));
    const Ref<WLAsset> other = assetOf(copy);
    EXPECT_STREQ(WLAssetOriginalFilename(other.get()), "named.png");
    EXPECT_EQ(WLAssetDateCreated(other.get()), 86400.5);
    EXPECT_FALSE(WLIsEqual(other.get(), asset.get()));
}

TEST_F(CSaves, SayWhyNothingWasSaved) {
    const std::string folder = rootPath() + "/folder", missing = rootPath() + "/missing.jpg",
                      empty = rootPath() + "/empty.jpg", text = rootPath() + "/text.txt";
    fs::create_directories(folder);
    writeFile(empty, {});
    std::ofstream(text) << "no picture";
    const struct {
        Ref<WLSaveJob> job;
        std::int64_t code;
        std::string says;
    } cases[] = {
        {jobOfFile(missing), WLErrorFailed, "missing.jpg"}, {jobOfFile(folder), WLErrorFailed, "folder"},
        {jobOfFile(empty), WLErrorEmpty, "no data"},        {jobOfFile(text), WLErrorFailed, "picture"},
        {jobOfBytes({}), WLErrorEmpty, "no data"},          {nullptr, WLErrorInvalid, "no job"},
    };
    for (const auto &[job, code, says] : cases) {
        EXPECT_EQ(WLSaveJobRun(job.get(), &error), nullptr) << says;
        EXPECT_EQ(WLErrorCode(error), code) << says;
        EXPECT_EQ(WLLastError(), error);
        const std::string reason = error != nullptr ? WLStringText(WLErrorText(error)) : "";
        EXPECT_NE(reason.find(says), std::string::npos) << reason;
    }
    for (const char *path : {"", "\xff", static_cast<const char *>(nullptr)})
        EXPECT_EQ(WLSaveJobCreateWithFile(path), nullptr);
    EXPECT_EQ(WLSaveJobCreateWithData(nullptr), nullptr);
}

TEST_F(CSaves, AreMadeByAProgramInC) {
    const std::string good = rootPath() + "/good.png", empty = rootPath() + "/empty.jpg",
                      missing = rootPath() + "/missing.jpg";
    writeFile(good, pngOf(fourCorners(8, 8)));
    writeFile(empty, {});
    const auto saved = outcomeOf(SAVE_EXAMPLE " " + good);
    EXPECT_EQ(saved.second, 0) << saved.first;
    EXPECT_EQ(saved.first.substr(36), " " + good + "\n");
    EXPECT_EQ(outcomeOf(SAVE_EXAMPLE " " + good), saved) << "no copy";
    for (const std::string &bad : {empty, missing, rootPath()}) {
        const auto [text, status] = outcomeOf(SAVE_EXAMPLE " " + bad + " " + good);
        EXPECT_EQ(status, 1);
        EXPECT_TRUE(text.starts_with(bad + ": ")) << text;
        EXPECT_TRUE(text.ends_with(saved.first)) << "the others are saved: " << text;
    }
    EXPECT_EQ(outcomeOf(SAVE_EXAMPLE).second, 1);
}

TEST_F(CSaves, GiveOriginalsAndPicturesUntilTheAssetIsDeleted) {
    const FileBytes picture = jpegOf(scene(800, 600, 1));
    const Ref<WLAsset> asset = assetOf(WLSaveJobRun(jobOfBytes(picture).get(), nullptr));
    ASSERT_TRUE(asset);
    const UniqueFd original(WLAssetOpenOriginal(asset.get(), &error));
    ASSERT_TRUE(original);
    EXPECT_EQ(contentsOf("/proc/self/fd/" + std::to_string(original.get())), picture);

    const auto pictureOf = [&](int kind) {
        const auto data = Ref<WLData>::adopt(WLAssetCreatePicture(asset.get(), kind, &error));
        const auto *bytes = static_cast<const std::byte *>(WLDataBytes(data.get()));
        return FileBytes(bytes, bytes + WLDataLength(data.get()));
    };
    EXPECT_EQ(pictureOf(WLPictureOriginal), picture);
    const std::pair<int, std::uint32_t> widths[] = {
        {WLPictureSmallJPEG, 256}, {WLPictureLargeJPEG, 800}, {WLPictureFullPNG, 800}};
    for (const auto &[kind, width] : widths)
        EXPECT_EQ(decodedPicture(pictureOf(kind)).width, width) << kind;
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(WLAssetCreatePicture(asset.get(), 99, &error), nullptr);
    EXPECT_NE(error, nullptr);

    EXPECT_TRUE(WLAssetDelete(asset.get(), &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(WLAssetOpenOriginal(asset.get(), &error), -1);
    EXPECT_EQ(WLErrorCode(error), WLErrorNotFound);
    EXPECT_EQ(WLAssetCreatePicture(asset.get(), WLPictureSmallJPEG, &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorNotFound);
    EXPECT_FALSE(WLAssetDelete(asset.get(), &error));
    EXPECT_EQ(WLErrorCode(error), WLErrorFailed) << "hoardd does not say why";
}

TEST_F(CSaves, SortAssetsIntoAlbums) {
    const WLSavedAsset *saved = WLSaveJobRun(jobOfBytes(pngOf(fourCorners(9, 8))).get(), nullptr);
    const Ref<WLAsset> asset = assetOf(saved);
    WLString *const added = WLAlbumAdd("Dunes", &error);
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(error, nullptr);
    const char *uuid = WLStringText(added);
    const auto album = [] {
        const auto albums = Ref<WLArray>::adopt(WLAlbumsCreate(nullptr));
        EXPECT_EQ(WLArrayCount(albums.get()), 1U);
        return Ref(WLAsAlbum(WLArrayGet(albums.get(), 0)));
    };
    EXPECT_STREQ(WLAlbumUUID(album().get()), uuid);

    for (int time = 0; time < 2; ++time)
        EXPECT_TRUE(WLAlbumAddAsset(uuid, asset.get(), &error)) << "again is no failure";
    EXPECT_TRUE(assetOf(saved, uuid));
    EXPECT_EQ(WLAlbumAssetCount(album().get()), 1U);
    EXPECT_TRUE(WLAlbumRemoveAssets(uuid, Array::of({asset.get()}), &error));
    EXPECT_FALSE(assetOf(saved, uuid));

    EXPECT_TRUE(WLAlbumRename(uuid, "Sea", &error));
    EXPECT_STREQ(WLAlbumName(album().get()), "Sea");

    const char *unknown = "00000000-0000-4000-8000-000000000000";
    const auto failed = [&](bool succeeded) { return succeeded ? -1 : WLErrorCode(error); };
    EXPECT_EQ(failed(WLAlbumAdd("Sea", &error) != nullptr), WLErrorExists);
    EXPECT_EQ(failed(WLAlbumAdd("\xff", &error) != nullptr), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumAdd(nullptr, &error) != nullptr), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumRename(unknown, "Sky", &error)), WLErrorNotFound);
    EXPECT_EQ(failed(WLAlbumRename(uuid, "\xff", &error)), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumRename(nullptr, "Sky", &error)), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumAddAsset(unknown, asset.get(), &error)), WLErrorFailed);
    EXPECT_EQ(failed(WLAlbumAddAsset(nullptr, asset.get(), &error)), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumAddAsset(uuid, nullptr, &error)), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumRemoveAssets(uuid, nullptr, &error)), WLErrorInvalid);
    EXPECT_EQ(failed(WLAlbumDelete(unknown, &error)), WLErrorNotFound);
    EXPECT_EQ(failed(WLAlbumDelete(nullptr, &error)), WLErrorInvalid);

    EXPECT_TRUE(WLAlbumDelete(uuid, &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_TRUE(assetOf(saved));
    EXPECT_EQ(WLArrayCount(Ref<WLArray>::adopt(WLAlbumsCreate(nullptr)).get()), 0U);
}

} // namespace
