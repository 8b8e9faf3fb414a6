// Requests to save assets, and to get them back.
#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <future>

#include "tests/client/OwnClient.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class SaveRequest : public RunningHoardd {
protected:
    /// What the operations 1 and 2 give for an asset.
    FileBytes throughDescriptor(const Dictionary *result) const {
        const auto message = request(1);
        message->setString("assetURL", textIn(result, "assetURL"));
        const UniqueFd file(answer(message.get())->duplicateDescriptor("filedescriptor"));
        EXPECT_EQ(fcntl(file.get(), F_GETFL) & O_ACCMODE, O_RDONLY) << "an original must not be writable";
        return contentsOf("/proc/self/fd/" + std::to_string(file.get()));
    }
    std::string path(const Dictionary *result) const {
        const auto message = request(2);
        message->setString("assetURL", textIn(result, "assetURL"));
        const auto reply = answer(message.get());
        return URL::of(reply->getString("fileURL").value_or("x:"))->fileSystemPath();
    }
    std::uint64_t count(const char *key) const { return answer(request(16).get())->getUInt64(key); }
};

TEST_F(SaveRequest, APictureComesBackUnchangedHoweverItIsRead) {
    ReleaseScope scope;
    TestExif exif;
    exif.orientation = 6;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.offsetTimeOriginal = "+02:00";
    exif.latitude = {{48, 30, 0}};
    exif.longitude = {{9, 0, 0}};
    exif.latitudeRef = "S";
    exif.longitudeRef = "E";
    const FileBytes picture = jpegOf(fourCorners(1500, 900), exif);
    const MutableDictionary *result = saveData(picture);
    ASSERT_EQ(textIn(result, "error"), "");
    EXPECT_EQ(numberIn(result, "assetType"), 0);
    EXPECT_EQ(numberIn(result, "width"), 900) << "upright";
    EXPECT_EQ(numberIn(result, "height"), 1500);
    EXPECT_EQ(numberIn(result, "byteSize"), static_cast<std::int64_t>(picture.size()));
    EXPECT_EQ(result->get<Date>("creationDate")->unixSeconds(), 1623745230.0);
    EXPECT_EQ(textIn(result, "filename"), textIn(result, "uuid") + ".JPG");

    EXPECT_EQ(throughDescriptor(result), picture);
    EXPECT_EQ(contentsOf(path(result)), picture);
    EXPECT_EQ(imageData(result, 0), picture);
    EXPECT_EQ(URL::of(textIn(result, "fileURL"))->fileSystemPath(), path(result));

    const auto store = StoreView::open();
    ASSERT_TRUE(store);
    const auto *asset = store->assetWithURL(URL::of(textIn(result, "assetURL")));
    ASSERT_NE(asset, nullptr);
    EXPECT_EQ(asset->objectID()->uriRepresentation()->absoluteString()->utf8(),
              textIn(result, "objectIDURI"));
    EXPECT_EQ(asset->record().orientation, 6U);
    EXPECT_EQ(asset->record().latitude, -48.5);
    EXPECT_EQ(asset->record().longitude, 9.0);
    EXPECT_EQ(asset->record().format, "image/jpeg");
    struct stat status {};
    ASSERT_EQ(stat(path(result).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0400U);
    EXPECT_EQ(count("photoCount"), 1U);
    EXPECT_EQ(count("videoCount"), 0U);
}

TEST_F(SaveRequest, EveryImageFormatIsUprightAndOfItsSize) {
    ReleaseScope scope;
    // Orientation 6 turns the stored picture clockwise: what was bottom left comes to the top left.
    TestExif turned;
    turned.orientation = 6;
    const MutableDictionary *result = saveData(jpegOf(fourCorners(1500, 900), turned));
    const struct {
        std::uint64_t format;
        std::uint32_t width, height;
        const char *start;
    } cases[] = {
        {1, 154, 256, "\xFF\xD8"}, {2, 614, 1024, "\xFF\xD8"}, {3, 900, 1500, "\xFF\xD8"},
        {4, 900, 1500, "\x89P"},   {5, 900, 1500, "\xFF\xD8"},
    };
    for (const auto &[format, width, height, start] : cases) {
        const FileBytes image = imageData(result, format);
        ASSERT_GT(image.size(), 100U);
        EXPECT_EQ(std::memcmp(image.data(), start, 2), 0) << "format " << format;
        const Pixels pixels = decodedPicture(image);
        EXPECT_EQ(pixels.width, width) << "format " << format;
        EXPECT_EQ(pixels.height, height) << "format " << format;
        ASSERT_GT(pixels.width, 8U);
        EXPECT_NEAR(pixels.at(4, 4).red, cornerYellow.red, 12) << "format " << format;
        EXPECT_NEAR(pixels.at(4, 4).blue, cornerYellow.blue, 12) << "format " << format;
    }
    // A thumbnail that was lost is made again.
    std::filesystem::remove(paths.thumbnail(textIn(result, "uuid"), store::ThumbnailSize::small));
    EXPECT_EQ(decodedPicture(imageData(result, 1)).height, 256U);

    const auto message = request(6);
    const std::string uri = textIn(result, "objectIDURI");
    message->setData("objectID", uri.data(), uri.size());
    message->setUInt64("format", 6);
    EXPECT_EQ(refusal(message.get()), "there is no image format 6");
}

TEST_F(SaveRequest, AFileIsCopiedAndStaysUnlessItWasPutIntoTheLibraryForSaving) {
    ReleaseScope scope;
    const FileBytes picture = pngOf(fourCorners(40, 30));
    const std::string own = store::LibraryPaths().folder() + "-holiday picture.png";
    std::filesystem::create_directories(std::filesystem::path(own).parent_path());
    writeFile(own, picture);
    auto job = MutableDictionary::create();
    job->set("filePath", String::of(own));
    job->set("creationDate", Date::createWithUnixSeconds(86400.5).get());
    const MutableDictionary *result = save(job.get());
    ASSERT_EQ(textIn(result, "error"), "");
    EXPECT_EQ(contentsOf(path(result)), picture);
    EXPECT_EQ(contentsOf(own), picture);
    EXPECT_EQ(result->get<Date>("creationDate")->unixSeconds(), 86400.5);
    const auto store = StoreView::open();
    EXPECT_EQ(store->assetWithUUID(textIn(result, "uuid"))->record().originalFilename,
              "Media-holiday picture.png");

    const auto reserve = request(5);
    reserve->setUInt64("assetType", 0);
    reserve->setString("extension", "png");
    const std::string reserved =
        URL::of(answer(reserve.get())->getString("url").value_or("x:"))->fileSystemPath();
    ASSERT_TRUE(reserved.starts_with(paths.folder() + '/') && reserved.ends_with(".png")) << reserved;
    EXPECT_NE(URL::of(*answer(reserve.get())->getString("url"))->fileSystemPath(), reserved);
    writeFile(reserved, picture);
    job = MutableDictionary::create();
    job->set("filePath", String::of(reserved));
    EXPECT_EQ(contentsOf(path(save(job.get()))), picture);
    EXPECT_FALSE(std::filesystem::exists(reserved));

    for (const char *extension : {"", ".", "j/g", "../x", "p g", "abcdefghijklmnopq", "\xC3\xA9"}) {
        const auto wrong = request(5);
        wrong->setUInt64("assetType", 1);
        wrong->setString("extension", extension);
        EXPECT_EQ(refusal(wrong.get()), "an extension is 1 to 16 letters and digits") << extension;
    }
}

TEST_F(SaveRequest, ASurfaceBecomesAPictureAsItsNameAsks) {
    ReleaseScope scope;
    const auto job = Dictionary::createWithKeys({{"originalFilename", String::of("drawing.png")}});
    const MutableDictionary *lossless = save(job.get(), surfaceOf(300, 200).get());
    ASSERT_EQ(textIn(lossless, "error"), "");
    EXPECT_TRUE(textIn(lossless, "filename").ends_with(".PNG"));
    const Pixels back = decodedPicture(imageData(lossless, 0)), sent = fourCorners(300, 200);
    ASSERT_EQ(back.width, 300U);
    for (const auto &[x, y] : {std::pair{0U, 0U}, {299U, 0U}, {299U, 199U}, {0U, 199U}, {149U, 99U}}) {
        EXPECT_EQ(back.at(x, y).red, sent.at(x, y).red);
        EXPECT_EQ(back.at(x, y).green, sent.at(x, y).green);
        EXPECT_EQ(back.at(x, y).blue, sent.at(x, y).blue);
    }
    const MutableDictionary *lossy = save(nullptr, surfaceOf(300, 200).get());
    EXPECT_TRUE(textIn(lossy, "filename").ends_with(".JPG"));
    EXPECT_EQ(numberIn(lossy, "width"), 300);
}

TEST_F(SaveRequest, WhatCantBeDecodedIsKeptWithTheReason) {
    ReleaseScope scope;
    FileBytes broken = jpegOf(fourCorners(200, 100));
    broken.resize(40);
    const MutableDictionary *result = saveData(broken);
    ASSERT_EQ(textIn(result, "error"), "");
    EXPECT_EQ(numberIn(result, "width"), 0);
    EXPECT_NE(textIn(result, "problem"), "");
    EXPECT_EQ(throughDescriptor(result), broken);
    const auto message = request(6);
    const std::string uri = textIn(result, "objectIDURI");
    message->setData("objectID", uri.data(), uri.size());
    message->setUInt64("format", 1);
    EXPECT_NE(refusal(message.get()), "");

    // A preview that the caller sent stands in.
    FileBytes clip(2000);
    std::memcpy(clip.data(),
                "\0\0\0\x18"
                "ftypisom",
                12);
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(clip).get()}});
    result = save(job.get(), nullptr, surfaceOf(640, 480).get());
    EXPECT_EQ(numberIn(result, "assetType"), 1);
    EXPECT_TRUE(textIn(result, "filename").ends_with(".MP4"));
    EXPECT_EQ(imageData(result, 0), clip);
    EXPECT_EQ(decodedPicture(imageData(result, 1)).width, 256U);
    EXPECT_EQ(decodedPicture(imageData(result, 2)).width, 640U);
    EXPECT_EQ(count("videoCount"), 1U);
}

