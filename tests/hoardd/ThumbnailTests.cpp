// Thumbnails, edited renditions and the preview well, each by itself.
#include "hoardd/pictures/Thumbnails.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include <functional>

#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/PreviewWell.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ServedImage.h"
#include "hoardd/pictures/SharedSpace.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/upkeep/Repair.h"
#include "tests/hoardd/OpenLibrary.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/RenditionReader.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
using store::ThumbnailSize;
namespace fs = std::filesystem;

namespace {

class Thumbnails : public OpenLibrary {
protected:
    [[nodiscard]] Pixels small(const AssetRecord &asset) const {
        return decodedPicture(contentsOf(paths.thumbnail(asset.uuid, ThumbnailSize::small)));
    }
    /// In an image format.
    [[nodiscard]] FileBytes served(const AssetRecord &asset, std::uint64_t format) const {
        const auto image = imageOf(library(), asset, format);
        EXPECT_TRUE(image) << image.error().text;
        if (!image)
            return {};
        const auto message = MessageDictionary::create();
        message->set("image", image->get());
        const Data *data = JXDataFromMsgDictionary(message.get(), "image");
        return {data->span().begin(), data->span().end()};
    }
    [[nodiscard]] ino_t fileOf(const AssetRecord &asset) const {
        struct stat status {};
        stat(paths.thumbnail(asset.uuid, ThumbnailSize::small).c_str(), &status);
        return status.st_ino;
    }
    void letThemBeDue(const AssetRecord &asset) const {
        ASSERT_TRUE(library().writer().change([&](sqlite::Database &database) {
            return database.prepare("INSERT OR REPLACE INTO zduethumbnail (asset) VALUES (?)")
                .bind(asset.primaryKey)
                .run();
        }));
    }
    [[nodiscard]] std::int64_t rowCount(const std::string &table) const {
        return library()
            .read(
                [&](sqlite::Database &database) { return database.integer("SELECT count(*) FROM " + table); })
            .value_or(-1);
    }
    [[nodiscard]] std::int64_t dueCount() const { return rowCount("zduethumbnail WHERE made = 0"); }
    [[nodiscard]] std::int64_t changeCount() const { return rowCount("zchange"); }
};
using Rendition = Thumbnails;

TEST_F(Thumbnails, AreMadeAgainWhenTheyAreMissingOrForced) {
    AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    EXPECT_EQ(asset.thumbnailIndex, 1);
    const struct {
        const char *what;
        bool isMissing;
        ThumbnailRequest request;
        bool isMade;
        std::int64_t thumbnailIndex;
    } cases[] = {
        {"nothing is missing", false, {}, false, 1},
        {"nothing is missing, so that there is nothing new", false, {.newIndex = true}, false, 1},
        {"missing", true, {}, true, 1},
        {"missing, and caches are to notice", true, {.newIndex = true}, true, 2},
        {"forced", false, {.isForced = true}, true, 2},
        {"forced, and caches are to notice", false, {.isForced = true, .newIndex = true}, true, 3},
    };
    for (const auto &[what, isMissing, request, isMade, thumbnailIndex] : cases) {
        const std::string path = paths.thumbnail(asset.uuid, ThumbnailSize::small);
        // A second name keeps the number of the file from being given again.
        fs::create_hard_link(path, rootPath() + "/" + std::to_string(fileOf(asset)));
        const ino_t before = fileOf(asset);
        if (isMissing)
            fs::remove(path);
        const std::int64_t changes = changeCount();
        EXPECT_TRUE(makeThumbnails(library(), asset, request)) << what;
        EXPECT_EQ(fileOf(asset) != before, isMade) << what;
        fs::remove(rootPath() + "/" + std::to_string(before));
        EXPECT_EQ(small(asset).width, 256U) << what;
        const std::int64_t counted = recordOf(asset.uuid).thumbnailIndex - asset.thumbnailIndex;
        EXPECT_EQ(changeCount() - changes, counted) << what << ": readers hear of new ones only";
        asset = recordOf(asset.uuid);
        EXPECT_EQ(asset.thumbnailIndex, thumbnailIndex) << what;
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(Thumbnails, ThatAreDueAreMadeOnceWithTheReasonWhereThePictureIsDamaged) {
    const AssetRecord plain = saved(jpegOf(fourCorners(400, 200)));
    const AssetRecord damaged = saved(jpegOf(fourCorners(300, 200)));
    const AssetRecord missing = saved(jpegOf(fourCorners(200, 200)));
    const AssetRecord notDue = saved(jpegOf(fourCorners(100, 200)));
    for (const AssetRecord &each : {plain, damaged, missing})
        letThemBeDue(each);
    fs::permissions(paths.original(damaged), fs::perms::owner_all);
    fs::resize_file(paths.original(damaged), 40);
    fs::rename(paths.original(missing), rootPath() + "/away");

    const AssetRecord assets[] = {plain, damaged, missing, notDue};
    const auto results = makeDueThumbnails(library(), assets);
    ASSERT_EQ(results.size(), std::size(assets));
    EXPECT_EQ(results[0]->thumbnailIndex, 2);
    EXPECT_EQ(recordOf(plain.uuid).thumbnailIndex, 2);
    EXPECT_NE(results[1]->problem, "");
    EXPECT_EQ(recordOf(damaged.uuid).problem, results[1]->problem);
    EXPECT_EQ(recordOf(damaged.uuid).width, 0U);
    ASSERT_FALSE(results[2]);
    EXPECT_EQ(results[2].error().kind, ProblemKind::notFound);
    EXPECT_EQ(recordOf(notDue.uuid).thumbnailIndex, 1);
    EXPECT_EQ(dueCount(), 1) << "that of the missing one";

    fs::rename(rootPath() + "/away", paths.original(missing));
    makeThumbnailsLeftDue(library());
    EXPECT_EQ(dueCount(), 0);
    EXPECT_EQ(recordOf(missing.uuid).thumbnailIndex, 2);
    EXPECT_EQ(recordOf(plain.uuid).thumbnailIndex, 2);
}

TEST_F(Thumbnails, AreNotedUntilTheyAreSynced) {
    library().thumbnailSync().stop(); // what it would do after some time is done below
    const AssetRecord atOnce = saved(jpegOf(fourCorners(400, 200))),
                      later = saved(jpegOf(fourCorners(1500, 1000)));
    const auto noted = [&] { return rowCount("zduethumbnail"); };
    EXPECT_EQ(noted(), 2);
    EXPECT_EQ(dueCount(), 0);
    const std::int64_t round = library().thumbnailSync().round();
    ASSERT_TRUE(library().writer().noteSynced(round - 1));
    EXPECT_EQ(noted(), 2) << "of an earlier round";
    ASSERT_TRUE(library().writer().noteLost(round));
    EXPECT_EQ(dueCount(), 2);
    makeThumbnailsLeftDue(library());
    EXPECT_EQ(recordOf(later.uuid).thumbnailIndex, 2);
    // Until it is made again, what an edit lets be due is not taken for synced.
    letThemBeDue(atOnce);
    ASSERT_TRUE(library().writer().noteSynced(round));
    EXPECT_EQ(noted(), 1);
    EXPECT_EQ(dueCount(), 1);
}

TEST_F(Thumbnails, ThatCantBeStoredStayDue) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    letThemBeDue(asset);
    ASSERT_TRUE(library().writer().change([](sqlite::Database &database) {
        return database.execute("CREATE TRIGGER refuse BEFORE UPDATE ON zduethumbnail BEGIN "
                                "SELECT RAISE(ABORT, 'not today'); END");
    }));
    EXPECT_EQ(makeDueThumbnails(library(), std::span(&asset, 1)).front().error().text, "not today");
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 1) << "rolled back";
    EXPECT_EQ(dueCount(), 1);
}

TEST_F(Rendition, ReplacesTheEarlierOneAndItsThumbnails) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    const FileBytes first = pngOf(fourCorners(90, 300)), second = pngOf(fourCorners(300, 90));
    const auto path = [&] { return renditionPath(library(), asset).value(); };
    EXPECT_EQ(path(), "");
    EXPECT_EQ(shownPicturePath(library(), asset).value(), paths.original(asset));
    for (int time = 0; time < 2; ++time) { // twice, as one call of a client sends it
        EXPECT_TRUE(setRendition(library(), asset, *dataOf(first), nullptr));
        EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 2);
    }
    const std::string earlier = path();
    EXPECT_EQ(contentsOf(earlier), first);
    EXPECT_EQ(shownPicturePath(library(), asset).value(), earlier);
    EXPECT_EQ(small(asset).width, 77U);

    const auto undecodable = setRendition(library(), asset, *dataOf(FileBytes(50, std::byte{1})), nullptr);
    ASSERT_FALSE(undecodable);
    EXPECT_EQ(undecodable.error().kind, ProblemKind::invalid);
    EXPECT_EQ(path(), earlier);
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 2);

    EXPECT_TRUE(setRendition(library(), asset, *dataOf(second), nullptr));
    EXPECT_EQ(contentsOf(path()), second);
    EXPECT_FALSE(fs::exists(earlier));
    EXPECT_EQ(small(asset).height, 77U);
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 3);
    EXPECT_EQ(dueCount(), 0);

    // Thumbnails that are made again show the rendition.
    EXPECT_TRUE(makeThumbnails(library(), asset, {.isForced = true}));
    EXPECT_EQ(small(asset).height, 77U);
    EXPECT_EQ(faults(), "");
}

