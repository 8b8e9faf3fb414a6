// Saving, looking at, sorting and deleting assets, with the real daemon.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>

#include "tests/api/CProgram.h"
#include "tests/api/ProgramOutcome.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/UniqueFd.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

using CSaves = CProgram;

FileBytes bytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

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
        {jobOfFile(missing), WLErrorNotFound, "missing.jpg"},
        {jobOfFile(folder), WLErrorInvalid, "folder"},
        {jobOfFile(empty), WLErrorEmpty, "no data"},
        {jobOfFile(text), WLErrorInvalid, "picture"},
        {jobOfBytes({}), WLErrorEmpty, "no data"},
        {nullptr, WLErrorInvalid, "no job"},
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
    EXPECT_EQ(WLErrorCode(error), WLErrorNotFound);
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
    EXPECT_EQ(failed(WLAlbumAddAsset(unknown, asset.get(), &error)), WLErrorNotFound);
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

TEST_F(CSaves, TakeThePixelsOfASurface) {
    const auto filled = [](std::uint32_t width, std::uint32_t height, std::uint32_t layout) {
        auto surface = Ref<WLSurface>::adopt(WLSurfaceCreate(width, height, layout));
        std::memset(WLSurfaceWritableBytes(surface.get()), 0x80,
                    WLSurfaceBytesPerRow(surface.get()) * height);
        return surface;
    };
    const auto picture = filled(300, 20, WLPixelsBGRA), preview = filled(30, 2, WLPixelsBGRA);
    const auto job = Ref<WLSaveJob>::adopt(WLSaveJobCreateWithSurface(picture.get()));
    WLSaveJobSetPreview(job.get(), preview.get());
    WLSaveJobSetKind(job.get(), WLAssetKindPhoto);
    const WLSavedAsset *saved = WLSaveJobRun(job.get(), &error);
    ASSERT_NE(saved, nullptr) << WLStringText(WLErrorText(error));
    const Ref<WLAsset> asset = assetOf(saved);
    EXPECT_EQ(WLAssetWidth(asset.get()), 300U);
    EXPECT_EQ(WLAssetHeight(asset.get()), 20U);
    EXPECT_EQ(WLSurfaceWritableBytes(picture.get()), nullptr) << "it was sent";
    EXPECT_NE(WLSurfaceBytes(picture.get()), nullptr);

    EXPECT_EQ(WLSurfaceCreate(0, 20, WLPixelsGray), nullptr);
    EXPECT_EQ(WLSurfaceCreate(20, 20, 1), nullptr);
    EXPECT_EQ(WLSaveJobCreateWithSurface(nullptr), nullptr);
}

TEST_F(CSaves, OfABatchEachSucceedOrFailByThemselves) {
    const FileBytes picture = pngOf(fourCorners(8, 8));
    const auto again = jobOfBytes(picture);
    WLSaveJobSetUnlessPresent(again.get(), true);
    const Ref<WLSaveJob> jobs[] = {jobOfBytes(picture), jobOfFile(rootPath() + "/missing.jpg"), again};
    Array *const all = Array::of({jobs[0].get(), jobs[1].get(), jobs[2].get()});
    const auto expectResults = [&](const WLArray *results, bool wasPresent) {
        ASSERT_EQ(WLArrayCount(results), 3U);
        const WLSavedAsset *first = WLSaveResultsGet(results, 0, &error);
        EXPECT_TRUE(assetOf(first));
        EXPECT_EQ(error, nullptr);
        EXPECT_EQ(WLSaveResultsGet(results, 1, &error), nullptr);
        EXPECT_EQ(WLErrorCode(error), WLErrorNotFound);
        EXPECT_NE(WLErrorText(error)->utf8().find("missing.jpg"), std::string_view::npos);
        EXPECT_TRUE(WLSavedAssetWasPresent(WLSaveResultsGet(results, 2, &error)) || !wasPresent);
        EXPECT_EQ(WLSaveResultsGet(results, 3, &error), nullptr);
        EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    };
    expectResults(WLSaveJobsRun(all, &error), false);
    const auto answered = Semaphore::create(0);
    WLSaveJobsRunWithHandler(all, [&](WLArray *results, WLError *reason) {
        EXPECT_EQ(reason, nullptr);
        expectResults(results, true);
        answered->signal();
    });
    answered->wait();

    const std::string file = rootPath() + "/own.png";
    writeFile(file, picture);
    const auto own = jobOfFile(file);
    WLSaveJobSetUnlessPresent(own.get(), true);
    Array *const files = Array::of({own.get(), jobs[1].get(), own.get()});
    WLSaveOpenFilesWithHandler(files, [&](WLArray *results, WLError *) {
        expectResults(results, true);
        answered->signal();
    });
    answered->wait();

    EXPECT_EQ(WLArrayCount(WLSaveJobsRun(Array::of({}), &error)), 0U);
    EXPECT_EQ(error, nullptr);
    const auto surface = Ref<WLSurface>::adopt(WLSurfaceCreate(2, 2, WLPixelsGray));
    const auto withSurface = Ref<WLSaveJob>::adopt(WLSaveJobCreateWithSurface(surface.get()));
    for (WLArray *bad : {static_cast<WLArray *>(nullptr), Array::of({String::of("job")}),
                         Array::of({jobs[0].get(), withSurface.get()})}) {
        EXPECT_EQ(WLSaveJobsRun(bad, &error), nullptr);
        EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    }
    EXPECT_EQ(WLSaveResultsGet(nullptr, 0, nullptr), nullptr);
}

