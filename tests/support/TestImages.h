// Pictures and camera metadata made for tests.
#ifndef TESTS_SUPPORT_TESTIMAGES_H
#define TESTS_SUPPORT_TESTIMAGES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wickerlane::test {

using Bytes = std::vector<std::byte>;

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
};

/// Pixels, four bytes each, row by row without gaps.
struct Pixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<Colour> colours;

    [[nodiscard]] Colour at(std::uint32_t x, std::uint32_t y) const {
        return colours[std::size_t{y} * width + x];
    }
};

/// The colours of fourCorners(), clockwise from the top left.
inline constexpr Colour cornerRed{220, 30, 30};
inline constexpr Colour cornerGreen{30, 200, 40};
inline constexpr Colour cornerBlue{30, 50, 210};
inline constexpr Colour cornerYellow{230, 220, 40};

/// Four quarters of one colour each, so that the corners show how a picture was turned: red top left, green
/// top right, blue bottom right, yellow bottom left.
Pixels fourCorners(std::uint32_t width, std::uint32_t height);

/// A picture with features of many sizes, like a photo, and the same at every resolution. Each seed gives
/// another picture. `shift` moves it to the left, as a fraction of its width.
Pixels scene(std::uint32_t width, std::uint32_t height, unsigned seed, double shift = 0);

/// What a camera writes into a JPEG. Texts are written unchanged, so that tests can make wrong ones.
struct TestExif {
    bool bigEndian = false;
    std::optional<std::uint16_t> orientation;
    std::string make;
    std::string model;
    std::string dateTimeOriginal;   ///< "2021:06:15 10:20:30"
    std::string subSecTimeOriginal; ///< "25"
    std::string offsetTimeOriginal; ///< "+02:00"
    /// Degrees, minutes and seconds as numerators over `gpsDenominator`.
    std::optional<std::array<std::uint32_t, 3>> latitude;
    std::optional<std::array<std::uint32_t, 3>> longitude;
    std::string latitudeRef;  ///< "N" or "S"
    std::string longitudeRef; ///< "E" or "W"
    std::uint32_t gpsDenominator = 1;
    std::string gpsDate; ///< "2021:06:15"
    std::optional<std::array<std::uint32_t, 3>> gpsTime;
    std::string gpsStatus; ///< "A" with a fix, "V" without
    Bytes preview;         ///< The small JPEG of the picture; empty for none.
    using Fraction = std::pair<std::uint32_t, std::uint32_t>;
    std::optional<Fraction> exposure;    ///< Seconds.
    std::optional<Fraction> aperture;    ///< The f-number.
    std::optional<Fraction> focalLength; ///< Millimetres.
    std::optional<std::uint16_t> isoSpeed;
    std::optional<std::uint32_t> exposureIndex;
    std::string lens;
    std::string description;
    std::optional<std::uint16_t> rating;
};

/// A raw file with the layout of a TIFF file: first a small grey picture, then a preview and the sensor data,
/// each in a directory of its own.
struct TestRaw {
    bool bigEndian = false;
    std::uint32_t width = 3000;
    std::uint32_t height = 2000;
    std::uint16_t orientation = 1;
    Bytes preview;                  ///< A JPEG; empty for none.
    bool previewIsStrip = false;    ///< Stored as the strip of an image, not as a separate JPEG.
    bool saysVersion = false;       ///< The format's version marks it as raw.
    bool saysFilterArray = true;    ///< The pixel layout does. If neither does: an ordinary TIFF file.
    std::string dateTimeOriginal{}; ///< "2021:06:15 10:20:30"; empty for none.
};

/// The TIFF structure of EXIF, as in a JPEG's APP1 segment after "Exif\0\0".
Bytes exifBytes(const TestExif &exif);

/// A JPEG of grey or colour; alpha is dropped.
Bytes jpegOf(const Pixels &pixels, int quality = 90, bool grey = false, bool progressive = false);
/// A JPEG with an EXIF segment put at its start.
Bytes jpegOf(const Pixels &pixels, const TestExif &exif);

/// XMP with these properties, as it lies in a file of its own.
Bytes xmpOf(std::string_view properties);
/// The same JPEG with an XMP packet of these properties, such as "<xmp:Rating>5</xmp:Rating>".
Bytes withXmp(const Bytes &jpeg, std::string_view properties);
/// The same JPEG with IPTC data sets of its second record, such as {25, "a keyword"}.
Bytes withIptc(const Bytes &jpeg, const std::vector<std::pair<std::uint8_t, std::string>> &sets);

/// A PNG with alpha.
Bytes pngOf(const Pixels &pixels);
/// The same with camera metadata.
Bytes pngOf(const Pixels &pixels, const TestExif &exif);
/// A PNG of a few hundred bytes that claims these dimensions. Its checksums are right.
/// Decompressed, the pixels have `pixelBytes`.
Bytes pngThatClaims(std::uint32_t width, std::uint32_t height, bool isInterlaced = false,
                    std::size_t pixelBytes = 4096);

/// An uncompressed TIFF of colour; alpha is dropped.
Bytes tiffOf(const Pixels &pixels, std::uint16_t orientation = 1);
Bytes rawOf(const TestRaw &raw);
/// A GIF of one colour.
Bytes gifOf(std::uint16_t width, std::uint16_t height, Colour colour);

/// Decodes a whole JPEG or PNG; no pixels when it is neither.
Pixels decodedPicture(const Bytes &file);

} // namespace wickerlane::test

#endif