TEST_F(SaveRequest, AnAssetIsListedWithItsPreviewBeforeItsThumbnailsAreMade) {
    ReleaseScope scope;
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.preview = jpegOf(fourCorners(150, 100));
    const Pixels picture = fourCorners(1500, 1000); // a small one's thumbnails are made at once
    const FileBytes carries = jpegOf(picture, exif);
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(jpegOf(picture)).get()}});
    using What = AssetChange::What;
    for (const MutableDictionary *saved :
         {saveData(carries), save(job.get(), nullptr, surfaceOf(64, 64).get())}) {
        const std::string uuid = textIn(saved, "uuid");
        const auto store = StoreView::open();
        const auto all = store->changes();
        std::vector<What> changes;
        for (const auto &each : all.value())
            if (each.uuid == uuid)
                changes.push_back(each.what);
        EXPECT_EQ(changes, (std::vector{What::added, What::changed}));
        EXPECT_EQ(store->assetWithUUID(uuid)->record().thumbnailIndex, 2) << "the preview's were the first";
        EXPECT_EQ(decodedPicture(contentsOf(paths.thumbnail(uuid, store::ThumbnailSize::small))).width, 256U);
    }
    EXPECT_TRUE(std::filesystem::is_empty(paths.saving()));
}

TEST_F(SaveRequest, WhatOnlyTurnsOutToBeDamagedWhenItIsDecodedIsKeptWithTheReason) {
    ReleaseScope scope;
    FileBytes cut = tiffOf(fourCorners(400, 300));
    cut.resize(300);
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(cut).get()}});
    // The second time its caller shows it, and that is what stays.
    for (const auto &[shown, thumbnailIndex] :
         {std::pair{Ref<ImageSurface>(), 0}, std::pair{surfaceOf(64, 64), 1}}) {
        const MutableDictionary *saved = save(job.get(), nullptr, shown.get());
        EXPECT_NE(textIn(saved, "problem"), "");
        EXPECT_EQ(numberIn(saved, "width"), 0);
        EXPECT_EQ(imageData(saved, 0), cut);
        const auto record = StoreView::open()->assetWithUUID(textIn(saved, "uuid"))->record();
        EXPECT_EQ(record.problem, textIn(saved, "problem"));
        EXPECT_EQ(record.thumbnailIndex, thumbnailIndex);
    }
}

