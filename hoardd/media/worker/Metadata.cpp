#include "hoardd/media/worker/Metadata.h"

#include <algorithm>
#include <cmath>
#include <exiv2/exiv2.hpp>
#include <initializer_list>
#include <optional>
#include <vector>

#include "hoardd/media/worker/DateText.h"
#include "hoardd/media/worker/Places.h"
#include "hoardd/media/worker/WrittenTexts.h"

namespace wickerlane::hoardd::media {

namespace {

// The text of the first of some tags that is there; empty when none is.
std::string exifText(const Exiv2::ExifData &exif, std::initializer_list<const char *> tags) {
    for (const char *tag : tags) {
        const auto found = exif.findKey(Exiv2::ExifKey(tag));
        if (found != exif.end() && found->count() > 0 && found->size() <= 4096)
            return found->toString();
    }
    return {};
}

std::string xmpText(const Exiv2::XmpData &xmp, std::initializer_list<const char *> tags) {
    for (const char *tag : tags) {
        const auto found = xmp.findKey(Exiv2::XmpKey(tag));
        if (found != xmp.end() && found->count() > 0 && found->size() <= 4096)
            return found->toString();
    }
    return {};
}

/// The time of the satellites, in seconds since 1970 UTC.
std::optional<std::int64_t> satelliteTime(const Exiv2::ExifData &exif) {
    const auto time = exif.findKey(Exiv2::ExifKey("Exif.GPSInfo.GPSTimeStamp"));
    if (time == exif.end() || time->typeId() != Exiv2::unsignedRational || time->count() != 3)
        return std::nullopt;
    const auto day = dateOf(exifText(exif, {"Exif.GPSInfo.GPSDateStamp"}).append(" 00:00:00"));
    double seconds = 0;
    for (long part = 0; part < 3; ++part) {
        const auto [above, below] = time->toRational(part);
        if (above < 0 || below <= 0)
            return std::nullopt;
        seconds = seconds * 60 + static_cast<double>(above) / below;
    }
    constexpr double secondsOfDay = 86'400;
    return day && seconds < secondsOfDay ? std::optional(day->seconds + std::lround(seconds)) : std::nullopt;
}

std::optional<CaptureDate> exifDate(const Exiv2::ExifData &exif) {
    if (const auto date = dateOf(exifText(exif, {"Exif.Photo.DateTimeOriginal"}),
                                 exifText(exif, {"Exif.Photo.SubSecTimeOriginal"}),
                                 exifText(exif, {"Exif.Photo.OffsetTimeOriginal", "Exif.Photo.OffsetTime"})))
        return date;
    return dateOf(exifText(exif, {"Exif.Photo.DateTimeDigitized"}),
                  exifText(exif, {"Exif.Photo.SubSecTimeDigitized"}),
                  exifText(exif, {"Exif.Photo.OffsetTimeDigitized", "Exif.Photo.OffsetTime"}));
}

std::optional<CaptureDate> captureDate(const Exiv2::ExifData &exif, const Exiv2::XmpData &xmp) {
    auto date = exifDate(exif);
    if (!date)
        date = dateOf(
            xmpText(xmp, {"Xmp.exif.DateTimeOriginal", "Xmp.photoshop.DateCreated", "Xmp.xmp.CreateDate"}));
    if (date && !date->zoneMinutes)
        if (const auto utc = satelliteTime(exif))
            setZone(*date, *utc);
    return date;
}

// A part that is there but cannot be divided makes the whole nonsense.
std::optional<double> exifDegrees(const Exiv2::ExifData &exif, const char *tag) {
    const auto found = exif.findKey(Exiv2::ExifKey(tag));
    if (found == exif.end() || found->typeId() != Exiv2::unsignedRational || found->count() != 3)
        return std::nullopt;
    double degrees = 0;
    double unit = 1;
    for (long part = 0; part < 3; ++part, unit *= 60) {
        const auto [numerator, denominator] = found->toRational(part);
        const double value = static_cast<double>(static_cast<std::uint32_t>(numerator)) /
                             static_cast<std::uint32_t>(denominator);
        if (denominator == 0 || (part > 0 && value >= 60.5))
            return std::nullopt;
        degrees += value / unit;
    }
    return degrees;
}

// A coordinate without its hemisphere could be on either side of the world.
std::optional<double> exifCoordinate(const Exiv2::ExifData &exif, const char *tag, const char *hemisphereTag,
                                     char positive, char negative, double maxDegrees) {
    const std::string hemisphere = exifText(exif, {hemisphereTag});
    const auto degrees = exifDegrees(exif, tag);
    if (!degrees || *degrees > maxDegrees || hemisphere.empty())
        return std::nullopt;
    if (hemisphere.front() == positive)
        return *degrees;
    if (hemisphere.front() == negative)
        return -*degrees;
    return std::nullopt;
}

// "48,51.5N" or "48,51,30N".
std::optional<double> xmpCoordinate(const std::string &text, char positive, char negative,
                                    double maxDegrees) {
    Scanner scanner(text);
    double degrees = 0;
    double minutes = 0;
    double seconds = 0;
    if (!scanner.number(degrees) || !scanner.oneOf(",") || !scanner.number(minutes))
        return std::nullopt;
    if (scanner.oneOf(",") && !scanner.number(seconds))
        return std::nullopt;
    degrees += minutes / 60 + seconds / 3600;
    if (minutes >= 60.5 || seconds >= 60.5 || degrees > maxDegrees || scanner.remaining().size() != 1)
        return std::nullopt;
    const char hemisphere = scanner.remaining().front();
    if (hemisphere != positive && hemisphere != negative)
        return std::nullopt;
    return hemisphere == positive ? degrees : -degrees;
}

std::optional<Place> writtenPlace(const Exiv2::ExifData &exif, const Exiv2::XmpData &xmp,
                                  std::span<const std::byte> file) {
    auto latitude =
        exifCoordinate(exif, "Exif.GPSInfo.GPSLatitude", "Exif.GPSInfo.GPSLatitudeRef", 'N', 'S', 90);
    auto longitude =
        exifCoordinate(exif, "Exif.GPSInfo.GPSLongitude", "Exif.GPSInfo.GPSLongitudeRef", 'E', 'W', 180);
    if (!latitude || !longitude) {
        // The library refuses a whole directory for one odd field.
        if (const auto place = placeInDirectory(file))
            return place;
        latitude = xmpCoordinate(xmpText(xmp, {"Xmp.exif.GPSLatitude"}), 'N', 'S', 90);
        longitude = xmpCoordinate(xmpText(xmp, {"Xmp.exif.GPSLongitude"}), 'E', 'W', 180);
    }
    if (!latitude || !longitude)
        return std::nullopt;
    return Place{*latitude, *longitude};
}

std::optional<Place> place(const Exiv2::ExifData &exif, const Exiv2::XmpData &xmp,
                           std::span<const std::byte> file) {
    const auto found = writtenPlace(exif, xmp, file);
    const bool hasFix = exifText(exif, {"Exif.GPSInfo.GPSStatus"}).starts_with('A');
    return found && isNowhere(*found) && !hasFix ? std::nullopt : found;
}

std::uint32_t orientation(const Exiv2::ExifData &exif, const Exiv2::XmpData &xmp) {
    std::string text = exifText(exif, {"Exif.Image.Orientation"});
    if (text.empty())
        text = xmpText(xmp, {"Xmp.tiff.Orientation"});
    return text.size() == 1 && text.front() >= '1' && text.front() <= '8'
               ? static_cast<std::uint32_t>(text.front() - '0')
               : 1;
}

/// A number that is written as a fraction; nothing when it is none.
std::optional<double> exifFraction(const Exiv2::ExifData &exif, const char *tag) {
    const auto found = exif.findKey(Exiv2::ExifKey(tag));
    if (found == exif.end() || found->typeId() != Exiv2::unsignedRational || found->count() != 1)
        return std::nullopt;
    const auto [numerator, denominator] = found->toRational();
    const auto above = static_cast<std::uint32_t>(numerator), below = static_cast<std::uint32_t>(denominator);
    return above != 0 && below != 0 ? std::optional(static_cast<double>(above) / below) : std::nullopt;
}

std::uint32_t sensitivity(const Exiv2::ExifData &exif) {
    constexpr std::uint32_t asElsewhere = 65'535; // more than the field holds
    const auto speed = exifNumber(exif, "Photo", "ISOSpeedRatings");
    if (speed != asElsewhere)
        return speed.value_or(0);
    const auto index = exifNumber(exif, "Photo", "RecommendedExposureIndex");
    return index ? *index : exifNumber(exif, "Photo", "ISOSpeed").value_or(*speed);
}

struct Preview {
    std::uint32_t maxSide;
    std::span<const std::byte> strip;               ///< In the file.
    std::optional<Exiv2::PreviewProperties> listed; ///< Or as the library knows it.
};

/// The previews that are stored as the only strip of an image of their own, which the library does not list.
std::vector<Preview> stripPreviews(const Exiv2::ExifData &exif, std::span<const std::byte> file) {
    constexpr std::uint32_t oldJpeg = 6, jpeg = 7, blackIsZero = 1, redGreenBlue = 2,
                            brightnessAndColours = 6;
    std::vector<Preview> previews;
    for (const char *group : {"Image", "SubImage1", "SubImage2", "SubImage3", "SubImage4", "SubImage5",
                              "SubImage6", "SubImage7", "SubImage8", "SubImage9"}) {
        const auto number = [&](const char *tag) { return exifNumber(exif, group, tag).value_or(0); };
        const std::uint32_t compression = number("Compression"),
                            colours = number("PhotometricInterpretation");
        const std::uint32_t start = number("StripOffsets"), length = number("StripByteCounts");
        const bool isPreview =
            (compression == oldJpeg || compression == jpeg) &&
            (colours == blackIsZero || colours == redGreenBlue || colours == brightnessAndColours);
        if (isPreview && start < file.size() && length > 0 && length <= file.size() - start)
            previews.push_back({std::max(number("ImageWidth"), number("ImageLength")),
                                file.subspan(start, length), std::nullopt});
    }
    return previews;
}

} // namespace

void prepareMetadata() {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::XmpParser::initialize();
    Exiv2::enableBMFF();
}

std::string metadataLibraryVersion() {
    return Exiv2::versionString();
}

struct Metadata::Parsed {
    std::span<const std::byte> file;
    std::unique_ptr<Exiv2::Image> image;
};

Metadata::Metadata(std::span<const std::byte> file) : parsed(std::make_unique<Parsed>()) {
    parsed->file = file;
    try {
        parsed->image.reset(Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(file.data()),
                                                      static_cast<long>(file.size()))
                                .release());
        parsed->image->readMetadata();
    } catch (const std::exception &) {
        // Broken metadata never keep a picture from being shown, and what has been read stands.
    }
}