TEST_F(Rendition, OfAnAssetThatHasGoneLeavesNothing) {
    AssetRecord absent;
    absent.uuid = "AAAAAAAA-0000-4000-8000-00000000ABCD";
    const auto set = setRendition(library(), absent, *dataOf(pngOf(fourCorners(4, 4))), nullptr);
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error().kind, ProblemKind::notFound);
    EXPECT_EQ(makeThumbnails(library(), absent, {}).error().kind, ProblemKind::notFound);
    EXPECT_EQ(faults(), "");
}

TEST_F(Rendition, ThatCantBeStoredGoesAgain) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    ASSERT_TRUE(library().writer().change([](sqlite::Database &database) {
        return database.execute("CREATE TRIGGER refuse BEFORE INSERT ON zrendition BEGIN "
                                "SELECT RAISE(ABORT, 'not today'); END");
    }));
    const auto set = setRendition(library(), asset, *dataOf(pngOf(fourCorners(4, 4))), nullptr);
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error().text, "not today");
    EXPECT_EQ(small(asset).height, 128U) << "the thumbnails are the earlier ones";
    EXPECT_EQ(faults(), "");
}

TEST_F(Rendition, IsSetOrRevertedEvenWhenItsThumbnailsAreOnlyMadeLater) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    const struct {
        const char *what;
        std::function<Result<>()> change;
        std::uint32_t width;
    } cases[] = {
        {"set", [&] { return setRendition(library(), asset, *dataOf(pngOf(fourCorners(90, 300))), nullptr); },
         77},
        {"reverted", [&] { return revertRendition(library(), asset); }, 256},
    };
    const auto execute = [&](const char *sql) {
        ASSERT_TRUE(
            library().writer().change([&](sqlite::Database &database) { return database.execute(sql); }));
    };
    for (const auto &[what, change, width] : cases) {
        execute(
            "CREATE TRIGGER refuse BEFORE DELETE ON zduethumbnail BEGIN SELECT RAISE(ABORT, 'not today'); "
            "END");
        EXPECT_TRUE(change()) << what;
        EXPECT_EQ(dueCount(), 1) << what;
        execute("DROP TRIGGER refuse");
        makeThumbnailsLeftDue(library());
        EXPECT_EQ(dueCount(), 0) << what;
        EXPECT_EQ(small(asset).width, width) << what;
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(Rendition, IsWhatEveryFormatShowsUntilItIsReverted) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    EXPECT_EQ(revertRendition(library(), asset).error().kind, ProblemKind::notFound);
    const auto widths = [&] {
        std::vector<std::uint32_t> found;
        for (std::uint64_t format = 0; format <= 4; ++format)
            found.push_back(decodedPicture(served(recordOf(asset.uuid), format)).width);
        return found;
    };
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(90, 300))), nullptr));
    EXPECT_EQ(widths(), (std::vector<std::uint32_t>{400, 77, 90, 90, 90}));
    const std::string path = renditionPath(library(), asset).value();
    EXPECT_TRUE(revertRendition(library(), asset));
    EXPECT_EQ(widths(), (std::vector<std::uint32_t>{400, 256, 400, 400, 400}));
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 3);
    EXPECT_EQ(dueCount(), 0);
    EXPECT_EQ(faults(), "");
}