TEST_F(SaveRequest, ARawFileIsKeptAsSuch) {
    ReleaseScope scope;
    const FileBytes file = rawOf({.preview = jpegOf(fourCorners(600, 400))});
    const auto job = Dictionary::createWithKeys(
        {{"imageData", dataOf(file).get()}, {"originalFilename", String::of("_DSC0001.NEF")}});
    const MutableDictionary *saved = save(job.get());
    EXPECT_EQ(textIn(saved, "problem"), "");
    EXPECT_EQ(numberIn(saved, "width"), 3000);
    EXPECT_TRUE(textIn(saved, "filename").ends_with(".NEF"));
    EXPECT_EQ(StoreView::open()->assetWithUUID(textIn(saved, "uuid"))->record().format, "image/x-raw");
    EXPECT_EQ(imageData(saved, 0), file);
}

TEST_F(SaveRequest, AJobWithoutDataIsDistinguishedFromAWrongOne) {
    ReleaseScope scope;
    const std::string empty = rootPath() + "/empty.jpg", pipe = rootPath() + "/pipe";
    writeFile(empty, {});
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const Ref<Data> nothing = dataOf({}), picture = dataOf(pngOf(fourCorners(4, 4)));
    String *number = String::of("1");
    const struct {
        Ref<Dictionary> job;
        bool noData;
        const char *error;
    } cases[] = {
        {nullptr, true, ""},
        {Dictionary::create(), true, ""},
        {Dictionary::createWithKeys({{"imageData", nothing.get()}}), true, ""},
        {Dictionary::createWithKeys({{"filePath", String::of(empty)}}), true, ""},
        {Dictionary::createWithKeys({{"filePath", String::of("picture.jpg")}}), false,
         "not an absolute path"},
        {Dictionary::createWithKeys({{"filePath", String::of("/no/such/file")}}), false, "No such file"},
        {Dictionary::createWithKeys({{"filePath", String::of(rootPath())}}), false, "not a regular file"},
        {Dictionary::createWithKeys({{"filePath", String::of(pipe)}}), false, "not a regular file"},
        {Dictionary::createWithKeys({{"filePath", Number::of(1)}}), false,
         "filePath has a value of the wrong kind"},
        {Dictionary::createWithKeys({{"imageData", number}}), false,
         "imageData has a value of the wrong kind"},
        {Dictionary::createWithKeys({{"imageData", picture.get()}, {"assetType", number}}), false,
         "wrong kind"},
        {Dictionary::createWithKeys({{"imageData", picture.get()}, {"assetType", Number::of(2)}}), false,
         "neither"},
        {Dictionary::createWithKeys({{"imageData", picture.get()}, {"assetType", Number::of(-1)}}), false,
         "neither"},
        {Dictionary::createWithKeys(
             {{"imageData", picture.get()}, {"creationDate", Date::createWithReferenceSeconds(NAN).get()}}),
         false, "out of range"},
    };
    for (const auto &[job, noData, error] : cases) {
        const auto reply = answer(saveRequest(job.get()).get());
        EXPECT_EQ(reply->getBool("noData"), noData) << error;
        const auto *result = JXJobDictionaryFromMsgDictionary(reply->get("resultJobDictionary"));
        ASSERT_EQ(result == nullptr, noData) << error;
        if (result != nullptr) {
            EXPECT_NE(textIn(result, "error").find(error), std::string::npos) << textIn(result, "error");
        }
    }
    EXPECT_EQ(count("photoCount"), 0U);
    EXPECT_TRUE(std::filesystem::is_empty(paths.saving()));
}