Metadata::~Metadata() = default;

void Metadata::fill(PictureFacts &facts) const {
    if (parsed->image == nullptr)
        return;
    const Exiv2::ExifData &exif = parsed->image->exifData();
    const Exiv2::XmpData &xmp = parsed->image->xmpData();
    // One that can't be read costs only itself.
    const auto read = [](auto &fact, const auto &reader) {
        try {
            fact = reader();
        } catch (const std::exception &) {
        }
    };
    read(facts.captureDate, [&] { return captureDate(exif, xmp); });
    read(facts.place, [&] { return place(exif, xmp, parsed->file); });
    read(facts.orientation, [&] { return orientation(exif, xmp); });
    read(facts.cameraMake, [&] { return exifText(exif, {"Exif.Image.Make"}); });
    read(facts.cameraModel, [&] { return exifText(exif, {"Exif.Image.Model"}); });
    read(facts.lens, [&] { return exifText(exif, {"Exif.Photo.LensModel"}); });
    if (facts.lens.text().empty())
        read(facts.lens, [&] { return xmpText(xmp, {"Xmp.aux.Lens"}); });
    read(facts.exposureSeconds, [&] { return exifFraction(exif, "Exif.Photo.ExposureTime"); });
    read(facts.aperture, [&] { return exifFraction(exif, "Exif.Photo.FNumber"); });
    read(facts.focalLength, [&] { return exifFraction(exif, "Exif.Photo.FocalLength"); });
    read(facts.isoSpeed, [&] { return sensitivity(exif); });
    const MetadataBlocks blocks{exif, parsed->image->iptcData(), xmp};
    read(facts.rating, [&] { return writtenRating(blocks); });
    read(facts.caption, [&] { return writtenCaption(blocks, facts.cameraMake, facts.cameraModel); });
    read(facts.keywords, [&] { return writtenKeywords(blocks); });
}