TEST_F(Rendition, KeepsTheLatestPropertiesOfTheSamePicture) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    for (const char *filter : {"warm", "cold"}) {
        const auto properties = Dictionary::createWithKeys({{"filter", String::of(filter)}});
        ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(90, 300))), properties.get()));
        const auto read = store::readRendition(paths, asset.uuid);
        ASSERT_TRUE(read && *read);
        EXPECT_EQ((*read)->properties()->get<String>("filter")->utf8(), filter);
    }
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 2);
}

TEST_F(Rendition, IsKeptWhenNothingElseShowsTheAsset) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(90, 300))), nullptr));
    fs::remove(paths.original(asset));
    EXPECT_EQ(revertRendition(library(), asset).error().kind, ProblemKind::notFound);
    EXPECT_TRUE(fs::exists(renditionPath(library(), asset).value()));
    EXPECT_EQ(small(asset).width, 77U);
}

TEST_F(Thumbnails, ThePreviewWellNeverShowsAnAssetThatHasGone) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    ASSERT_TRUE(showInPreviewWell(library(), asset));
    // Its thumbnail is another one by now.
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(90, 300))), nullptr));
    ASSERT_TRUE(removeAsset(library(), asset));
    EXPECT_FALSE(fs::exists(paths.previewWell()));
    EXPECT_EQ(showInPreviewWell(library(), asset).error().kind, ProblemKind::notFound);
}

