// The two files of one shot: which they are, and that one asset keeps both.
#include "hoardd/saving/Companions.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <random>
#include <set>
#include <thread>

#include "hoardd/albums/BulletinStore.h"
#include "hoardd/library/Clock.h"
#include "hoardd/saving/FoundFiles.h"
#include "hoardd/saving/PairRule.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/upkeep/Repair.h"
#include "hoardd/upkeep/RowRepair.h"
#include "hoardd/upkeep/Scrub.h"
#include "hoardd/upkeep/Sizes.h"
#include "tests/hoardd/FileAge.h"
#include "tests/hoardd/FileSum.h"
#include "tests/hoardd/OpenLibrary.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

constexpr const char *ownUUID = "AAAAAAAA-0000-4000-8000-00000000ABCD";
constexpr const char *date = "2021:06:15 10:20:30";

FileBytes shotPicture(std::uint32_t width = 40, const char *taken = date) {
    TestExif exif;
    exif.dateTimeOriginal = taken;
    return jpegOf(fourCorners(width, 30), exif);
}

FileBytes shotRaw(std::uint32_t width = 3000, const char *taken = date) {
    TestRaw raw;
    raw.width = width;
    raw.preview = jpegOf(fourCorners(60, 40));
    raw.dateTimeOriginal = taken;
    return rawOf(raw);
}

PictureFacts factsOf(MediaFormat format, const std::optional<CaptureDate> &taken, double seconds = 0) {
    PictureFacts facts;
    facts.format = format;
    facts.captureDate = taken;
    if (format == MediaFormat::video) {
        VideoFacts video;
        video.seconds = seconds;
        facts.video = video;
    }
    return facts;
}

CaptureDate clockAt(std::int64_t seconds) {
    return {seconds};
}
CaptureDate zonedAt(std::int64_t seconds, int zoneMinutes) {
    return {seconds, 0, PlainOptional<int>(zoneMinutes)};
}
CaptureDate instantAt(std::int64_t seconds) {
    return {seconds, 0, {}, 1};
}

TEST(PairRule, TakesTwoFilesOfOneShotAlone) {
    using enum MediaFormat;
    constexpr std::int64_t noon = 1'600'000'000, hour = 3600;
    const struct {
        const char *what;
        PictureFacts picture, second;
        bool isPair;
    } cases[] = {
        {"the same clock", factsOf(jpeg, clockAt(noon)), factsOf(raw, clockAt(noon)), true},
        {"a second apart", factsOf(heif, clockAt(noon)), factsOf(raw, clockAt(noon + 1)), true},
        {"the next shot", factsOf(jpeg, clockAt(noon)), factsOf(raw, clockAt(noon + 3)), false},
        {"one has a zone", factsOf(jpeg, zonedAt(noon - 2 * hour, 120)), factsOf(raw, clockAt(noon)), true},
        {"no date in the picture", factsOf(jpeg, std::nullopt), factsOf(raw, clockAt(noon)), false},
        {"no date in the raw file", factsOf(jpeg, clockAt(noon)), factsOf(raw, std::nullopt), false},
        {"two pictures", factsOf(jpeg, clockAt(noon)), factsOf(jpeg, clockAt(noon)), false},
        {"a scan", factsOf(jpeg, clockAt(noon)), factsOf(tiff, clockAt(noon)), false},
        {"two raw files", factsOf(raw, clockAt(noon)), factsOf(raw, clockAt(noon)), false},
        {"a screenshot", factsOf(png, clockAt(noon)), factsOf(raw, clockAt(noon)), false},
        {"a moving part", factsOf(heif, zonedAt(noon, 120)), factsOf(video, instantAt(noon - 2), 3), true},
        {"in its zone", factsOf(jpeg, zonedAt(noon, 120)), factsOf(video, zonedAt(noon, 120), 3), true},
        {"a long video", factsOf(jpeg, clockAt(noon)), factsOf(video, clockAt(noon), 10.5), false},
        {"an unknown length", factsOf(jpeg, clockAt(noon)), factsOf(video, clockAt(noon), 0), false},
        {"a later video", factsOf(jpeg, zonedAt(noon, 0)), factsOf(video, instantAt(noon + 11), 3), false},
        {"an unknown zone", factsOf(jpeg, clockAt(noon + 5 * hour + 1800)),
         factsOf(video, instantAt(noon + 3), 3), true},
        {"between two zones", factsOf(jpeg, clockAt(noon + 5 * hour + 400)),
         factsOf(video, instantAt(noon), 3), false},
        {"in no zone", factsOf(jpeg, clockAt(noon + 15 * hour)), factsOf(video, instantAt(noon), 3), false},
    };
    for (const auto &[what, picture, second, isPair] : cases)
        EXPECT_EQ(areOneShot(picture, second), isPair) << what;
}

