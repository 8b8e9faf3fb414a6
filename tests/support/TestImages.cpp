#include "tests/support/TestImages.h"

#include <png.h>
#include <turbojpeg.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <random>
#include <stdexcept>
#include <string_view>

namespace wickerlane::test {

namespace {

constexpr std::size_t colourBytes = 4;
static_assert(sizeof(Colour) == colourBytes);

void append(Bytes &out, std::string_view text) {
    for (const char character : text)
        out.push_back(static_cast<std::byte>(character));
}

void appendNumber(Bytes &out, std::uint64_t value, std::size_t size, bool bigEndian) {
    for (std::size_t index = 0; index < size; ++index) {
        const std::size_t shift = 8 * (bigEndian ? size - 1 - index : index);
        out.push_back(static_cast<std::byte>(value >> shift & 0xFF));
    }
}

void appendTiffHeader(Bytes &out, bool bigEndian) {
    append(out, bigEndian ? "MM" : "II");
    appendNumber(out, 42, 2, bigEndian);
    appendNumber(out, 8, 4, bigEndian); // where the first directory is
}

// An image file directory: entries with their values, those over four bytes behind it.
class Directory {
public:
    explicit Directory(bool big) : bigEndian(big) {}

    void text(std::uint16_t tag, const std::string &value) {
        if (value.empty())
            return;
        Bytes bytes;
        append(bytes, value);
        bytes.push_back(std::byte{0});
        const auto count = static_cast<std::uint32_t>(bytes.size());
        add(tag, 2, count, std::move(bytes));
    }
    void number16(std::uint16_t tag, std::uint16_t value) {
        Bytes bytes;
        appendNumber(bytes, value, 2, bigEndian);
        add(tag, 3, 1, std::move(bytes));
    }
    void number32(std::uint16_t tag, std::uint32_t value) {
        Bytes bytes;
        appendNumber(bytes, value, 4, bigEndian);
        add(tag, 4, 1, std::move(bytes));
    }
    void fractions(std::uint16_t tag, const std::array<std::uint32_t, 3> &numerators,
                   std::uint32_t denominator) {
        Bytes bytes;
        for (const std::uint32_t numerator : numerators) {
            appendNumber(bytes, numerator, 4, bigEndian);
            appendNumber(bytes, denominator, 4, bigEndian);
        }
        add(tag, 5, 3, std::move(bytes));
    }

    void fraction(std::uint16_t tag, const std::optional<TestExif::Fraction> &value) {
        if (!value)
            return;
        Bytes bytes;
        appendNumber(bytes, value->first, 4, bigEndian);
        appendNumber(bytes, value->second, 4, bigEndian);
        add(tag, 5, 1, std::move(bytes));
    }

    [[nodiscard]] bool empty() const { return entries.empty(); }
    [[nodiscard]] std::uint32_t size() const {
        std::size_t total = 2 + 12 * entries.size() + 4;
        for (const Entry &entry : entries)
            total += entry.value.size() > 4 ? entry.value.size() : 0;
        return static_cast<std::uint32_t>(total);
    }
    void numbers32(std::uint16_t tag, const std::vector<std::uint32_t> &numbers) {
        Bytes bytes;
        for (const std::uint32_t number : numbers)
            appendNumber(bytes, number, 4, bigEndian);
        add(tag, 4, static_cast<std::uint32_t>(numbers.size()), std::move(bytes));
    }
    // Writes the directory, whose place in the file is where `out` ends now, and where the next is.
    void writeTo(Bytes &out, std::uint32_t next = 0) const {
        std::size_t valueAt = out.size() + 2 + 12 * entries.size() + 4;
        Bytes values;
        appendNumber(out, entries.size(), 2, bigEndian);
        for (const Entry &entry : entries) {
            appendNumber(out, entry.tag, 2, bigEndian);
            appendNumber(out, entry.type, 2, bigEndian);
            appendNumber(out, entry.count, 4, bigEndian);
            if (entry.value.size() > 4) {
                appendNumber(out, valueAt + values.size(), 4, bigEndian);
                values.insert(values.end(), entry.value.begin(), entry.value.end());
            } else {
                out.insert(out.end(), entry.value.begin(), entry.value.end());
                out.resize(out.size() + 4 - entry.value.size());
            }
        }
        appendNumber(out, next, 4, bigEndian);
        out.insert(out.end(), values.begin(), values.end());
    }

private:
    struct Entry {
        std::uint16_t tag;
        std::uint16_t type;
        std::uint32_t count;
        Bytes value;
    };
    void add(std::uint16_t tag, std::uint16_t type, std::uint32_t count, Bytes value) {
        entries.push_back({tag, type, count, std::move(value)});
    }