TEST_F(Thumbnails, ThePreviewWellShowsItsAssetAsItIs) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200))),
                      other = saved(jpegOf(fourCorners(300, 200)));
    ASSERT_TRUE(showInPreviewWell(library(), asset));
    const FileBytes edit = pngOf(fourCorners(90, 300)), old(10, std::byte{1});
    const struct {
        const char *what;
        std::function<void()> change;
        bool isDrawnAgain;
    } cases[] = {
        {"edited", [&] { EXPECT_TRUE(setRendition(library(), asset, *dataOf(edit), nullptr)); }, true},
        {"reverted", [&] { EXPECT_TRUE(revertRendition(library(), asset)); }, true},
        {"made again", [&] { EXPECT_TRUE(makeThumbnails(library(), asset, {.isForced = true})); }, true},
        {"due",
         [&] {
             letThemBeDue(asset);
             makeThumbnailsLeftDue(library());
         },
         true},
        {"another is edited", [&] { EXPECT_TRUE(setRendition(library(), other, *dataOf(edit), nullptr)); },
         false},
    };
    for (const auto &[what, change, isDrawnAgain] : cases) {
        writeFile(paths.previewWell(), old);
        change();
        EXPECT_EQ(contentsOf(paths.previewWell()),
                  isDrawnAgain ? contentsOf(paths.thumbnail(asset.uuid, ThumbnailSize::small)) : old)
            << what;
    }
    // What can't be decoded has no thumbnail without its edit.
    const AssetRecord broken = saved(FileBytes(200, std::byte{7}));
    ASSERT_TRUE(setRendition(library(), broken, *dataOf(edit), nullptr));
    ASSERT_TRUE(showInPreviewWell(library(), broken));
    ASSERT_TRUE(revertRendition(library(), broken));
    EXPECT_FALSE(fs::exists(paths.previewWell()));
}

TEST_F(Rendition, ThatIsMissingIsForgottenWithItsThumbnails) {
    const AssetRecord asset = saved(jpegOf(fourCorners(400, 200)));
    ASSERT_TRUE(setRendition(library(), asset, *dataOf(pngOf(fourCorners(90, 300))), nullptr));
    EXPECT_EQ(decodedPicture(served(asset, 5)).width, 90U);
    fs::remove(renditionPath(library(), asset).value());
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(small(asset).width, 256U);
    EXPECT_EQ(decodedPicture(served(asset, 5)).width, 400U);
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 3) << "caches notice";
    EXPECT_EQ(dueCount(), 0);
    EXPECT_EQ(faults(), "");
}

class LargeThumbnail : public Thumbnails {
protected:
    [[nodiscard]] std::string largeOf(const AssetRecord &asset) const {
        return paths.thumbnail(asset.uuid, ThumbnailSize::large);
    }
    /// As it is served.
    [[nodiscard]] Pixels large(const AssetRecord &asset) const {
        return decodedPicture(served(recordOf(asset.uuid), 5));
    }
};

TEST_F(LargeThumbnail, IsMadeOnceForAllWhoAsk) {
    const AssetRecord asset = saved(jpegOf(fourCorners(2500, 1500)));
    EXPECT_FALSE(fs::exists(largeOf(asset)));
    EXPECT_EQ(faults(), "") << "it is not missing";
    const UniqueFd watch(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(inotify_add_watch(watch.get(), paths.saving().c_str(), IN_CREATE), 0);
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; ++i)
        clients.emplace_back([&] {
            const ReleaseScope own;
            const Pixels shown = large(asset);
            EXPECT_EQ(shown.width, 2048U);
            EXPECT_EQ(shown.height, 1229U);
        });
    for (std::thread &each : clients)
        each.join();
    // Each file that is made has another name at first. One event is its fixed part and that name.
    alignas(inotify_event) char events[4096];
    const ssize_t bytes = read(watch.get(), events, sizeof events);
    ASSERT_GT(bytes, 0);
    EXPECT_EQ(static_cast<std::size_t>(bytes),
              sizeof(inotify_event) + reinterpret_cast<const inotify_event *>(events)->len)
        << "made once";
    EXPECT_EQ(recordOf(asset.uuid).thumbnailIndex, 1);
    EXPECT_EQ(faults(), "");

    fs::remove(paths.original(asset));
    EXPECT_EQ(large(asset).width, 2048U) << "it is kept";
}

