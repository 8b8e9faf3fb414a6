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

#include "hoardd/media/Picture.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd::media {

/// The descriptor on which a worker finds its socket.
inline constexpr int workerSocket = 3;

/// Tells two builds of the packets apart.
inline constexpr std::uint32_t protocolVersion = 4;

inline constexpr std::size_t mostThumbnails = 4;
inline constexpr std::size_t mostDescriptors = 1 + mostThumbnails;

/// A worker's first packet, sent once it is confined.
struct Hello {
    std::uint32_t version = protocolVersion;
    std::uint32_t hasSystemCallFilter = 0;
    std::uint32_t landlockVersion = 0; ///< 0: the kernel has none
};

enum class RequestKind : std::uint32_t {
    examine,     ///< facts, and thumbnails of the preview in the file; descriptors as for a probe
    probe,       ///< facts and thumbnails; descriptors: the picture, then an output a thumbnail
    fingerprint, ///< how a picture looks; descriptor: the picture
    render,      ///< another format or size; descriptors: the picture, the output
    encode,      ///< a surface as an image; descriptors: the memory, the output
    selfTest,    ///< tries what confinement must forbid
};

struct Request {
    RequestKind kind = RequestKind::probe;
    std::uint32_t processorMilliseconds = 0; ///< the worker ends itself when it has used more
    std::uint32_t thumbnailCount = 0;
    std::array<std::uint32_t, mostThumbnails> thumbnailSides{};
    MediaFormat format = MediaFormat::unknown;
    std::uint32_t maxSide = 0;
    std::uint32_t quality = 0;
    SurfaceFormat surfaceFormat = SurfaceFormat::bgra;
    std::uint32_t surfaceWidth = 0;
    std::uint32_t surfaceHeight = 0;
    std::uint64_t surfaceBytesPerRow = 0;
};

struct Answer {
    MediaFailure failure = MediaFailure::none;
    MediaFormat format = MediaFormat::unknown;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t orientation = 1;
    std::uint32_t hasDate = 0;
    std::uint32_t hasZone = 0;
    std::uint32_t hasPlace = 0;
    std::int64_t dateSeconds = 0;
    std::uint32_t dateNanoseconds = 0;
    std::int32_t zoneMinutes = 0;
    double latitude = 0;
    double longitude = 0;
    std::array<char, 64> cameraMake{}; ///< ends with a zero, as all texts here do
    std::array<char, 64> cameraModel{};
    std::array<char, 192> reason{};
    std::uint32_t isVideo = 0;
    std::uint32_t rotation = 0;
    std::uint32_t trackCount = 0;
    std::uint32_t audioChannels = 0;
    std::uint32_t audioSampleRate = 0;
    double seconds = 0;
    double frameRate = 0;
    std::uint64_t videoBitRate = 0;
    std::uint64_t audioBitRate = 0;
    std::array<char, 64> container{};
    std::array<char, 32> videoCodec{};
    std::array<char, 32> audioCodec{};
    std::uint32_t hasPreview = 0; ///< the outputs of examining have been written
    std::uint32_t hasFingerprint = 0;
    std::uint64_t differenceHash = 0;
    std::uint64_t frequencyHash = 0;
};

/// Sends one packet with descriptors. False on failure, with errno set.
bool sendPacket(int socket, std::span<const std::byte> packet, std::span<const int> descriptors);

/// Receives one packet of exactly `packet.size()` bytes and its descriptors, close-on-exec. False on end of
/// stream, on a packet of another size and on failure.
bool receivePacket(int socket, std::span<std::byte> packet, std::vector<UniqueFd> &descriptors);

template <typename T>
bool sendPacket(int socket, const T &packet, std::span<const int> descriptors = {}) {
    static_assert(std::is_trivially_copyable_v<T>);
    return sendPacket(socket, std::as_bytes(std::span(&packet, 1)), descriptors);
}

template <typename T>
bool receivePacket(int socket, T &packet, std::vector<UniqueFd> &descriptors) {
    static_assert(std::is_trivially_copyable_v<T>);
    return receivePacket(socket, std::as_writable_bytes(std::span(&packet, 1)), descriptors);
}

} // namespace wickerlane::hoardd::media

#endif
