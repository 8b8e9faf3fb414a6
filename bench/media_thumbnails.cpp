// What an import does to a photo (metadata, two thumbnails) through one media worker, beside the image
// library doing the thumbnails alone in this process, one decoding a size; and what the first look costs.
//   bench_media_thumbnails [PHOTO.jpg]...      pictures of its own when none is named
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>
#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "bench/Quick.h"
#include "hoardd/media/MediaWorkers.h"
#include "tests/support/TestImages.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace {

using wickerlane::UniqueFd;
using wickerlane::hoardd::MediaWorkers;
using wickerlane::hoardd::ThumbnailTarget;
using wickerlane::test::Bytes;

constexpr std::array<std::uint32_t, 2> sides{256, 1024};

// Slopes and grain, much like a photo's.
wickerlane::test::Pixels photoLike(std::uint32_t width, std::uint32_t height) {
    wickerlane::test::Pixels pixels{width, height, {}};
    std::minstd_rand random(1);
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            const auto wave = static_cast<int>(90 + 60 * std::sin(x / 97.0) * std::cos(y / 61.0));
            const auto part = [&](int base) {
                return static_cast<std::uint8_t>(base + static_cast<int>(random() >> 16) % 12);
            };
            pixels.colours.push_back({part(wave), part(wave / 2 + 40), part(220 - wave)});
        }
    return pixels;
}

UniqueFd memoryFile(const Bytes &contents) {
    UniqueFd file(memfd_create("bench", MFD_CLOEXEC));
    if (write(file.get(), contents.data(), contents.size()) != static_cast<ssize_t>(contents.size()))
        std::abort();
    return file;
}

/// The files of both thumbnails.
class Outputs {
public:
    [[nodiscard]] std::span<const ThumbnailTarget> targets() const { return wanted; }

private:
    std::array<UniqueFd, 2> files{memoryFile({}), memoryFile({})};
    std::array<ThumbnailTarget, 2> wanted{{{sides[0], files[0].get()}, {sides[1], files[1].get()}}};
};

void throughWorker(MediaWorkers &pool, int picture) {
    const Outputs outputs;
    if (!pool.probe(picture, outputs.targets()))
        std::abort();
}

// What there is to show before: the metadata, and thumbnails of the preview in the file.
void lookFirst(MediaWorkers &pool, int picture) {
    const Outputs outputs;
    if (!pool.examine(picture, outputs.targets()).ended)
        std::abort();
}

void withLibrary(const Bytes &picture) {
    for (const std::uint32_t side : sides) {
        VipsImage *image = nullptr;
        void *file = nullptr;
        std::size_t size = 0;
        const int length = static_cast<int>(side);
        if (vips_thumbnail_buffer(const_cast<std::byte *>(picture.data()), picture.size(), &image, length,
                                  "height", length, "size", VIPS_SIZE_DOWN, nullptr) != 0 ||
            vips_jpegsave_buffer(image, &file, &size, "Q", 85, "strip", TRUE, nullptr) != 0)
            std::abort();
        g_object_unref(image);
        g_free(file);
    }
}

double processorMilliseconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// Processor time of this process and the worker together: both sides do one thing at a time, and other work
// on the machine does not blur it.
template <typename Work>
double milliseconds(clockid_t worker, const Work &work) {
    const double start = processorMilliseconds(worker) + processorMilliseconds(CLOCK_PROCESS_CPUTIME_ID);
    work();
    return processorMilliseconds(worker) + processorMilliseconds(CLOCK_PROCESS_CPUTIME_ID) - start;
}

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

void measure(const char *name, const Bytes &picture, MediaWorkers &pool) {
    const UniqueFd file = memoryFile(picture);
    throughWorker(pool, file.get());
    clockid_t clock = CLOCK_PROCESS_CPUTIME_ID;
    if (clock_getcpuclockid(pool.status().processes.at(0), &clock) != 0)
        std::abort();
    std::vector<double> worker;
    std::vector<double> library;
    std::vector<double> look;
    for (int round = 0; round < bench::rounds(15); ++round) { // by turns, so that a busy moment meets all
        worker.push_back(milliseconds(clock, [&] { throughWorker(pool, file.get()); }));
        library.push_back(milliseconds(clock, [&] { withLibrary(picture); }));
        look.push_back(milliseconds(clock, [&] { lookFirst(pool, file.get()); }));
    }
    std::printf("%-34s worker %7.1f ms   library %7.1f ms   ratio %.2f   first look %.2f ms, 1/%.0f\n", name,
                median(worker), median(library), median(worker) / median(library), median(look),
                median(worker) / median(look));
}

} // namespace

int main(int argc, char **argv) {
    if (VIPS_INIT(argv[0]) != 0)
        return 1;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    wickerlane::hoardd::MediaWorkersOptions options;
    options.program = MEDIA_WORKER;
    options.maxWorkers = 1;
    MediaWorkers pool(options);
    for (int index = 1; index < argc; ++index) {
        std::ifstream file(argv[index], std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(file)), {});
        const auto *start = reinterpret_cast<const std::byte *>(text.data());
        const std::string path = argv[index];
        measure(path.substr(path.rfind('/') + 1).c_str(), Bytes(start, start + text.size()), pool);
    }
    if (argc > 1)
        return 0;
    wickerlane::test::TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.preview = jpegOf(photoLike(160, 120), 80);
    measure("JPEG of 12 megapixels, preview", jpegOf(photoLike(4000, 3000), exif), pool);
    measure("JPEG of 12 megapixels", jpegOf(photoLike(4000, 3000), 90), pool);
    measure("progressive JPEG of 12 megapixels", jpegOf(photoLike(4000, 3000), 90, false, true), pool);
    measure("JPEG of 1 megapixel", jpegOf(photoLike(1200, 900), 90), pool);
    measure("PNG of 3 megapixels", pngOf(photoLike(2000, 1500)), pool);
}