    bool bigEndian;
    std::vector<Entry> entries;
};

struct DestroyTurbo {
    void operator()(void *handle) const { tjDestroy(handle); }
};
using Turbo = std::unique_ptr<void, DestroyTurbo>;

void appendChunk(Bytes &out, const char *type, const Bytes &contents) {
    appendNumber(out, contents.size(), 4, true);
    const std::size_t start = out.size();
    append(out, std::string_view(type, 4));
    out.insert(out.end(), contents.begin(), contents.end());
    const auto sum =
        crc32(0, reinterpret_cast<const Bytef *>(out.data() + start), static_cast<uInt>(out.size() - start));
    appendNumber(out, sum, 4, true);
}

} // namespace

Pixels scene(std::uint32_t width, std::uint32_t height, unsigned seed, double shift) {
    struct Wave {
        double across, down, phase, height;
    };
    std::mt19937 random(seed);
    const auto part = [&] { return static_cast<double>(random() % 2001) / 1000 - 1; };
    std::vector<Wave> waves;
    for (int count = 0; count < 60; ++count) {
        // Finer ones are lower, as in nature.
        const double across = 12 * part() * part(), down = 12 * part() * part();
        waves.push_back({across, down, 3.14 * part(), 60 / (0.7 + std::hypot(across, down))});
    }
    // The sine of a sum, so that few sines are taken.
    const auto sines = [&](std::uint32_t length, const auto &angleOf) {
        std::vector<std::pair<double, double>> all;
        for (std::uint32_t at = 0; at < length; ++at)
            for (const Wave &wave : waves)
                all.emplace_back(std::sin(angleOf(wave, (at + 0.5) / length)),
                                 std::cos(angleOf(wave, (at + 0.5) / length)));
        return all;
    };
    const auto across =
        sines(width, [&](const Wave &wave, double at) { return 6.28 * wave.across * (at + shift); });
    const auto down =
        sines(height, [](const Wave &wave, double at) { return 6.28 * wave.down * at + wave.phase; });
    const auto clamped = [](double value) {
        return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
    };
    Pixels pixels{width, height, {}};
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            double light = 128;
            for (std::size_t i = 0; i < waves.size(); ++i) {
                const auto &[sineX, cosineX] = across[x * waves.size() + i];
                const auto &[sineY, cosineY] = down[y * waves.size() + i];
                light += waves[i].height * (sineX * cosineY + cosineX * sineY);
            }
            pixels.colours.push_back({clamped(light), clamped(light * 0.8 + 20), clamped(255 - light)});
        }
    return pixels;
}

Pixels fourCorners(std::uint32_t width, std::uint32_t height) {
    Pixels pixels{width, height, {}};
    pixels.colours.reserve(std::size_t{width} * height);
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            const bool left = x < width / 2;
            const bool top = y < height / 2;
            pixels.colours.push_back(top ? (left ? cornerRed : cornerGreen)
                                         : (left ? cornerYellow : cornerBlue));
        }
    return pixels;
}

