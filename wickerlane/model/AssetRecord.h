// What the store knows of one asset.
#ifndef WICKERLANE_MODEL_ASSETRECORD_H
#define WICKERLANE_MODEL_ASSETRECORD_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "wickerlane/model/AssetKind.h"

namespace wickerlane {

using Sha256 = std::array<std::byte, 32>;

/// What an asset's file may still have to say of it. What people have set is not due.
enum DueDetail : std::int64_t {
    dueCamera = 1, ///< All that the camera says.
    dueRating = 2,
    dueCaption = 4,
    dueKeywords = 8,
    allDetailsDue = 15,
};

/// A row of the asset table.
struct AssetRecord {
    std::int64_t primaryKey = 0; ///< 0 until the asset is stored; never used again for another one.
    std::string uuid;            ///< 36 characters, upper case.
    AssetKind kind = AssetKind::photo;
    std::string directory;        ///< Of the original, relative to the library's folder.
    std::string filename;         ///< Of the original in that directory.
    std::string originalFilename; ///< What its sender called it; may be empty.
    std::string format;           ///< Media type, told by content: "image/jpeg".
    std::uint32_t width = 0;      ///< Pixels, with the orientation applied; 0 when it could not be decoded.
    std::uint32_t height = 0;
    std::uint32_t orientation = 1; ///< 1 to 8, as EXIF counts them.
    double dateCreated = 0;        ///< Seconds since 2001-01-01 00:00:00 UTC.
    double dateAdded = 0;          ///< The same, of its saving.
    /// What the camera's clock showed, as if it were UTC; missing if only the instant is known.
    std::optional<double> clockDate;
    /// The clock minus UTC. Without it, the instant is not known: `dateCreated` is what the clock showed.
    std::optional<std::int64_t> zoneMinutes;
    std::optional<double> latitude;  ///< Degrees; north is positive. With a longitude or not at all.
    std::optional<double> longitude; ///< Degrees; east is positive.
    std::uint64_t byteSize = 0;      ///< Of the original.
    Sha256 sha256{};                 ///< Of the original's bytes.
    std::int64_t thumbnailIndex = 0; ///< 0 without thumbnails; counts up with each making of them.
    double duration = 0;             ///< Of a video, in seconds; 0 when unknown, and of photos.
    std::string problem;             ///< Why it could not be decoded; empty when it could.
    /// What an application has noted; the numbers are its own.
    std::uint64_t externalUsageIntent = 0;

    // What the file says of the camera. Missing or empty if it does not.
    std::string camera;                    ///< Maker and model, as people say it.
    std::string lens;                      ///< Its model.
    std::optional<double> exposureSeconds; ///< For how long light came in.
    std::optional<double> aperture;        ///< The f-number.
    std::optional<std::int64_t> isoSpeed;
    std::optional<double> focalLength; ///< Millimetres, of the lens itself.

    // What people say of the asset, in the file or here.
    bool favourite = false;
    bool hidden = false;
    std::int64_t rating = 0; ///< 1 to 5 stars; 0 without one.
    std::string caption;     ///< May have several lines.
    std::string keywords;    ///< One a line, each once, in the order in which they were given.

    /// What of these is still to be read from the file: bits of DueDetail.
    std::int64_t dueDetails = allDetailsDue;

    /// The date that people read, and by which assets are ordered.
    [[nodiscard]] double shownDate() const { return clockDate.value_or(dateCreated); }

    /// A picture that can be decoded has a size, even if it has a problem.
    [[nodiscard]] bool isUndecodable() const { return !problem.empty() && width == 0; }
};

} // namespace wickerlane

#endif
