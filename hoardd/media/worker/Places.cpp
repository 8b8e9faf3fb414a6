#include "hoardd/media/worker/Places.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

namespace wickerlane::hoardd::media {

namespace {

using namespace std::string_view_literals;

/// A TIFF structure in memory. What lies outside reads as nothing.
class Structure {
public:
    Structure(std::string_view content, bool isBigEndian) : bytes(content), bigEndian(isBigEndian) {}

    [[nodiscard]] std::optional<std::uint32_t> number(std::size_t at, std::size_t size) const {
        if (at > bytes.size() || bytes.size() - at < size)
            return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[at + (bigEndian ? i : size - 1 - i)]);
            value = value << 8 | byte;
        }
        return value;
    }

private:
    std::string_view bytes;
    bool bigEndian;
};

struct Entry {
    std::uint32_t type = 0;
    std::uint32_t count = 0;
    std::size_t at = 0; ///< Of the four bytes that hold a short value, or say where a long one is.
};

/// The first entry of a directory with a tag. The number of entries may be nonsense: what can't be entries
/// ends them.
std::optional<Entry> entryOf(const Structure &structure, std::size_t directory, std::uint32_t tag) {
    constexpr std::uint32_t maxEntries = 512;
    const std::uint32_t count = std::min(structure.number(directory, 2).value_or(0), maxEntries);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t at = directory + 2 + std::size_t{12} * i;
        const auto found = structure.number(at, 2), type = structure.number(at + 2, 2),
                   values = structure.number(at + 4, 4);
        if (!found || !type || !values)
            return std::nullopt;
        if (*found == tag)
            return Entry{*type, *values, at + 8};
    }
    return std::nullopt;
}

/// Degrees, minutes and seconds. Minutes and seconds may be missing, or nothing by nothing.
std::optional<double> degreesIn(const Structure &structure, const Entry &entry) {
    constexpr std::uint32_t unsignedRational = 5, signedRational = 10;
    if ((entry.type != unsignedRational && entry.type != signedRational) || entry.count < 1 ||
        entry.count > 3)
        return std::nullopt;
    const auto values = structure.number(entry.at, 4);
    double degrees = 0, unit = 1;
    for (std::size_t part = 0; values && part < entry.count; ++part, unit *= 60) {
        const auto above = structure.number(*values + part * 8, 4),
                   below = structure.number(*values + part * 8 + 4, 4);
        if (!above || !below)
            return std::nullopt;
        if (part > 0 && *above == 0 && *below == 0)
            continue;
        const double value = static_cast<double>(*above) / *below;
        if (*below == 0 || (part > 0 && value >= 60.5))
            return std::nullopt;
        degrees += value / unit;
    }
    return values ? std::optional(degrees) : std::nullopt;
}

std::optional<double> coordinateIn(const Structure &structure, std::size_t directory, std::uint32_t tag,
                                   std::string_view positive, std::string_view negative, double most) {
    const auto entry = entryOf(structure, directory, tag);
    const auto hemisphereEntry = entryOf(structure, directory, tag - 1);
    if (!entry || !hemisphereEntry)
        return std::nullopt;
    const auto degrees = degreesIn(structure, *entry);
    const auto hemisphere = static_cast<char>(structure.number(hemisphereEntry->at, 1).value_or(0));
    if (!degrees || *degrees > most)
        return std::nullopt;
    if (positive.find(hemisphere) != std::string_view::npos)
        return *degrees;
    if (negative.find(hemisphere) != std::string_view::npos)
        return -*degrees;
    return std::nullopt;
}

/// The structure and what follows it; empty if there is none.
std::string_view structureIn(std::string_view file) {
    constexpr std::size_t reach = 256 << 10;
    for (const std::string_view start : {"II*\0"sv, "MM\0*"sv}) {
        if (file.starts_with(start))
            return file;
        const std::size_t found =
            file.substr(0, std::min(file.size(), reach)).find(std::string("Exif\0\0"sv).append(start));
        if (found != std::string_view::npos)
            return file.substr(found + 6);
    }
    return {};
}

/// One coordinate. The number of digits before the point says whether it is in degrees, in degrees and
/// minutes, or in these and seconds.
std::optional<double> takeCoordinate(std::string_view &text, std::size_t degreeDigits) {
    if (text.empty() || (text[0] != '+' && text[0] != '-'))
        return std::nullopt;
    const bool negative = text[0] == '-';
    text.remove_prefix(1);
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || !std::isfinite(value) || value < 0)
        return std::nullopt;
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    const double whole = std::trunc(value);
    if (digits == degreeDigits + 2) { // DDMM
        value = std::trunc(whole / 100) + (value - std::trunc(whole / 100) * 100) / 60;
    } else if (digits == degreeDigits + 4) { // DDMMSS
        const double minutes = std::trunc(whole / 100);
        value = std::trunc(minutes / 100) + std::fmod(minutes, 100) / 60 + (value - minutes * 100) / 3600;
    }
    return negative ? -value : value;
}

} // namespace

std::optional<Place> placeInDirectory(std::span<const std::byte> file) {
    const std::string_view bytes = structureIn({reinterpret_cast<const char *>(file.data()), file.size()});
    if (bytes.empty())
        return std::nullopt;
    constexpr std::uint32_t directoryOfPlace = 0x8825, latitudeTag = 2, longitudeTag = 4;
    const Structure structure(bytes, bytes[0] == 'M');
    const auto first = structure.number(4, 4);
    const auto entry = first ? entryOf(structure, *first, directoryOfPlace) : std::nullopt;
    const auto directory = entry ? structure.number(entry->at, 4) : std::nullopt;
    if (!directory)
        return std::nullopt;
    const auto latitude = coordinateIn(structure, *directory, latitudeTag, "Nn", "Ss", 90);
    const auto longitude = coordinateIn(structure, *directory, longitudeTag, "Ee", "Ww", 180);
    if (!latitude || !longitude)
        return std::nullopt;
    return Place{*latitude, *longitude};
}

std::optional<Place> placeOf(std::string_view text) {
    const auto latitude = takeCoordinate(text, 2);
    const auto longitude = latitude ? takeCoordinate(text, 3) : std::nullopt;
    if (!longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180)
        return std::nullopt;
    const Place place{*latitude, *longitude};
    return isNowhere(place) ? std::nullopt : std::optional(place);
}

bool isNowhere(const Place &place) {
    return place.latitude == 0 && place.longitude == 0;
}

} // namespace wickerlane::hoardd::media