class Companions : public OpenLibrary {
protected:
    /// A job of two files that lie in a folder of the test's.
    [[nodiscard]] static SaveJob pairJob(const FileBytes &picture, const FileBytes &second,
                                         bool unlessPresent = true, std::string uuid = {}) {
        const std::string one = rootPath() + "/shot.jpg", other = rootPath() + "/shot.DNG";
        writeFile(one, picture);
        writeFile(other, second);
        return {Dictionary::createWithKeys({{"filePath", String::of(one)},
                                            {"companionPath", String::of(other)},
                                            {"unlessPresent", Number::of(unlessPresent)}}),
                nullptr, nullptr, true, std::move(uuid)};
    }
    SavedAsset savePair(const FileBytes &picture, const FileBytes &second, bool unlessPresent = true) const {
        const SaveJob job = pairJob(picture, second, unlessPresent);
        auto results = saveAssets(library(), {&job, 1});
        EXPECT_TRUE(results.front()) << results.front().error().text;
        return *std::move(results.front());
    }
    /// The bytes of an asset's companion; empty when it has none.
    [[nodiscard]] FileBytes companionBytes(const std::string &uuid) const {
        const auto companion = library().writer().companionOf(uuid);
        EXPECT_TRUE(companion);
        return *companion ? contentsOf(store::companionPath(paths, uuid, **companion)) : FileBytes();
    }
    [[nodiscard]] std::uint64_t assetCount() const { return library().assets().counts()->photos; }
    [[nodiscard]] std::uint64_t size(SizeKind kind) const {
        return librarySizes(library())->at(static_cast<std::uint32_t>(kind));
    }
    [[nodiscard]] std::string placeOfRaw(const std::string &uuid) const {
        return store::companionFolder(paths, uuid) + '/' + uuid + ".DNG";
    }
};

TEST_F(Companions, AreSavedWithTheirPicturesAndFoundAgain) {
    const FileBytes picture = shotPicture(), raw = shotRaw();
    const SavedAsset first = savePair(picture, raw);
    EXPECT_EQ(first.companion, CompanionOutcome::wasSaved);
    const AssetRecord record = recordOf(first.asset->record().uuid);
    EXPECT_EQ(record.format, "image/jpeg");
    EXPECT_EQ(contentsOf(paths.original(record)), picture);
    EXPECT_EQ(companionBytes(record.uuid), raw);
    const auto companion = library().writer().companionOf(record.uuid);
    EXPECT_EQ((*companion)->originalFilename, "shot.DNG");
    EXPECT_EQ((*companion)->format, "image/x-raw");
    EXPECT_EQ((*companion)->byteSize, raw.size());
    EXPECT_EQ(fs::status(placeOfRaw(record.uuid)).permissions(), fs::perms::owner_read);
    EXPECT_EQ(size(SizeKind::photos), picture.size() + raw.size());
    EXPECT_EQ(faults(), "");

    const SavedAsset again = savePair(picture, raw);
    EXPECT_TRUE(again.wasPresent);
    EXPECT_EQ(again.companion, CompanionOutcome::wasPresent);
    const SaveJob alone{
        Dictionary::createWithKeys({{"imageData", dataOf(raw).get()}, {"unlessPresent", Number::of(true)}}),
        nullptr, nullptr, true};
    const auto known = saveAssets(library(), {&alone, 1});
    EXPECT_TRUE(known.front()->wasPresent);
    EXPECT_EQ(known.front()->asset->record().uuid, record.uuid);
    EXPECT_EQ(assetCount(), 1U);

    EXPECT_EQ(savePair(picture, raw, false).companion, CompanionOutcome::wasSaved);
    EXPECT_EQ(assetCount(), 2U) << "when both are wanted twice";
    EXPECT_EQ(faults(), "");
}

