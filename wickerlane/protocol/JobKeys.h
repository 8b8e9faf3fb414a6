// Keys of job dictionaries, which describe an asset to save, and of the results that hoardd returns for them.
#ifndef WICKERLANE_PROTOCOL_JOBKEYS_H
#define WICKERLANE_PROTOCOL_JOBKEYS_H

#include <string_view>

/// The bytes come from `imageData`, `filePath` or the surface that is sent beside the job; the first of them
/// that is there counts. All other keys are optional.
namespace wickerlane::protocol::job {

/// Data: the bytes of the file.
inline constexpr std::string_view imageData = "imageData";
/// String: absolute path of a file that the caller may read.
inline constexpr std::string_view filePath = "filePath";
/// Number: 0 photo, 1 video; by default hoardd looks at the content.
inline constexpr std::string_view assetType = "assetType";
/// String: absolute path of a file of metadata that belongs to the picture, which the caller may read. The
/// library keeps it with the asset.
inline constexpr std::string_view sidecarPath = "sidecarPath";
/// String: absolute path of a second file of the same shot, which the caller may read: the raw file of a
/// picture, or the short video that was taken with it. If contents and times say that it is one, the library
/// keeps it with the asset; else it is not saved. The file stays where it is.
inline constexpr std::string_view companionPath = "companionPath";
/// String: the name of the asset.
inline constexpr std::string_view originalFilename = "originalFilename";
/// Date: overrides the date in the file.
inline constexpr std::string_view creationDate = "creationDate";
/// Number, boolean: an asset with the same bytes, if there is one, is the result instead of a copy.
inline constexpr std::string_view unlessPresent = "unlessPresent";

} // namespace wickerlane::protocol::job

/// The result of a job. That of a job that was not saved has `error` and `errorKind`.
namespace wickerlane::protocol::jobResult {

/// String: why nothing was saved.
inline constexpr std::string_view error = "error";
/// Number: the ProblemKind of `error`. Daemons before 1.0 don't say it.
inline constexpr std::string_view errorKind = "errorKind";
/// Number: a ProblemKind. The client says so, beside `error`, of a job whose request has failed: it may have
/// been saved all the same.
inline constexpr std::string_view requestErrorKind = "requestErrorKind";

/// String.
inline constexpr std::string_view uuid = "uuid";
/// Number, boolean: true when the library had the asset already, else missing.
inline constexpr std::string_view wasPresent = "wasPresent";
/// Number, boolean: the second file was saved with the asset; else missing.
inline constexpr std::string_view companionWasSaved = "companionWasSaved";
/// Number, boolean: the library had the second file already, with this asset; else missing.
inline constexpr std::string_view companionWasPresent = "companionWasPresent";
/// String: the persistent URL.
inline constexpr std::string_view assetURL = "assetURL";
/// String.
inline constexpr std::string_view objectIDURI = "objectIDURI";
/// String: where the original is.
inline constexpr std::string_view fileURL = "fileURL";
/// String: the original's name in the library.
inline constexpr std::string_view filename = "filename";
/// Number: 0 photo, 1 video.
inline constexpr std::string_view assetType = "assetType";
/// Number.
inline constexpr std::string_view byteSize = "byteSize";
/// Number: pixels, upright; 0 if it could not be decoded.
inline constexpr std::string_view width = "width";
/// Number: likewise.
inline constexpr std::string_view height = "height";
/// Date.
inline constexpr std::string_view creationDate = "creationDate";
/// Number: seconds; only for a video whose file has it.
inline constexpr std::string_view duration = "duration";
/// String: why the file could not be decoded, else missing.
inline constexpr std::string_view problem = "problem";

} // namespace wickerlane::protocol::jobResult

#endif