TEST_F(LargeThumbnail, ShowsTheAssetAsItIs) {
    const AssetRecord asset = saved(jpegOf(fourCorners(2500, 1500)));
    const FileBytes edit = pngOf(fourCorners(300, 2200));
    const struct {
        const char *what;
        std::function<void()> change;
        std::uint32_t width, height;
    } cases[] = {
        {"as it was saved", [] {}, 2048, 1229},
        {"edited", [&] { EXPECT_TRUE(setRendition(library(), asset, *dataOf(edit), nullptr)); }, 279, 2048},
        {"reverted", [&] { EXPECT_TRUE(revertRendition(library(), asset)); }, 2048, 1229},
        {"made again", [&] { EXPECT_TRUE(makeThumbnails(library(), asset, {.isForced = true})); }, 2048,
         1229},
        {"due",
         [&] {
             letThemBeDue(asset);
             makeThumbnailsLeftDue(library());
         },
         2048, 1229},
    };
    for (const auto &[what, change, width, height] : cases) {
        change();
        EXPECT_FALSE(fs::exists(largeOf(asset))) << what;
        const Pixels shown = large(asset);
        EXPECT_EQ(shown.width, width) << what;
        EXPECT_EQ(shown.height, height) << what;
        EXPECT_TRUE(fs::exists(largeOf(asset))) << what;
        EXPECT_EQ(faults(), "") << what;
    }
}

TEST_F(LargeThumbnail, OfASmallPictureIsNoLarger) {
    const AssetRecord asset = saved(jpegOf(fourCorners(300, 200)));
    EXPECT_EQ(large(asset).width, 300U);
    EXPECT_EQ(decodedPicture(contentsOf(largeOf(asset))).width, 300U);
}

TEST_F(LargeThumbnail, GoesWithItsAsset) {
    const AssetRecord asset = saved(jpegOf(fourCorners(2500, 1500)));
    EXPECT_EQ(large(asset).width, 2048U);
    writeFile(largeOf(asset), FileBytes(100, std::byte{1}));
    EXPECT_EQ(faults(), "damaged thumbnail " + largeOf(asset) + '\n');
    EXPECT_TRUE(repairLibrary(library()));
    EXPECT_EQ(faults(), "");
    EXPECT_EQ(large(asset).width, 2048U);
    ASSERT_TRUE(trashAsset(library(), asset));
    EXPECT_EQ(faults(), "") << "in the trash it is no stray";
    ASSERT_TRUE(restoreFromTrash(library(), asset.uuid));
    ASSERT_TRUE(removeAsset(library(), asset));
    EXPECT_FALSE(fs::exists(largeOf(asset)));
}

class SharedPreviews : public Thumbnails {
protected:
    void share(const AssetRecord &asset) const {
        ASSERT_TRUE(library().writer().change([&](sqlite::Database &database) {
            return database
                .execute("INSERT OR IGNORE INTO zalbum (pk, uuid, name, streamid, datecreated) "
                         "VALUES (1, 'u', 'n', 's', 0)")
                .and_then([&] {
                    return database
                        .prepare("INSERT INTO zalbumasset (album, asset, dateadded) VALUES (1, ?, 0)")
                        .bind(asset.primaryKey)
                        .run();
                });
        }));
    }
    [[nodiscard]] std::string previewOf(const AssetRecord &asset) const {
        return paths.thumbnail(asset.uuid, ThumbnailSize::preview);
    }
};