TEST_F(Companions, StayApartUnlessTheyAreOfOneShot) {
    const FileBytes picture = shotPicture(), raw = shotRaw();
    const struct {
        const char *what;
        FileBytes picture, second;
        CompanionOutcome outcome;
    } cases[] = {
        {"another time", picture, shotRaw(2000, "2021:06:15 10:21:30"), CompanionOutcome::none},
        {"no time", picture, shotRaw(2000, ""), CompanionOutcome::none},
        {"empty", picture, {}, CompanionOutcome::none},
        {"the picture was there", picture, raw, CompanionOutcome::wasSaved},
        {"it has another one", picture, shotRaw(2100), CompanionOutcome::none},
        {"that of another picture", shotPicture(50), raw, CompanionOutcome::none},
        {"the other way round", raw, picture, CompanionOutcome::none},
    };
    ASSERT_NE(saved(picture).uuid, "");
    for (const auto &[what, one, other, outcome] : cases) {
        EXPECT_EQ(savePair(one, other).companion, outcome) << what;
        EXPECT_EQ(faults(), "") << what;
    }
    EXPECT_EQ(assetCount(), 2U);
    const AssetRecord own = saved(shotRaw(2200));
    EXPECT_EQ(savePair(shotPicture(60), shotRaw(2200)).companion, CompanionOutcome::none)
        << "it is an asset of its own";
    EXPECT_EQ(companionBytes(own.uuid), FileBytes());

    const SaveJob missing{Dictionary::createWithKeys({{"imageData", dataOf(shotPicture(70)).get()},
                                                      {"companionPath", String::of("/no/such/file")}}),
                          nullptr, nullptr, true};
    EXPECT_TRUE(saveAssets(library(), {&missing, 1}).front()) << "no fault of the picture";
}

TEST_F(Companions, GoToTheTrashAndAwayWithTheirPictures) {
    const FileBytes picture = shotPicture(), raw = shotRaw();
    const AssetRecord asset = savePair(picture, raw).asset->record();
    const std::string place = placeOfRaw(asset.uuid);
    ASSERT_TRUE(trashAsset(library(), asset));
    EXPECT_EQ(size(SizeKind::photos), 0U);
    EXPECT_GT(size(SizeKind::trash), picture.size() + raw.size());
    EXPECT_EQ(faults(), "") << "it is no stray";
    ASSERT_TRUE(repairLibrary(library()));
    EXPECT_TRUE(fs::exists(place));

    const SavedAsset back = savePair(picture, raw);
    EXPECT_TRUE(back.wasPresent) << "what is saved again comes back";
    EXPECT_EQ(back.companion, CompanionOutcome::wasPresent);
    EXPECT_EQ(companionBytes(asset.uuid), raw);
    EXPECT_EQ(faults(), "");

    ASSERT_TRUE(trashAsset(library(), asset));
    ASSERT_TRUE(removeAsset(library(), asset, AssetPlace::trash));
    EXPECT_FALSE(fs::exists(place));
    EXPECT_EQ(faults(), "");
    EXPECT_EQ(savePair(picture, raw).companion, CompanionOutcome::wasSaved) << "no row is left";
}

// As a kill would leave it after each step.
TEST_F(Companions, AreThereWithTheirPicturesOrNotAtAllAfterAKill) {
    const FileBytes picture = shotPicture(), raw = shotRaw();
    const std::string folder = paths.saving() + '/' + ownUUID + ".JPG", mark = folder + "/companion",
                      original = paths.folder() + "/DCIM/AA/" + ownUUID + ".JPG",
                      found = paths.found() + '/' + ownUUID + ".JPG", place = placeOfRaw(ownUUID);
    const struct {
        const char *what;
        std::vector<std::string> files;
        bool isKept;
    } cases[] = {
        {"staged", {mark}, false},
        {"the companion moved", {mark, place}, false},
        {"both moved", {mark, place, original}, true},
        {"the first recovery was killed", {mark, place, found}, true},
        {"its caller was told that it failed", {mark, folder + "/refused", place, original}, false},
    };
    for (const auto &[what, files, isKept] : cases) {
        fs::create_directory(folder);
        for (const std::string &file : files)
            writeFile(file, file == place ? raw : file == original || file == found ? picture : FileBytes());
        recoverSaves(library());
        saveFilesLeftFound(library());
        EXPECT_EQ(recordOf(ownUUID).uuid, isKept ? ownUUID : "") << what;
        EXPECT_EQ(companionBytes(ownUUID), isKept ? raw : FileBytes()) << what;
        EXPECT_EQ(fs::exists(place), isKept) << what;
        EXPECT_EQ(faults(), "") << what;
        if (isKept) {
            EXPECT_TRUE(removeAsset(library(), recordOf(ownUUID))) << what;
        }
    }
    // One that a lost store knew is no file of the save that brings the picture back.
    fs::create_directory(folder);
    writeFile(folder + "/refused", {});
    writeFile(place, raw);
    writeFile(found, picture);
    recoverSaves(library());
    saveFilesLeftFound(library());
    EXPECT_EQ(companionBytes(ownUUID), raw);
    EXPECT_EQ(faults(), "");
}

