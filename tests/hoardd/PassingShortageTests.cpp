// What the library makes of pictures while something is lacking for a moment, and afterwards.
#include <atomic>
#include <csignal>
#include <functional>

#include "hoardd/analysis/ThumbnailRebuild.h"
#include "hoardd/library/Retry.h"
#include "hoardd/pictures/LateFacts.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/upkeep/Repair.h"
#include "tests/hoardd/OpenLibrary.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class PassingShortage : public OpenLibrary {
protected:
    [[nodiscard]] std::string workerProgram() const override {
        std::string program = rootPath() + "/hoardd-media";
        if (!fs::exists(program))
            fs::create_symlink(MEDIA_WORKER, program);
        return program;
    }
    /// As during an upgrade: those that run end, and no other can be started.
    void takeWorkersAway() const {
        ASSERT_TRUE(library().media().testConfinement()); // the one that is started ahead is there
        fs::remove(workerProgram());
        for (const int process : library().media().status().processes)
            kill(process, SIGKILL);
    }
    [[nodiscard]] std::int64_t number(const std::string &sql) const {
        return library().read([&](sqlite::Database &database) { return database.integer(sql); }).value_or(-1);
    }
    [[nodiscard]] std::int64_t branded() const {
        return number("SELECT count(*) FROM zgenericasset WHERE problem <> ''");
    }
};

TEST_F(PassingShortage, OfWorkersBrandsNoPicture) {
    constexpr std::uint32_t count = 150;
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.latitude = {{48, 51, 30}};
    exif.longitude = {{2, 17, 40}};
    exif.latitudeRef = "N";
    exif.longitudeRef = "E";
    exif.model = "Model 7";
    exif.rating = 3;
    std::vector<SaveJob> jobs;
    for (std::uint32_t i = 0; i < count; ++i)
        jobs.push_back(jobOf(jpegOf(fourCorners(40 + i, 30), exif)));
    const auto dated = Date::createWithUnixSeconds(978'307'200 + 1000);
    jobs.front().dictionary = Dictionary::createWithKeys(
        {{"imageData", jobs.front().dictionary->get("imageData")}, {"creationDate", dated.get()}});
    takeWorkersAway();
    const auto saves = saveAssets(library(), jobs);
    EXPECT_EQ(branded(), 0) << "of " << count;
    EXPECT_EQ(number("SELECT count(*) FROM zduethumbnail WHERE made = 0"), count);

    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset WHERE duedetails = 15"), count);
    ASSERT_TRUE(library().writer().change([](sqlite::Database &database) {
        return database.execute("UPDATE zgenericasset SET rating = 1, duedetails = 13 WHERE pk = 1;");
    }));
    static_cast<void>(workerProgram());
    makeThumbnailsLeftDue(library());
    EXPECT_EQ(number("SELECT count(*) FROM zduethumbnail WHERE made = 0"), 0);
    EXPECT_EQ(branded(), 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        ASSERT_TRUE(saves[i]);
        const AssetRecord now = recordOf(std::string(saves[i]->asset->uuid()->utf8()));
        EXPECT_EQ(now.width, 40 + i);
        EXPECT_EQ(now.thumbnailIndex, 1);
        EXPECT_NEAR(now.latitude.value_or(0), 48.858, 0.001);
        EXPECT_EQ(now.dateCreated, i == 0 ? 1000 : 645'445'230) << i;
        EXPECT_EQ(now.camera, "Model 7");
        EXPECT_EQ(now.rating, now.primaryKey == 1 ? 1 : 3) << "what people have set stays";
    }
    EXPECT_EQ(faults(), "");
}

TEST_F(PassingShortage, LateFactsWaitForWorkers) {
    TestExif exif;
    exif.model = "Model 7";
    const AssetRecord one = saved(jpegOf(fourCorners(16, 16), exif)), two = saved(pngOf(fourCorners(8, 8)));
    ASSERT_TRUE(library().writer().change([](sqlite::Database &database) {
        return database.execute("UPDATE zgenericasset SET camera = '', duedetails = 15;");
    }));
    takeWorkersAway();
    readLateFacts(library());
    const std::int64_t keys[] = {one.primaryKey, two.primaryKey};
    EXPECT_TRUE(readLateFactsOf(library(), keys));
    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset WHERE duedetails = 15"), 2);
    static_cast<void>(workerProgram());
    readLateFacts(library());
    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset WHERE duedetails = 0"), 2);
    EXPECT_EQ(recordOf(one.uuid).camera, "Model 7");
}