bool Metadata::isRaw() const {
    if (parsed->image == nullptr)
        return false;
    constexpr std::uint16_t photometricInterpretation = 0x0106, dngVersion = 0xC612;
    constexpr long colourFilterArray = 32803, linearRaw = 34892;
    try {
        // The library knows some makers' files by how their pixels are packed.
        if (parsed->image->mimeType().starts_with("image/x-"))
            return true;
        for (const Exiv2::Exifdatum &each : parsed->image->exifData()) {
            if (each.tag() == dngVersion && each.groupName() == "Image")
                return true;
            if (each.tag() != photometricInterpretation || each.count() == 0)
                continue;
            if (const long colours = each.toLong(); colours == colourFilterArray || colours == linearRaw)
                return true;
        }
    } catch (const std::exception &) {
        // What can't be read says nothing.
    }
    return false;
}

std::pair<std::uint32_t, std::uint32_t> Metadata::size() const {
    if (parsed->image == nullptr)
        return {0, 0};
    const auto sideOf = [](int side) {
        return side > 0 && static_cast<std::uint32_t>(side) <= pictureLimits.side
                   ? static_cast<std::uint32_t>(side)
                   : 0;
    };
    return {sideOf(parsed->image->pixelWidth()), sideOf(parsed->image->pixelHeight())};
}