Bytes exifBytes(const TestExif &exif) {
    Directory camera(exif.bigEndian);
    Directory photo(exif.bigEndian);
    Directory place(exif.bigEndian);
    photo.fraction(0x829A, exif.exposure);
    photo.fraction(0x829D, exif.aperture);
    if (exif.isoSpeed)
        photo.number16(0x8827, *exif.isoSpeed);
    if (exif.exposureIndex)
        photo.number32(0x8832, *exif.exposureIndex);
    photo.text(0x9003, exif.dateTimeOriginal);
    photo.text(0x9011, exif.offsetTimeOriginal);
    photo.fraction(0x920A, exif.focalLength);
    photo.text(0x9291, exif.subSecTimeOriginal);
    photo.text(0xA434, exif.lens);
    place.text(1, exif.latitudeRef);
    if (exif.latitude)
        place.fractions(2, *exif.latitude, exif.gpsDenominator);
    place.text(3, exif.longitudeRef);
    if (exif.longitude)
        place.fractions(4, *exif.longitude, exif.gpsDenominator);
    if (exif.gpsTime)
        place.fractions(7, *exif.gpsTime, 1);
    place.text(9, exif.gpsStatus);
    place.text(29, exif.gpsDate);

    camera.text(0x010E, exif.description);
    camera.text(0x010F, exif.make);
    camera.text(0x0110, exif.model);
    if (exif.orientation)
        camera.number16(0x0112, *exif.orientation);
    if (exif.rating)
        camera.number16(0x4746, *exif.rating);
    // The first directory lies behind the header of 8 bytes, the others behind it, so that its size is needed
    // first.
    const std::uint32_t photoAt = 8 + camera.size() + (photo.empty() ? 0 : 12) + (place.empty() ? 0 : 12);
    if (!photo.empty())
        camera.number32(0x8769, photoAt);
    if (!place.empty())
        camera.number32(0x8825, photoAt + (photo.empty() ? 0 : photo.size()));

    const std::uint32_t previewAt =
        photoAt + (photo.empty() ? 0 : photo.size()) + (place.empty() ? 0 : place.size());

    Bytes out;
    appendTiffHeader(out, exif.bigEndian);
    camera.writeTo(out, exif.preview.empty() ? 0 : previewAt);
    if (!photo.empty())
        photo.writeTo(out);
    if (!place.empty())
        place.writeTo(out);
    if (exif.preview.empty())
        return out;
    Directory preview(exif.bigEndian);
    preview.number16(0x0103, 6); // a JPEG
    constexpr std::uint32_t previewSize = 2 + 12 * 3 + 4;
    preview.number32(0x0201, previewAt + previewSize);
    preview.number32(0x0202, static_cast<std::uint32_t>(exif.preview.size()));
    preview.writeTo(out);
    out.insert(out.end(), exif.preview.begin(), exif.preview.end());
    return out;
}

Bytes rawOf(const TestRaw &raw) {
    constexpr std::uint32_t smallWidth = 16, smallHeight = 12;
    const auto directory = [&](std::uint32_t width, std::uint32_t height, bool isReduced,
                               std::uint16_t compression, std::uint16_t colours) {
        Directory made(raw.bigEndian);
        made.number32(0x00FE, isReduced ? 1 : 0);
        made.number32(0x0100, width);
        made.number32(0x0101, height);
        made.number16(0x0102, 8);
        made.number16(0x0103, compression);
        made.number16(0x0106, colours);
        return made;
    };
    // The sizes of directories do not depend on where they are, so that they are laid out twice.
    std::uint32_t previewAt = 0, sensorAt = 0, pixelsAt = 0, jpegAt = 0, photoAt = 0;
    Bytes out;
    for (int time = 0; time < 2; ++time) {
        out.clear();
        appendTiffHeader(out, raw.bigEndian);
        Directory first = directory(smallWidth, smallHeight, true, 1, 1);
        first.number32(0x0111, pixelsAt);
        first.number16(0x0112, raw.orientation);
        first.number16(0x0115, 1);
        first.number32(0x0116, smallHeight);
        first.number32(0x0117, smallWidth * smallHeight);
        first.numbers32(0x014A, {previewAt, sensorAt});
        if (!raw.dateTimeOriginal.empty())
            first.number32(0x8769, photoAt);
        if (raw.saysVersion)
            first.number32(0xC612, 1);
        first.writeTo(out);
        if (!raw.dateTimeOriginal.empty()) {
            photoAt = static_cast<std::uint32_t>(out.size());
            Directory photo(raw.bigEndian);
            photo.text(0x9003, raw.dateTimeOriginal);
            photo.writeTo(out);
        }

        previewAt = static_cast<std::uint32_t>(out.size());
        const Pixels shown = decodedPicture(raw.preview);
        Directory preview = directory(shown.width, shown.height, true, raw.previewIsStrip ? 7 : 6, 6);
        preview.number32(raw.previewIsStrip ? 0x0111 : 0x0201, jpegAt);
        preview.number32(raw.previewIsStrip ? 0x0117 : 0x0202,
                         static_cast<std::uint32_t>(raw.preview.size()));
        preview.writeTo(out);

        sensorAt = static_cast<std::uint32_t>(out.size());
        directory(raw.width, raw.height, false, 1, raw.saysFilterArray ? 32803 : 1).writeTo(out);
        pixelsAt = static_cast<std::uint32_t>(out.size());
        out.resize(out.size() + smallWidth * smallHeight, std::byte{0x80});
        jpegAt = static_cast<std::uint32_t>(out.size());
    }
    out.insert(out.end(), raw.preview.begin(), raw.preview.end());
    return out;
}