TEST_F(CSaves, NameTheFilesThatBelongToAnAsset) {
    TestExif exif;
    TestRaw raw;
    exif.dateTimeOriginal = raw.dateTimeOriginal = "2020:05:04 03:02:01";
    const std::string second = rootPath() + "/shot.DNG", words = rootPath() + "/shot.xmp";
    writeFile(second, rawOf(raw));
    writeFile(words, bytesOf("words"));
    const auto job = jobOfBytes(jpegOf(fourCorners(40, 30), exif));
    WLSaveJobSetUnlessPresent(job.get(), true);
    for (bool (*const set)(WLSaveJob *, const char *) : {WLSaveJobSetSidecar, WLSaveJobSetCompanion})
        for (const char *path : {"", "\xff", static_cast<const char *>(nullptr)})
            EXPECT_FALSE(set(job.get(), path));
    ASSERT_TRUE(WLSaveJobSetSidecar(job.get(), (words + ".missing").c_str()));
    EXPECT_EQ(WLSaveJobRun(job.get(), &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorNotFound);
    ASSERT_TRUE(WLSaveJobSetSidecar(job.get(), words.c_str()));
    ASSERT_TRUE(WLSaveJobSetCompanion(job.get(), second.c_str()));
    for (const bool isThere : {false, true}) {
        const WLSavedAsset *saved = WLSaveJobRun(job.get(), &error);
        ASSERT_NE(saved, nullptr) << WLStringText(WLErrorText(error));
        EXPECT_EQ(WLSavedAssetWasPresent(saved), isThere);
        EXPECT_EQ(WLSavedAssetCompanionWasSaved(saved), !isThere);
        EXPECT_EQ(WLSavedAssetCompanionWasPresent(saved), isThere);
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        const auto page = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), &error));
        WLAsset *asset = WLAssetPageGet(page.get(), 0);
        const auto companions =
            Ref<WLCompanions>::adopt(WLCompanionsCreate(Array::of({job.get(), asset}), &error));
        ASSERT_EQ(WLCompanionsCount(companions.get()), 1U);
        EXPECT_STREQ(WLCompanionsAssetUUID(companions.get(), 0), WLAssetUUID(asset));
        EXPECT_EQ(contentsOf(WLCompanionsPath(companions.get(), 0)), contentsOf(second));
        EXPECT_STREQ(WLCompanionsOriginalFilename(companions.get(), 0), "shot.DNG");
        EXPECT_NE(WLCompanionsFormat(companions.get(), 0), nullptr);
        EXPECT_EQ(WLCompanionsByteSize(companions.get(), 0), contentsOf(second).size());
        EXPECT_EQ(WLCompanionsPath(companions.get(), 1), nullptr);
    }
    for (const WLArray *assets : {static_cast<WLArray *>(nullptr), Array::of({job.get()})}) {
        EXPECT_EQ(WLCompanionsCreate(assets, &error), nullptr);
        EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    }
}

} // namespace
