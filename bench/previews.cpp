// The time until a folder of 12-megapixel photos is all listed with previews, beside the time until their
// thumbnails have been made. One request saves them all; each carries a small preview, as from a camera. No
// listing can be faster than storing the originals, so that is measured as well: copies, synced in batches.
//   bench_previews [PHOTOS]      of each round; 100 when no number is given
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "bench/Quick.h"
#include "tests/support/TestImages.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/JobKeys.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane;

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

const std::string firstDate = "2021:06:15 10:20:30";

test::Bytes cameraPhoto() {
    test::TestExif exif;
    exif.make = exif.model = "Camera";
    exif.dateTimeOriginal = firstDate;
    exif.preview = jpegOf(test::scene(160, 120, 1), 80);
    test::Pixels pixels = test::scene(4000, 3000, 1);
    std::minstd_rand random(1); // grain, as each photo has
    for (auto &pixel : pixels.colours)
        for (std::uint8_t *colour : {&pixel.red, &pixel.green, &pixel.blue})
            *colour =
                static_cast<std::uint8_t>(std::clamp(*colour + static_cast<int>(random() >> 16) % 8, 0, 255));
    return jpegOf(pixels, exif);
}

/// The same picture, taken at another time.
Ref<String> writePhoto(const fs::path &folder, test::Bytes photo, int number) {
    char date[32];
    std::snprintf(date, sizeof date, "2021:06:15 %02d:%02d:%02d", number / 3600 % 24, number / 60 % 60,
                  number % 60);
    const auto isSame = [](std::byte byte, char letter) { return std::to_integer<char>(byte) == letter; };
    const auto found = std::search(photo.begin(), photo.end(), firstDate.begin(), firstDate.end(), isSame);
    if (found == photo.end())
        bench::fail("the photo has no date");
    std::ranges::transform(date, date + firstDate.size(), found, [](char each) { return std::byte(each); });
    const std::string path = folder / (std::to_string(number) + ".JPG");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(photo.data()), static_cast<std::streamsize>(photo.size()));
    return String::create(path);
}

Ref<Array> writeFolder(const fs::path &folder, const test::Bytes &photo, int first, int count) {
    fs::create_directory(folder);
    auto jobs = MutableArray::create();
    for (int number = first; number < first + count; ++number) {
        const auto path = writePhoto(folder, photo, number);
        jobs->append(Dictionary::createWithKeys({{protocol::job::filePath, path.get()}}).get());
    }
    sync(); // what was written here is not to be waited for in what is measured
    return jobs;
}

/// Waits until the library lists that many, each with the file of its small thumbnail.
void waitUntilShown(std::size_t count) {
    auto reader = store::StoreReader::open(store::LibraryPaths());
    const auto listsAll = [&] {
        if (!reader) // there is none before the daemon has made it
            reader = store::StoreReader::open(store::LibraryPaths());
        const auto counts = reader ? (*reader)->counts() : passOn(reader);
        return counts && counts->photos == count;
    };
    while (!listsAll())
        usleep(10'000);
    const ReleaseScope scope;
    const auto page = (*reader)->page({.limit = 10'000});
    const bool areShown =
        page && page->records.size() == count &&
        std::ranges::all_of(page->records, [&](const AssetRecord &each) {
            return each.thumbnailIndex != 0 &&
                   fs::exists((*reader)->paths().thumbnail(each.uuid, store::ThumbnailSize::small));
        });
    if (!areShown)
        bench::fail("a photo is listed without a preview");
}

/// Seconds until copies of all files have been synced, by a few threads, each many at once.
double secondsToStore(const fs::path &photos, const fs::path &folder) {
    constexpr std::size_t filesOfBatch = 16, threads = 3;
    std::vector<fs::path> files;
    for (const auto &each : fs::directory_iterator(photos))
        files.push_back(each.path());
    fs::create_directory(folder);
    const auto start = Clock::now();
    std::atomic<std::size_t> next = 0;
    const auto storeBatches = [&] {
        for (std::size_t first = 0; (first = next.fetch_add(filesOfBatch)) < files.size();) {
            std::vector<UniqueFd> copies;
            for (std::size_t i = first; i < std::min(first + filesOfBatch, files.size()); ++i) {
                const UniqueFd from(open(files[i].c_str(), O_RDONLY | O_CLOEXEC));
                copies.emplace_back(
                    open((folder / files[i].filename()).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
                while (copy_file_range(from.get(), nullptr, copies.back().get(), nullptr, 1 << 30, 0) > 0)
                    ;
            }
            for (const UniqueFd &each : copies)
                if (fsync(each.get()) != 0)
                    bench::fail("a copy can't be stored");
        }
    };
    std::vector<std::thread> running;
    for (std::size_t i = 0; i < threads; ++i)
        running.emplace_back(storeBatches);
    for (std::thread &each : running)
        each.join();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Times {
    double shown = 0;
    double done = 0; ///< Seconds since the request was sent.
};

/// Saves the photos into a library that will then have `total`.
Times save(Array *jobs, std::size_t total) {
    const auto start = Clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    const auto answered = Semaphore::create(0);
    Times times;
    bool isSaved = false;
    JXGatekeeperClient::sharedInstance()->batchSaveAssetsWithJobDictionaries(
        jobs, [&](Array *results, Error *) {
            times.done = passed();
            isSaved = results != nullptr && results->count() == jobs->count();
            answered->signal();
        });
    waitUntilShown(total);
    times.shown = passed();
    answered->wait();
    if (!isSaved)
        bench::fail("not all photos were saved");
    return times;
}

} // namespace

int main(int argc, char **argv) {
    const int count = bench::isQuick() ? 4 : argc > 1 ? std::max(1, std::stoi(argv[1])) : 100;
    std::string folder = fs::temp_directory_path() / "wickerlane-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", folder.c_str(), 1);
    const test::Bytes photo = cameraPhoto();
    int total = 2; // so that the workers have started, and the first look at a picture has been taken
    save(writeFolder(folder + "/first", photo, 0, total).get(), 2);
    for (int round = 0; round < bench::rounds(3); ++round) {
        const std::string photos = folder + "/photos";
        const auto jobs = writeFolder(photos, photo, total, count);
        total += count;
        const Times times = save(jobs.get(), static_cast<std::size_t>(total));
        const double stored = secondsToStore(photos, folder + "/copies");
        std::printf("%d photos of %.1f MB: all listed with previews in %.2f s, all done in %.2f s: 1/%.1f; "
                    "stored alone in %.2f s: 1/%.1f\n",
                    count, static_cast<double>(photo.size()) / 1e6, times.shown, times.done,
                    times.done / times.shown, stored, times.done / stored);
        std::fflush(stdout);
        fs::remove_all(photos);
        fs::remove_all(folder + "/copies");
    }
    // The daemon ends by itself; what it holds open may go.
    fs::remove_all(folder);
}