TEST_F(Companions, AreAddedToAPictureWholeOrNotAtAll) {
    const AssetRecord asset = saved(shotPicture());
    const std::string note = paths.saving() + '/' + asset.filename + ".adding-companion";
    writeFile(note, {});
    recoverSaves(library());
    EXPECT_EQ(companionBytes(asset.uuid), FileBytes());
    EXPECT_EQ(faults(), "") << "noted";
    writeFile(note, {});
    writeFile(placeOfRaw(asset.uuid), shotRaw());
    EXPECT_EQ(store::checkLibrary(paths)->findings.size(), 0U) << "it is under way";
    recoverSaves(library());
    EXPECT_EQ(companionBytes(asset.uuid), shotRaw());
    EXPECT_EQ(faults(), "") << "moved";
}

TEST_F(Companions, AreCheckedAndStraysComeHome) {
    const AssetRecord lost = savePair(shotPicture(40), shotRaw(3000)).asset->record(),
                      changed = savePair(shotPicture(41), shotRaw(3001)).asset->record(),
                      single = saved(shotPicture(42));
    const std::string words = store::companionFolder(paths, ownUUID) + "/words.txt";
    const FileBytes gone = shotRaw(3002), own = shotRaw(3003);
    fs::remove(placeOfRaw(lost.uuid));
    fs::permissions(placeOfRaw(changed.uuid), fs::perms::owner_all);
    fs::resize_file(placeOfRaw(changed.uuid), 10);
    writeFile(words, FileBytes(30, std::byte{'w'}));
    writeFile(placeOfRaw(ownUUID), gone);
    writeFile(placeOfRaw(single.uuid), own);
    for (const std::string &path : {placeOfRaw(ownUUID), placeOfRaw(single.uuid), words})
        letSettle(path);
    std::multiset<std::string> lines, expected{"missing companion " + placeOfRaw(lost.uuid),
                                               "changed companion " + placeOfRaw(changed.uuid)};
    for (const std::string &stray : {words, placeOfRaw(ownUUID), placeOfRaw(single.uuid)})
        expected.insert("stray file among the companions " + stray);
    const auto found = store::checkLibrary(paths);
    for (const store::Finding &each : found->findings)
        lines.insert(std::string(nameOf(each.kind)) + ' ' + each.path);
    EXPECT_EQ(lines, expected);

    EXPECT_FALSE(repairLibrary(library())) << "two can't be repaired";
    EXPECT_EQ(store::checkLibrary(paths)->findings.size(), 2U) << faults();
    EXPECT_EQ(companionBytes(single.uuid), own);
    EXPECT_EQ(contentsOf(paths.original(recordOf(ownUUID))), gone) << "no asset had it: it is one now";
    EXPECT_TRUE(fs::exists(paths.lostAndFound() + "/words.txt"));
}