std::vector<std::byte> Metadata::preview(std::uint32_t maxSide) const {
    if (parsed->image == nullptr)
        return {};
    try {
        const Exiv2::PreviewManager listed(*parsed->image);
        std::vector<Preview> previews = stripPreviews(parsed->image->exifData(), parsed->file);
        for (const Exiv2::PreviewProperties &each : listed.getPreviewProperties())
            if (each.mimeType_ == "image/jpeg")
                previews.push_back({std::max(each.width_, each.height_), {}, each});
        std::erase_if(previews, [](const Preview &each) { return each.maxSide == 0; });
        if (previews.empty())
            return {};
        std::ranges::sort(previews, {}, &Preview::maxSide);
        auto best = maxSide == 0 ? previews.end()
                                 : std::ranges::lower_bound(previews, maxSide, {}, &Preview::maxSide);
        if (best == previews.end())
            --best;
        if (!best->listed)
            return {best->strip.begin(), best->strip.end()};
        const Exiv2::PreviewImage image = listed.getPreviewImage(*best->listed);
        const auto *bytes = reinterpret_cast<const std::byte *>(image.pData());
        return {bytes, bytes + image.size()};
    } catch (const std::exception &) {
        return {}; // a broken preview is as good as none
    }
}

} // namespace wickerlane::hoardd::media