TEST_F(SaveRequest, ABatchAnswersEachJobInItsPlace) {
    ReleaseScope scope;
    constexpr std::size_t jobs = 50;
    auto coded = MessageArray::create();
    std::vector<FileBytes> pictures;
    for (std::size_t i = 0; i < jobs; ++i) {
        pictures.push_back(pngOf(fourCorners(static_cast<std::uint32_t>(i) + 2, 5)));
        if (i == 7) {
            coded->append(MessageScalar::createString("not a job").get());
        } else {
            const auto job = i % 10 == 3
                                 ? Dictionary::create()
                                 : Dictionary::createWithKeys({{"imageData", dataOf(pictures[i]).get()}});
            coded->append(
                Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job.get())).get());
        }
    }
    const auto message = request(9);
    message->set("jobDictionaries", coded.get());
    const auto reply = answer(message.get());
    const MessageArray *results = reply->getArray("resultJobDictionaries");
    ASSERT_NE(results, nullptr);
    ASSERT_EQ(results->count(), jobs);
    for (std::size_t i = 0; i < jobs; ++i) {
        const MutableDictionary *result = JXJobDictionaryFromMsgDictionary(results->at(i));
        ASSERT_NE(result, nullptr);
        const bool isRefused = i == 7 || i % 10 == 3;
        EXPECT_EQ(textIn(result, "error"), isRefused ? "the job holds no data" : "") << i;
        if (!isRefused) {
            EXPECT_EQ(numberIn(result, "width"), static_cast<std::int64_t>(i) + 2);
            EXPECT_EQ(imageData(result, 0), pictures[i]) << i;
        }
    }
    EXPECT_EQ(count("photoCount"), jobs - 6);

    message->set("jobDictionaries", MessageArray::create().get());
    EXPECT_EQ(answer(message.get())->getArray("resultJobDictionaries")->count(), 0U);
}

