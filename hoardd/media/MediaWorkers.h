// The media workers of hoardd: foreign pictures are decoded here and nowhere else.
#ifndef HOARDD_MEDIA_MEDIAWORKERS_H
#define HOARDD_MEDIA_MEDIAWORKERS_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "hoardd/media/Fingerprint.h"
#include "hoardd/media/Picture.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

/// What a first look finds. It decodes small pictures only: that it ended well is no promise that the picture
/// can be decoded, unless thumbnails were made of it.
struct FirstLook {
    /// What could be read, even when the look failed: a file that cannot be decoded may well have a date.
    PictureFacts facts;
    QuickThumbnails thumbnails = QuickThumbnails::none;
    Result<> ended{};
};

/// Of an image that was made; in pixels.
struct ImageSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

struct MediaWorkersOptions {
    std::string program;              ///< The worker; empty looks beside this program, then in ../libexec.
    unsigned maxWorkers = 0;          ///< Of each mode; 0: one for each processor, with a limit of 4.
    unsigned requestsPerWorker = 500; ///< Then a worker is replaced, and what it may have leaked with it.
    std::chrono::milliseconds processorTime{5'000}; ///< For one file.
    std::chrono::milliseconds deadline{20'000};     ///< For one file by the clock, should its worker hang.
};

struct MediaWorkersStatus {
    unsigned idle = 0;
    unsigned busy = 0;
    std::uint64_t started = 0;         ///< All workers so far.
    std::vector<int> processes;        ///< The process of each worker.
    bool isConfined = false;           ///< A worker runs, behind a filter of system calls.
    std::uint32_t landlockVersion = 0; ///< Of the second layer; 0 when the kernel has none.
    std::string problem;               ///< Why workers cannot be started; empty when they can.
};

/// Hands pictures to worker processes that hold nothing but the descriptors of one request, under limits of
/// memory and time. Common formats share workers that are started ahead; files whose decoders have a record
/// of faults get a process each. Every call blocks until the work is done, may be made from any thread, and
/// always returns: a file that crashes or stalls its worker costs that one request.
///
/// The kind of a problem says what failed; its text is one printable line.
///   `invalid`      the decoder refuses the file, or crashed twice in a row on it while it does well on
///                  another; or the request makes no sense
///   `failed`       something ended the worker, or it took longer than a file may, or a read failed: no word
///                  about the file
///   `unreachable`  no worker can be started, or none that is confined
///   `notWritable`  the result could not be written
class MediaWorkers {
public:
    explicit MediaWorkers(MediaWorkersOptions options = {});
    MediaWorkers(const MediaWorkers &) = delete;
    MediaWorkers &operator=(const MediaWorkers &) = delete;
    /// No call may be under way.
    ~MediaWorkers();

    /// Reads what a picture says of itself, and makes thumbnails as probe() does when that is the work of a
    /// moment: of a small picture, or of the small preview that many cameras put into the file. Fails when
    /// probe() would at the picture's header.
    [[nodiscard]] FirstLook examine(int picture, std::span<const ThumbnailTarget> thumbnails);

    /// Reads what a picture says of itself and makes up to 4 JPEG thumbnails of it, upright, in sRGB, on
    /// white, all from one decoding. `picture` is a regular file; it stays the caller's, is only read, and
    /// its offset does not matter. On failure the outputs hold nothing of use.
    [[nodiscard]] Result<PictureFacts> probe(int picture, std::span<const ThumbnailTarget> thumbnails);

    /// Reads what a file says that holds metadata alone, for a picture beside it. One that holds none says
    /// nothing.
    [[nodiscard]] Result<PictureFacts> readMetadata(int file);

    /// How a picture looks, made no larger than `maxSide`; nothing of one without features.
    [[nodiscard]] Result<std::optional<Fingerprint>> fingerprint(int picture, std::uint32_t maxSide);

    /// Writes a picture in another format or size, upright, with its own colours and their profile and no
    /// other metadata. `output` is open for writing, at the start of an empty file.
    [[nodiscard]] Result<ImageSize> render(int picture, const ImageSettings &settings, int output);

    /// Writes a surface as an image. The size is the surface's own: `settings.maxSide` must be 0.
    [[nodiscard]] Result<ImageSize> encode(const SurfacePixels &surface, const ImageSettings &settings,
                                           int output);

    /// What decodes pictures here, and in which versions: others may read what these refuse.
    [[nodiscard]] Result<std::string> decoders();

    /// Lets a shared worker try what its confinement must forbid; fails when something got through.
    [[nodiscard]] Result<> testConfinement();

    [[nodiscard]] MediaWorkersStatus status() const;

private:
    struct Pools;
    std::unique_ptr<Pools> pools;
};

} // namespace wickerlane::hoardd

#endif