TEST_F(PassingShortage, WhatWasRefusedIsTriedAgainByOtherDecodersOrWhenAsked) {
    const std::string present = library().media().decoders().value();
    const auto start = [&] {
        tryUndecodable(library(), Refused::byOthers);
        makeThumbnailsLeftDue(library());
    };
    const auto repair = [&] { static_cast<void>(repairLibrary(library())); };
    const auto rebuild = [&] { static_cast<void>(rebuildThumbnails(library())); };
    const struct {
        const char *what;
        std::optional<std::string> refusedBy; ///< Nothing: an older library doesn't say.
        std::function<void()> asked;
        bool isTried;
    } cases[] = {
        {"a start, after a refusal of old", std::nullopt, start, true},
        {"a start, with other decoders", "older ones", start, true},
        {"a start, with the same decoders", present, start, false},
        {"a repair", present, repair, true},
        {"a rebuild", present, rebuild, true},
    };
    for (const auto &[what, refusedBy, asked, isTried] : cases) {
        SCOPED_TRACE(what);
        const AssetRecord sound = saved(jpegOf(fourCorners(400, 200)));
        const AssetRecord damaged = saved(FileBytes(200, std::byte{7}));
        ASSERT_NE(damaged.problem, "");
        ASSERT_TRUE(library().writer().change([&, &refusedBy = refusedBy](sqlite::Database &database) {
            return database
                .prepare("UPDATE zgenericasset SET problem = 'no', width = 0, height = 0 WHERE pk = ?")
                .bind(sound.primaryKey)
                .run()
                .and_then([&] { return database.execute("DELETE FROM zundecodable"); })
                .and_then([&] {
                    return database
                        .prepare("INSERT INTO zundecodable SELECT pk, ? FROM zgenericasset "
                                 "WHERE problem <> '' AND ? IS NOT NULL")
                        .bind(refusedBy.value_or(""), refusedBy)
                        .run();
                });
        }));
        asked();
        const AssetRecord now = recordOf(sound.uuid);
        EXPECT_EQ(now.problem, isTried ? "" : "no");
        EXPECT_EQ(now.width, isTried ? 400U : 0U);
        EXPECT_EQ(recordOf(damaged.uuid).problem, damaged.problem);
        EXPECT_EQ(number("SELECT count(*) FROM zduethumbnail WHERE made = 0"), 0);
        EXPECT_EQ(number("SELECT count(*) FROM zundecodable WHERE decoders = '" + present + "'"), branded())
            << "who said no is known";
        ASSERT_TRUE(library().writer().remove(sound.uuid));
        ASSERT_TRUE(library().writer().remove(damaged.uuid));
    }
}

TEST_F(PassingShortage, AnEditedPictureDoesNotSpeakForItsOriginal) {
    const AssetRecord damaged = saved(FileBytes(200, std::byte{7}));
    ASSERT_TRUE(setRendition(library(), damaged, *dataOf(pngOf(fourCorners(90, 300))), nullptr));
    tryUndecodable(library(), Refused::byAny);
    makeThumbnailsLeftDue(library());
    EXPECT_EQ(recordOf(damaged.uuid).problem, damaged.problem);
    EXPECT_EQ(recordOf(damaged.uuid).width, 0U);
    EXPECT_EQ(decodedPicture(contentsOf(paths.thumbnail(damaged.uuid, store::ThumbnailSize::small))).height,
              256U);
}

TEST(Retry, AsksOncePerPauseHoweverOftenTheWorkFails) {
    std::atomic<int> asked{0};
    Retry retry(std::chrono::milliseconds(1), std::chrono::milliseconds(4));
    retry.noteFailure(); // whoever asks is not there yet
    retry.whenDue([&] { ++asked; });
    for (int time = 1; time <= 5; ++time) {
        retry.noteFailure();
        ASSERT_TRUE(waitUntil([&] { return asked == time; })) << time;
    }
    retry.stop();
    retry.noteFailure();
    EXPECT_EQ(asked, 5);
}

} // namespace