// The store is an older copy: the notes know the rest.
TEST_F(Companions, AreReadAgainLikeOriginals) {
    constexpr double day = 86'400, within = 90 * day;
    const double start = secondsNow();
    const AssetRecord shot = savePair(shotPicture(), shotRaw()).asset->record(),
                      single = saved(shotPicture(42));
    const std::string raw = placeOfRaw(shot.uuid);
    const auto scrubAt = [&](double now) { return scrub(library(), within, now)->read; };
    const auto told = [&] {
        const auto all = library().read(
            [&](sqlite::Database &database) { return currentBulletins(database, start + 160 * day); });
        std::int64_t count = 0;
        for (const BulletinRecord &each : *all)
            count += each.photos;
        return count;
    };
    ASSERT_EQ(scrubAt(start), 0U);
    EXPECT_EQ(scrubAt(start + 80 * day), 3U);
    EXPECT_EQ(told(), 0);
    // As a disk does it that forgets.
    const auto flip = [](const std::string &path) {
        const auto written = fs::last_write_time(path);
        fs::permissions(path, fs::perms::owner_all);
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        const int byte = file.peek();
        file.put(static_cast<char>(byte ^ 1));
        file.close();
        fs::last_write_time(path, written);
    };
    flip(raw);
    EXPECT_EQ(scrubAt(start + 160 * day), 3U);
    EXPECT_EQ(faults(), "damaged companion " + raw + '\n');
    EXPECT_EQ(told(), 1);
    // Both files of a shot are one item.
    flip(paths.original(shot));
    ASSERT_TRUE(scrubFaulty(library(), start + 161 * day));
    EXPECT_EQ(scrubAt(start + 240 * day), 3U);
    EXPECT_EQ(faults(), "damaged original " + paths.original(shot) + "\ndamaged companion " + raw + '\n');
    EXPECT_EQ(told(), 1);
    ASSERT_TRUE(trashAsset(library(), shot));
    EXPECT_EQ(told(), 0);
    EXPECT_EQ(faults(), "damaged original " + paths.original(shot) + "\ndamaged companion " + raw + '\n');
    ASSERT_TRUE(restoreFromTrash(library(), shot.uuid));
    EXPECT_EQ(told(), 1);
    flip(raw);
    flip(paths.original(shot));
    ASSERT_TRUE(scrubFaulty(library(), start + 241 * day));
    EXPECT_EQ(faults(), "");
}

TEST_F(Companions, ComeBackWithWhatTheNotesKnow) {
    const FileBytes raw = shotRaw();
    const AssetRecord asset = savePair(shotPicture(), raw).asset->record();
    {
        // Over a connection that notes nothing.
        auto other = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(other->execute("PRAGMA foreign_keys=ON; DELETE FROM zgenericasset;"));
    }
    EXPECT_TRUE(restoreForgottenRows(library()));
    EXPECT_EQ(recordOf(asset.uuid).originalFilename, "shot.jpg");
    EXPECT_EQ((*library().writer().companionOf(asset.uuid))->originalFilename, "shot.DNG");
    EXPECT_EQ(faults(), "");
}

using KilledPairs = RunningHoardd;

TEST_F(KilledPairs, AreWholeAfterAKillAtAnyInstant) {
    const std::uint64_t seed = std::random_device{}();
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    std::mt19937_64 random(seed);
    const std::string one = rootPath() + "/shot.jpg", other = rootPath() + "/shot.dng";
    const FileBytes picture = shotPicture(), raw = shotRaw();
    writeFile(one, picture);
    writeFile(other, raw);
    for (int kill = 0; kill < 12; ++kill) {
        ReleaseScope scope;
        answer(request(15).get());
        const Process process = daemon();
        ASSERT_TRUE(process.handle);
        const auto jobs = MessageArray::create();
        for (int i = 0; i < 12; ++i)
            jobs->append(Ref<MessageDictionary>::adopt(
                             JXJobCreateMsgDictionaryFromDictionary(
                                 Dictionary::createWithKeys(
                                     {{"filePath", String::of(one)}, {"companionPath", String::of(other)}})
                                     .get()))
                             .get());
        const auto message = request(9);
        message->set("jobDictionaries", jobs.get());
        std::promise<void> ended;
        connection->sendWithReply(message.get(), WorkQueue::global(),
                                  [&](MessageValue *) { ended.set_value(); });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 150'000));
        end(process, SIGKILL);
        ended.get_future().wait();
        connection = connect();
        answer(request(28).get());
        store::CheckOptions options;
        options.sumOfFile = [](const std::string &path) { return Result<Sha256>(sumOfFile(path)); };
        const auto report = store::checkLibrary(paths, options);
        ASSERT_TRUE(report) << report.error().text;
        for (const store::Finding &each : report->findings)
            ADD_FAILURE() << nameOf(each.kind) << ' ' << each.path;
        const auto companions = store::readCompanions(paths);
        ASSERT_TRUE(companions);
        EXPECT_EQ(companions->size(), report->assets) << "no half of a pair";
    }
}

} // namespace