Bytes jpegOf(const Pixels &pixels, int quality, bool grey, bool progressive) {
    const Turbo encoder(tjInitCompress());
    unsigned char *buffer = nullptr;
    unsigned long size = 0;
    if (tjCompress2(encoder.get(), reinterpret_cast<const unsigned char *>(pixels.colours.data()),
                    static_cast<int>(pixels.width), 0, static_cast<int>(pixels.height), TJPF_RGBX, &buffer,
                    &size, grey ? TJSAMP_GRAY : TJSAMP_444, quality,
                    progressive ? TJFLAG_PROGRESSIVE : 0) != 0)
        throw std::runtime_error(tjGetErrorStr2(encoder.get()));
    const auto *start = reinterpret_cast<const std::byte *>(buffer);
    Bytes file(start, start + size);
    tjFree(buffer);
    return file;
}

namespace {

/// With a segment after the start of the image.
Bytes withSegment(Bytes jpeg, std::string_view marker, const Bytes &contents) {
    Bytes segment;
    append(segment, marker);
    appendNumber(segment, 2 + contents.size(), 2, true);
    segment.insert(segment.end(), contents.begin(), contents.end());
    jpeg.insert(jpeg.begin() + 2, segment.begin(), segment.end());
    return jpeg;
}

} // namespace

Bytes jpegOf(const Pixels &pixels, const TestExif &exif) {
    Bytes contents;
    append(contents, std::string_view("Exif\0\0", 6));
    const Bytes block = exifBytes(exif);
    contents.insert(contents.end(), block.begin(), block.end());
    return withSegment(jpegOf(pixels), "\xFF\xE1", contents);
}

Bytes xmpOf(std::string_view properties) {
    Bytes contents;
    append(contents, "<x:xmpmeta xmlns:x='adobe:ns:meta/'>"
                     "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
                     "<rdf:Description rdf:about='' xmlns:xmp='http://ns.adobe.com/xap/1.0/' "
                     "xmlns:dc='http://purl.org/dc/elements/1.1/' "
                     "xmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>");
    append(contents, properties);
    append(contents, "</rdf:Description></rdf:RDF></x:xmpmeta>");
    return contents;
}

Bytes withXmp(const Bytes &jpeg, std::string_view properties) {
    Bytes contents;
    append(contents, std::string_view("http://ns.adobe.com/xap/1.0/\0", 29));
    const Bytes packet = xmpOf(properties);
    contents.insert(contents.end(), packet.begin(), packet.end());
    return withSegment(jpeg, "\xFF\xE1", contents);
}

Bytes withIptc(const Bytes &jpeg, const std::vector<std::pair<std::uint8_t, std::string>> &sets) {
    Bytes record;
    for (const auto &[number, text] : sets) {
        append(record, std::string_view("\x1C\x02", 2));
        record.push_back(static_cast<std::byte>(number));
        appendNumber(record, text.size(), 2, true);
        append(record, text);
    }
    Bytes contents;
    append(contents, std::string_view("Photoshop 3.0\0"
                                      "8BIM\x04\x04\0\0",
                                      22));
    appendNumber(contents, record.size(), 4, true);
    contents.insert(contents.end(), record.begin(), record.end());
    if (record.size() % 2 != 0)
        contents.push_back(std::byte{0});
    return withSegment(jpeg, "\xFF\xED", contents);
}

Bytes pngOf(const Pixels &pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = pixels.width;
    image.height = pixels.height;
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = 0;
    png_image_write_get_memory_size(image, size, 0, pixels.colours.data(), 0, nullptr);
    Bytes file(size);
    if (png_image_write_to_memory(&image, file.data(), &size, 0, pixels.colours.data(), 0, nullptr) == 0)
        throw std::runtime_error(image.message);
    file.resize(size);
    return file;
}

Bytes pngOf(const Pixels &pixels, const TestExif &exif) {
    Bytes file = pngOf(pixels), chunk;
    appendChunk(chunk, "eXIf", exifBytes(exif));
    constexpr std::ptrdiff_t afterHeader = 8 + 25;
    file.insert(file.begin() + afterHeader, chunk.begin(), chunk.end());
    return file;
}

