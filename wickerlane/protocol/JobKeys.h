// The vocabulary of job dictionaries: what a caller may say of an asset to be saved, and what hoardd answers.
#ifndef WICKERLANE_PROTOCOL_JOBKEYS_H
#define WICKERLANE_PROTOCOL_JOBKEYS_H

#include <string_view>

/// A job names its bytes by one of `imageData`, `filePath` and the surface that travels beside it, in this
/// order of preference; all other keys are optional.
namespace wickerlane::protocol::job {

inline constexpr std::string_view imageData = "imageData"; ///< Data: the bytes of the file.
inline constexpr std::string_view filePath =
    "filePath"; ///< String: absolute path of a file the caller may read.
inline constexpr std::string_view assetType =
    "assetType"; ///< Number: 0 photo, 1 video; by default told by content.
inline constexpr std::string_view originalFilename =
    "originalFilename"; ///< String: what the asset is called.
inline constexpr std::string_view creationDate =
    "creationDate"; ///< Date: overrides what the file says of itself.
inline constexpr std::string_view unlessPresent =
    "unlessPresent"; ///< Number, boolean: an asset with the same bytes is given in place of a second one.

} // namespace wickerlane::protocol::job

/// What a result holds. One of a job that was refused holds `error` alone.
namespace wickerlane::protocol::jobResult {

inline constexpr std::string_view error = "error"; ///< String: why nothing was saved.

inline constexpr std::string_view uuid = "uuid"; ///< String.
inline constexpr std::string_view wasPresent =
    "wasPresent"; ///< Number, boolean: the library had it already; only then there.
inline constexpr std::string_view assetURL = "assetURL";       ///< String: the persistent URL.
inline constexpr std::string_view objectIDURI = "objectIDURI"; ///< String.
inline constexpr std::string_view fileURL = "fileURL";         ///< String: where the original is.
inline constexpr std::string_view filename = "filename";   ///< String: the original's name in the library.
inline constexpr std::string_view assetType = "assetType"; ///< Number: 0 photo, 1 video.
inline constexpr std::string_view byteSize = "byteSize";   ///< Number.
inline constexpr std::string_view width = "width";         ///< Number: pixels, upright; 0 if not decoded.
inline constexpr std::string_view height = "height";       ///< Number.
inline constexpr std::string_view creationDate = "creationDate"; ///< Date.
inline constexpr std::string_view duration = "duration"; ///< Number: seconds; only of a video that says so.
inline constexpr std::string_view problem =
    "problem"; ///< String: why it could not be decoded; only then there.

} // namespace wickerlane::protocol::jobResult

#endif