TEST_F(SharedPreviews, GoOnlyWhereTheyCanBeMadeAgain) {
    const auto shown = surfaceOf(300, 200);
    SaveJob undecodable = jobOf(FileBytes(200, std::byte{7}));
    undecodable.preview = shown;
    const auto saves = saveAssets(library(), {&undecodable, 1});
    const AssetRecord onlyPreview = recordOf(std::string(saves.front()->asset->uuid()->utf8()));
    ASSERT_TRUE(fs::exists(previewOf(onlyPreview)));
    const AssetRecord sound = saved(jpegOf(fourCorners(401, 200))),
                      missing = saved(jpegOf(fourCorners(402, 200))),
                      changed = saved(jpegOf(fourCorners(403, 200))),
                      edited = saved(jpegOf(fourCorners(404, 200))),
                      editedMissing = saved(jpegOf(fourCorners(405, 200)));
    for (const AssetRecord &each : {edited, editedMissing})
        ASSERT_TRUE(setRendition(library(), each, *dataOf(pngOf(fourCorners(90, 300))), nullptr));
    fs::remove(paths.original(missing));
    fs::remove(paths.original(edited)); // which it does not show
    fs::remove(renditionPath(library(), editedMissing).value());
    fs::permissions(paths.original(changed), fs::perms::owner_all);
    FileBytes bytes = contentsOf(paths.original(changed));
    bytes[bytes.size() / 2] ^= std::byte{1};
    writeFile(paths.original(changed), bytes);
    const struct {
        const char *what;
        const AssetRecord &asset;
        bool isPurged;
    } cases[] = {
        {"one that can't be decoded", onlyPreview, false},
        {"a sound one", sound, true},
        {"one without original", missing, false},
        {"one with a damaged original", changed, false},
        {"an edited one", edited, true},
        {"one whose edited picture is missing", editedMissing, false},
    };
    for (const auto &each : cases)
        share(each.asset);
    EXPECT_GT(purge(library(), UINT64_MAX).value(), 0U);
    for (const auto &[what, asset, isPurged] : cases)
        EXPECT_EQ(fs::exists(previewOf(asset)), !isPurged) << what;

    EXPECT_EQ(decodedPicture(served(recordOf(sound.uuid), 2)).width, 401U);
    EXPECT_TRUE(fs::exists(previewOf(sound))) << "kept once it has been asked for";
}

TEST_F(SharedPreviews, GoAfterTheLargeOnes) {
    const AssetRecord asset = saved(jpegOf(fourCorners(2500, 1500))),
                      other = saved(jpegOf(fourCorners(2400, 1500))),
                      unshared = saved(jpegOf(fourCorners(2300, 1500)));
    const auto largeOf = [&](const AssetRecord &each) {
        return paths.thumbnail(each.uuid, ThumbnailSize::large);
    };
    for (const AssetRecord &each : {asset, other, unshared})
        EXPECT_EQ(decodedPicture(served(each, 5)).width, 2048U);
    share(asset);
    share(other);
    const std::uint64_t all = purgeableBytes(library()).value();
    std::uint64_t largeBytes = 0;
    for (const AssetRecord &each : {asset, other}) {
        struct stat status {};
        EXPECT_EQ(stat(largeOf(each).c_str(), &status), 0);
        largeBytes += static_cast<std::uint64_t>(status.st_blocks) * 512;
    }
    EXPECT_EQ(purge(library(), largeBytes).value(), largeBytes);
    for (const AssetRecord &each : {asset, other}) {
        EXPECT_FALSE(fs::exists(largeOf(each)));
        EXPECT_TRUE(fs::exists(previewOf(each)));
    }
    EXPECT_TRUE(fs::exists(largeOf(unshared)));
    EXPECT_EQ(purgeableBytes(library()).value(), all - largeBytes);
    EXPECT_EQ(decodedPicture(served(asset, 5)).width, 2048U) << "made again when it is asked for";
}

TEST_F(Thumbnails, ThePreviewWellShowsOneAssetOrNone) {
    const AssetRecord one = saved(jpegOf(fourCorners(400, 200))),
                      other = saved(jpegOf(fourCorners(200, 400)));
    EXPECT_FALSE(isInPreviewWell(library(), one));
    EXPECT_TRUE(showInPreviewWell(library(), one));
    EXPECT_TRUE(isInPreviewWell(library(), one));
    EXPECT_FALSE(isInPreviewWell(library(), other));
    EXPECT_TRUE(showInPreviewWell(library(), other));
    EXPECT_FALSE(isInPreviewWell(library(), one));
    EXPECT_EQ(decodedPicture(contentsOf(paths.previewWell())).height, 256U);
    EXPECT_TRUE(clearPreviewWell(library()));
    EXPECT_FALSE(isInPreviewWell(library(), other));
    EXPECT_TRUE(clearPreviewWell(library())) << "it is empty already";
}

} // namespace