Bytes pngThatClaims(std::uint32_t width, std::uint32_t height, bool isInterlaced, std::size_t pixelBytes) {
    Bytes header;
    appendNumber(header, width, 4, true);
    appendNumber(header, height, 4, true);
    append(header, std::string_view("\x08\x02\0\0", 4)); // 8 bits a sample, RGB
    header.push_back(isInterlaced ? std::byte{1} : std::byte{0});
    const Bytes rows(pixelBytes);
    Bytes packed(compressBound(rows.size()));
    uLongf packedSize = packed.size();
    compress(reinterpret_cast<Bytef *>(packed.data()), &packedSize,
             reinterpret_cast<const Bytef *>(rows.data()), rows.size());
    packed.resize(packedSize);
    Bytes file;
    append(file, "\x89PNG\r\n\x1A\n");
    appendChunk(file, "IHDR", header);
    appendChunk(file, "IDAT", packed);
    appendChunk(file, "IEND", {});
    return file;
}

Bytes tiffOf(const Pixels &pixels, std::uint16_t orientation) {
    Bytes out;
    appendTiffHeader(out, false);
    Directory image(false);
    constexpr std::uint32_t entryCount = 10;
    constexpr std::uint32_t strip = 8 + 2 + 12 * entryCount + 4;
    image.number32(0x0100, pixels.width);
    image.number32(0x0101, pixels.height);
    image.number16(0x0102, 8); // bits a sample
    image.number16(0x0103, 1); // not compressed
    image.number16(0x0106, 2); // RGB
    image.number32(0x0111, strip);
    image.number16(0x0112, orientation);
    image.number16(0x0115, 3); // samples a pixel
    image.number32(0x0116, pixels.height);
    image.number32(0x0117, pixels.width * pixels.height * 3);
    image.writeTo(out);
    for (const Colour &colour : pixels.colours)
        for (const std::uint8_t part : {colour.red, colour.green, colour.blue})
            out.push_back(std::byte{part});
    return out;
}

Bytes gifOf(std::uint16_t width, std::uint16_t height, Colour colour) {
    Bytes out;
    append(out, "GIF89a");
    appendNumber(out, width, 2, false);
    appendNumber(out, height, 2, false);
    append(out, std::string_view("\x86\0\0", 3)); // a table of 128 colours, all the same
    for (int entry = 0; entry < 128; ++entry)
        for (const std::uint8_t part : {colour.red, colour.green, colour.blue})
            out.push_back(std::byte{part});
    append(out, std::string_view("\x2C\0\0\0\0", 5));
    appendNumber(out, width, 2, false);
    appendNumber(out, height, 2, false);
    append(out,
           std::string_view("\0\x07", 2)); // codes start at 8 bits and stay there: cleared before they grow
    Bytes codes;
    const std::size_t count = std::size_t{width} * height;
    for (std::size_t index = 0; index < count; ++index) {
        if (index % 100 == 0)
            codes.push_back(std::byte{0x80}); // clear
        codes.push_back(std::byte{0});
    }
    codes.push_back(std::byte{0x81}); // end
    for (std::size_t at = 0; at < codes.size(); at += 255) {
        const std::size_t size = std::min<std::size_t>(255, codes.size() - at);
        out.push_back(static_cast<std::byte>(size));
        out.insert(out.end(), codes.begin() + static_cast<std::ptrdiff_t>(at),
                   codes.begin() + static_cast<std::ptrdiff_t>(at + size));
    }
    append(out, std::string_view("\0\x3B", 2));
    return out;
}

Pixels decodedPicture(const Bytes &file) {
    Pixels pixels;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, file.data(), file.size()) != 0) {
        image.format = PNG_FORMAT_RGBA;
        pixels = {image.width, image.height, std::vector<Colour>(std::size_t{image.width} * image.height)};
        if (png_image_finish_read(&image, nullptr, pixels.colours.data(), 0, nullptr) == 0)
            pixels = {};
        return pixels;
    }
    const Turbo decoder(tjInitDecompress());
    const auto *bytes = reinterpret_cast<const unsigned char *>(file.data());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;
    if (tjDecompressHeader3(decoder.get(), bytes, file.size(), &width, &height, &subsampling, &colours) != 0)
        return {};
    pixels = {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
              std::vector<Colour>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
    if (tjDecompress2(decoder.get(), bytes, file.size(),
                      reinterpret_cast<unsigned char *>(pixels.colours.data()), width, 0, height, TJPF_RGBA,
                      0) != 0)
        return {};
    return pixels;
}

} // namespace wickerlane::test