TEST_F(SaveRequest, OpenFilesAreSentInAsManyMessagesAsTheyNeed) {
    ReleaseScope scope;
    const OwnClient client;
    // A path of this process alone, by which the daemon itself finds nothing.
    constexpr int firstDescriptor = 500, count = 20;
    std::vector<UniqueFd> open;
    auto jobs = MutableArray::create();
    for (int i = 0; i < count; ++i) {
        const std::string written = rootPath() + "/picture.png";
        writeFile(written, pngOf(fourCorners(4 + i, 4)));
        const UniqueFd file(::open(written.c_str(), O_RDONLY | O_CLOEXEC));
        open.emplace_back(fcntl(file.get(), F_DUPFD_CLOEXEC, firstDescriptor));
        std::filesystem::remove(written);
        const std::string path = "/proc/self/fd/" + std::to_string(i == 7 ? 400 : open.back().get());
        jobs->append(Dictionary::createWithKeys({{"filePath", String::of(path)}}).get());
    }
    std::promise<std::vector<std::int64_t>> given;
    client->saveOpenFilesWithJobDictionaries(jobs.get(), [&](Array *results, Error *error) {
        EXPECT_EQ(error, nullptr);
        std::vector<std::int64_t> widths;
        for (std::size_t i = 0; results != nullptr && i < results->count(); ++i)
            widths.push_back(numberIn(as<Dictionary>(results->at(i)), "width"));
        given.set_value(widths);
    });
    std::vector<std::int64_t> expected;
    for (int i = 0; i < count; ++i)
        expected.push_back(i == 7 ? -1 : 4 + i);
    EXPECT_EQ(given.get_future().get(), expected);

    std::promise<std::size_t> none;
    client->saveOpenFilesWithJobDictionaries(nullptr, [&](Array *results, Error *) {
        none.set_value(results != nullptr ? results->count() : 99);
    });
    EXPECT_EQ(none.get_future().get(), 0U);
}

TEST_F(SaveRequest, AFullQueueIsReported) {
    ReleaseScope scope;
    describeService({"--idle-seconds", "60", "--max-jobs", "0"});
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(pngOf(fourCorners(4, 4))).get()}});
    const auto reply = answer(saveRequest(job.get()).get());
    EXPECT_TRUE(reply->getBool("jobQueueFull"));
    EXPECT_FALSE(reply->getBool("noData"));
    EXPECT_FALSE(reply->contains("resultJobDictionary"));

    auto coded = MessageArray::create();
    coded->append(Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job.get())).get());
    const auto batch = request(9);
    batch->set("jobDictionaries", coded.get());
    EXPECT_EQ(refusal(batch.get()), "too many jobs are waiting; try again later");
}

TEST_F(SaveRequest, ShortRequestsAreAnsweredWhileALongOneRuns) {
    ReleaseScope scope;
    answer(request(15).get()); // opens the library, and with it the media workers
    const std::vector<pid_t> workers = mediaWorkersOf(daemon().id);
    for (const pid_t worker : workers)
        kill(worker, SIGSTOP); // until they go on, no picture can be examined

    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(jpegOf(fourCorners(64, 64))).get()}});
    std::promise<bool> saved;
    std::future<bool> outcome = saved.get_future();
    connection->sendWithReply(
        saveRequest(job.get()).get(), WorkQueue::global(), [&saved](MessageValue *reply) {
            const auto *dictionary = as<MessageDictionary>(reply);
            saved.set_value(dictionary != nullptr && dictionary->contains("resultJobDictionary"));
        });
    EXPECT_EQ(count("photoCount"), 0U);
    EXPECT_EQ(answer(request(69).get())->getInt64("version"), store::modelVersion());
    EXPECT_EQ(outcome.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    for (const pid_t worker : workers)
        kill(worker, SIGCONT);
    EXPECT_TRUE(outcome.get());
    EXPECT_EQ(count("photoCount"), 1U);
}

} // namespace
