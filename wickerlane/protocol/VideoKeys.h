// Keys of video metadata, and the presets and properties of exports.
#ifndef WICKERLANE_PROTOCOL_VIDEOKEYS_H
#define WICKERLANE_PROTOCOL_VIDEOKEYS_H

#include <cstdint>
#include <string_view>

/// The result of videoMetadataAtPath:. What a file does not say is missing.
namespace wickerlane::protocol::videoKey {

inline constexpr std::string_view duration = "duration";           ///< Number: seconds.
inline constexpr std::string_view width = "width";                 ///< Number: pixels, upright.
inline constexpr std::string_view height = "height";               ///< Number.
inline constexpr std::string_view rotation = "rotation";           ///< Number: degrees clockwise, as stored.
inline constexpr std::string_view frameRate = "frameRate";         ///< Number: frames a second.
inline constexpr std::string_view videoCodec = "videoCodec";       ///< String: "h264".
inline constexpr std::string_view videoBitRate = "videoBitRate";   ///< Number: bits a second.
inline constexpr std::string_view audioCodec = "audioCodec";       ///< String: "aac"; missing without sound.
inline constexpr std::string_view audioBitRate = "audioBitRate";   ///< Number: bits a second.
inline constexpr std::string_view audioChannels = "audioChannels"; ///< Number.
inline constexpr std::string_view audioSampleRate = "audioSampleRate"; ///< Number: hertz.
inline constexpr std::string_view container = "container";             ///< String: "mov,mp4,m4a,3gp,3g2,mj2".
inline constexpr std::string_view trackCount = "trackCount";           ///< Number: tracks of all kinds.
inline constexpr std::string_view fileSize = "fileSize";               ///< Number: bytes.
inline constexpr std::string_view creationDate = "creationDate";       ///< Date.
/// Number: how far the clock of the camera, or of this machine when the file gives an instant alone, was
/// ahead of UTC. Missing when creationDate is what the camera's clock showed, read as if it were UTC.
inline constexpr std::string_view zoneMinutes = "zoneMinutes";
inline constexpr std::string_view latitude = "latitude";   ///< Number: degrees; north is positive.
inline constexpr std::string_view longitude = "longitude"; ///< Number: degrees; east is positive.

} // namespace wickerlane::protocol::videoKey

namespace wickerlane::protocol {

/// How a video is exported: in H.264 and AAC, and never larger than it is. The bit rates are those of the
/// preset's full size; a smaller picture gets a proportionally lower rate.
struct ExportPreset {
    std::string_view name;
    std::uint32_t maxSide;      ///< Pixels; 0 keeps the tracks as they are.
    std::uint64_t videoBitRate; ///< Bits a second at 16 to 9.
    std::uint64_t audioBitRate; ///< Bits a second.
};
inline constexpr ExportPreset exportPresets[] = {
    {"low", 640, 1'000'000, 64'000},
    {"medium", 1280, 3'000'000, 128'000},
    {"high", 1920, 6'000'000, 160'000},
    {"passthrough", 0, 0, 0},
};
/// The preset when none is given.
inline constexpr std::string_view defaultExportPreset = "high";

/// Properties of an export. Each is a number and may be missing.
namespace exportProperty {
inline constexpr std::string_view startTime = "startTime";       ///< Seconds from the beginning.
inline constexpr std::string_view duration = "duration";         ///< Seconds.
inline constexpr std::string_view videoBitRate = "videoBitRate"; ///< Bits a second, instead of the preset's.
inline constexpr std::string_view audioBitRate = "audioBitRate"; ///< Bits a second; 0 leaves the sound out.
} // namespace exportProperty

} // namespace wickerlane::protocol

#endif
