// The packets between hoardd and a media worker: one request, one answer, over a local packet socket. Both
// ends are built together, so the packets are plain structs. hoardd trusts nothing in an answer; see
// MediaWorkers.cpp.
#ifndef HOARDD_MEDIA_PROTOCOL_H
#define HOARDD_MEDIA_PROTOCOL_H

#include <array>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "hoardd/media/Fingerprint.h"
#include "hoardd/media/Picture.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd::media {

/// The descriptor on which a worker finds its socket.
inline constexpr int workerSocket = 3;

/// Tells two builds of the packets apart.
inline constexpr std::uint32_t protocolVersion = 11;

inline constexpr std::size_t maxThumbnails = 4;
inline constexpr std::size_t maxDescriptors = 1 + maxThumbnails;

/// A worker's first packet, sent once it is confined.
struct Hello {
    std::uint32_t version = protocolVersion;
    std::uint32_t hasSystemCallFilter = 0;
    std::uint32_t landlockVersion = 0; ///< 0: the kernel has none
    PlainText<192> decoders;           ///< See MediaWorkers::decoders().
};

/// What is asked of a worker. Thumbnails and pictures are descriptors, which travel beside it.
struct WorkerRequest {
    enum class Kind : std::uint32_t {
        describe,    ///< Facts in metadata that is a file of its own; descriptor: the file.
        examine,     ///< Facts, and the thumbnails that take a moment; descriptors as for a probe.
        probe,       ///< Facts and thumbnails; descriptors: the picture, then an output a thumbnail.
        fingerprint, ///< How a picture looks, at `settings.maxSide`; descriptor: the picture.
        render,      ///< Another format or size; descriptors: the picture, the output.
        encode,      ///< A surface as an image; descriptors: the memory, the output.
        selfTest,    ///< Tries what confinement must forbid.
    };
    Kind kind = Kind::probe;
    std::uint32_t processorMilliseconds = 0; ///< The worker ends itself when it has used more.
    std::uint32_t thumbnailCount = 0;
    std::array<std::uint32_t, maxThumbnails> thumbnailSides{};
    ImageSettings settings;
    SurfacePixels surface; ///< Its memory is the first descriptor.
};

struct WorkerAnswer {
    MediaFailure failure = MediaFailure::none;
    PlainText<192> reason;
    PictureFacts facts; ///< Of an image that was written, its format and size.
    QuickThumbnails thumbnails = QuickThumbnails::none; ///< Of examining, when they have been written.
    PlainOptional<Fingerprint> fingerprint;
};

/// Sends one packet with descriptors.
[[nodiscard]] Result<> sendPacket(int socket, std::span<const std::byte> packet,
                                  std::span<const int> descriptors);

/// Receives one packet of exactly `packet.size()` bytes and its descriptors, close-on-exec. Fails also at the
/// end of the stream and on a packet of another size.
[[nodiscard]] Result<> receivePacket(int socket, std::span<std::byte> packet,
                                     std::vector<UniqueFd> &descriptors);

template <typename T>
[[nodiscard]] Result<> sendPacket(int socket, const T &packet, std::span<const int> descriptors = {}) {
    static_assert(std::is_trivially_copyable_v<T>);
    return sendPacket(socket, std::as_bytes(std::span(&packet, 1)), descriptors);
}

template <typename T>
[[nodiscard]] Result<> receivePacket(int socket, T &packet, std::vector<UniqueFd> &descriptors) {
    static_assert(std::is_trivially_copyable_v<T>);
    return receivePacket(socket, std::as_writable_bytes(std::span(&packet, 1)), descriptors);
}

} // namespace wickerlane::hoardd::media

#endif
