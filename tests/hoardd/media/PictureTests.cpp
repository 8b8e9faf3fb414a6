// What the workers make of pictures: formats, sizes, orientation, colours.
#include <gmock/gmock.h>

#include "tests/hoardd/media/MediaTestSupport.h"
#include "wickerlane/platform/process/Sanitizers.h"

namespace wickerlane::hoardd {
namespace {

using namespace wickerlane::test;

class Pictures : public ::testing::Test {
protected:
    // Has both kinds of worker started before the first test counts descriptors.
    static void SetUpTestSuite() {
        ASSERT_EQ(reasonOf(pool().testConfinement()), "");
        ASSERT_EQ(reasonOf(pool().probe(fileOf(tiffOf(fourCorners(8, 8))).get(), {})), "");
    }

    Result<PictureFacts> probe(const Bytes &file, std::initializer_list<std::uint32_t> sides) {
        thumbnails.clear();
        std::vector<ThumbnailTarget> targets;
        for (const std::uint32_t side : sides) {
            thumbnails.push_back(fileOf({}));
            targets.push_back({side, thumbnails.back().get()});
        }
        return pool().probe(fileOf(file).get(), targets);
    }
    Pixels thumbnail(std::size_t index) { return decodedPicture(contentsOf(thumbnails.at(index))); }

    Result<ImageSize> render(const Bytes &file, const ImageSettings &settings, Bytes &image) {
        const UniqueFd output = fileOf({});
        const auto result = pool().render(fileOf(file).get(), settings, output.get());
        image = contentsOf(output);
        return result;
    }

    std::vector<UniqueFd> thumbnails;
};

TEST_F(Pictures, ThumbnailsAreUprightWithTheLongestSideAsAsked) {
    struct Case {
        std::uint16_t orientation;
        bool isSideways;
        const char *corners;
    };
    // As stored the corners are RGBY. What an orientation does to them is laid down by EXIF.
    for (const Case &expected :
         {Case{0, false, "RGBY"}, Case{1, false, "RGBY"}, Case{2, false, "GRYB"}, Case{3, false, "BYRG"},
          Case{4, false, "YBGR"}, Case{5, true, "RYBG"}, Case{6, true, "YRGB"}, Case{7, true, "BGRY"},
          Case{8, true, "GBYR"}, Case{9, false, "RGBY"}}) {
        SCOPED_TRACE(expected.orientation);
        TestExif exif;
        exif.orientation = expected.orientation;
        exif.bigEndian = expected.orientation % 2 == 0;
        const auto result = probe(jpegOf(fourCorners(1200, 800), exif), {64, 300});
        ASSERT_EQ(reasonOf(result), "");
        EXPECT_EQ(result->width, expected.isSideways ? 800U : 1200U);
        EXPECT_EQ(result->height, expected.isSideways ? 1200U : 800U);
        EXPECT_EQ(result->orientation, expected.orientation % 9 == 0 ? 1U : expected.orientation);
        for (const std::size_t index : {0U, 1U}) {
            const Pixels made = thumbnail(index);
            EXPECT_EQ(std::max(made.width, made.height), index == 0 ? 64U : 300U);
            EXPECT_EQ(std::min(made.width, made.height), index == 0 ? 43U : 200U);
            EXPECT_EQ(made.height > made.width, expected.isSideways);
            EXPECT_EQ(cornersOf(made), expected.corners);
        }
    }
}

TEST_F(Pictures, OtherFormatsAreTurnedAsTheySay) {
    for (const std::uint16_t orientation : {std::uint16_t{6}, std::uint16_t{7}}) {
        TestExif exif;
        exif.orientation = orientation;
        for (const Bytes &file :
             {pngOf(fourCorners(300, 200), exif), tiffOf(fourCorners(300, 200), orientation)}) {
            const auto result = probe(file, {100});
            ASSERT_EQ(reasonOf(result), "") << orientation;
            SCOPED_TRACE(std::string(mediaFormatName(result->format)) + std::to_string(orientation));
            EXPECT_EQ(result->width, 200U);
            EXPECT_EQ(result->height, 300U);
            EXPECT_EQ(cornersOf(thumbnail(0)), orientation == 6 ? "YRGB" : "BGRY");
        }
    }
}

TEST_F(Pictures, EveryFormatIsRecognisedByContentAndDecoded) {
    const Pixels corners = fourCorners(400, 300);
    Bytes webp;
    ASSERT_EQ(reasonOf(render(pngOf(corners), {.format = MediaFormat::webp}, webp)), "");
    const std::vector<std::pair<MediaFormat, Bytes>> files{
        {MediaFormat::jpeg, jpegOf(corners)}, {MediaFormat::jpeg, jpegOf(corners, 90, false, true)},
        {MediaFormat::png, pngOf(corners)},   {MediaFormat::webp, webp},
        {MediaFormat::tiff, tiffOf(corners)}, {MediaFormat::gif, gifOf(400, 300, cornerGreen)}};
    for (const auto &[format, file] : files) {
        SCOPED_TRACE(mediaFormatName(format));
        const auto result = probe(file, {100});
        ASSERT_EQ(reasonOf(result), "");
        EXPECT_EQ(result->format, format);
        EXPECT_EQ(result->width, 400U);
        EXPECT_EQ(result->height, 300U);
        EXPECT_EQ(thumbnail(0).width, 100U);
        EXPECT_EQ(cornersOf(thumbnail(0)), format == MediaFormat::gif ? "GGGG" : "RGBY");
    }
}

TEST_F(Pictures, DamageThatAViewerOverlooksIsOverlooked) {
    // Lines that take little room, and others that take much.
    Pixels detailed = scene(400, 300, 1);
    std::fill_n(detailed.colours.begin(), 400 * 100, cornerRed);
    const Bytes jpeg = jpegOf(fourCorners(400, 300)), png = pngOf(detailed);
    const auto withJunkAt = [&](std::size_t place) {
        Bytes file = jpeg;
        file.insert(file.begin() + static_cast<std::ptrdiff_t>(place), 7, std::byte{0x11});
        return file;
    };
    const auto part = [](const Bytes &file, std::size_t bytes) {
        return Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(bytes));
    };
    const auto markerOf = [&](unsigned marker) { // its first place after the start of the file
        for (std::size_t at = 2; at + 1 < jpeg.size(); ++at)
            if (jpeg[at] == std::byte{0xFF} && jpeg[at + 1] == static_cast<std::byte>(marker))
                return at;
        return std::size_t{0};
    };
    Bytes junkAtEnd = jpeg;
    junkAtEnd.resize(jpeg.size() + 1000);
    const std::size_t scan = markerOf(0xDA) + 14; // after its header of three colours
    const struct {
        const char *what;
        Bytes file;
        bool isSound, isCutOff;
    } cases[] = {
        {"bytes before a table", withJunkAt(markerOf(0xDB)), true, false},
        {"bytes before the frame", withJunkAt(markerOf(0xC0)), true, false},
        {"bytes after the end", junkAtEnd, true, false},
        {"a JPEG to its half", part(jpeg, scan + (jpeg.size() - scan) / 2), true, true},
        {"a JPEG without its end", part(jpeg, jpeg.size() - 2), true, true},
        {"a JPEG without a line", part(jpeg, scan), false, false},
        {"a PNG to its half", part(png, png.size() / 2), true, true},
        {"a PNG without its end", part(png, png.size() - 12), true, true},
        {"a PNG without a line", pngThatClaims(2000, 300), false, false},
        {"an interlaced PNG without a line", pngThatClaims(2000, 300, true, 700), false, false},
        {"an interlaced PNG to its pixels", part(pngThatClaims(2000, 300, true), 33), false, false},
        {"an interlaced PNG that stops before its first line",
         part(pngThatClaims(2000, 300, true), 33 + 8 + 6), false, false},
    };
    for (const auto &[what, file, isSound, isCutOff] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(pool().examine(fileOf(file).get(), {}).ended.has_value(), isSound) << "at a glance";
        const auto result = probe(file, {100});
        EXPECT_EQ(problemOf(result), isSound ? std::nullopt : std::optional(ProblemKind::invalid))
            << reasonOf(result);
        if (!result || !isSound)
            continue;
        EXPECT_EQ(result->width, 400U);
        EXPECT_EQ(result->isCutOff, isCutOff ? 1U : 0U);
        EXPECT_TRUE(isLike(thumbnail(0).at(5, 5), cornerRed, 12));
        if (!isCutOff) {
            EXPECT_EQ(cornersOf(thumbnail(0)), "RGBY");
        }
    }
}

TEST_F(Pictures, ThatEndEarlyAreToldFromWholeOnes) {
    const Pixels corners = scene(400, 300, 1);
    Bytes webp;
    ASSERT_EQ(reasonOf(render(pngOf(corners), {.format = MediaFormat::webp}, webp)), "");
    const Bytes gif = gifOf(400, 300, cornerGreen);
    const std::pair<const char *, Bytes> files[] = {
        {"JPEG", jpegOf(corners)},
        {"progressive", jpegOf(corners, 90, false, true)},
        {"PNG", pngOf(corners)},
        {"WebP", webp},
        {"TIFF", tiffOf(corners)},
        {"GIF", gif},
        {"GIF without the mark at its end", {gif.begin(), gif.end() - 1}}};
    for (const auto &[what, file] : files) {
        SCOPED_TRACE(what);
        const auto whole = probe(file, {100});
        ASSERT_EQ(reasonOf(whole), "");
        EXPECT_EQ(whole->isCutOff, 0U);
        for (const std::size_t bytes : {file.size() * 9 / 10, file.size() / 2, std::size_t{20}}) {
            const auto part = probe({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(bytes)}, {100});
            EXPECT_TRUE(part ? part->isCutOff != 0
                             : reasonOf(part) == "the file ends before its picture does")
                << bytes << " bytes: " << reasonOf(part);
        }
    }
}

#if !WL_ANY_SANITIZER // where memory has no limit
TEST_F(Pictures, LimitsAreToldInWordsForPeople) {
    // Interlaced ones are decoded as a whole.
    Bytes image;
    const auto result =
        render(pngThatClaims(16'000, 16'000, true, 8192), {.format = MediaFormat::png}, image);
    EXPECT_EQ(problemOf(result), ProblemKind::invalid);
    EXPECT_EQ(reasonOf(result), "256 megapixels are more than memory allows");
}
#endif

TEST_F(Pictures, SmallPicturesAreNotEnlargedAndGreyOnesStayGrey) {
    const auto result = probe(jpegOf(fourCorners(40, 20), 90, true), {256, 1024});
    ASSERT_EQ(reasonOf(result), "");
    const Pixels made = thumbnail(1);
    EXPECT_EQ(made.width, 40U);
    EXPECT_EQ(made.height, 20U);
    EXPECT_TRUE(isLike(made.at(3, 3), {87, 87, 87})) << int{made.at(3, 3).red}; // the brightness of cornerRed
}

TEST_F(Pictures, ThumbnailsShowWhiteThroughAlpha) {
    Pixels pixels = fourCorners(64, 64);
    for (Colour &colour : pixels.colours)
        colour.alpha = 0;
    ASSERT_EQ(reasonOf(probe(pngOf(pixels), {32})), "");
    EXPECT_TRUE(isLike(thumbnail(0).at(16, 16), {255, 255, 255}));
}

TEST_F(Pictures, RenderedImagesAreUprightInTheWantedFormatAndSize) {
    TestExif exif;
    exif.orientation = 6;
    exif.make = "Maker";
    const Bytes picture = jpegOf(fourCorners(600, 400), exif);
    for (const MediaFormat format : {MediaFormat::jpeg, MediaFormat::png, MediaFormat::webp})
        for (const std::uint32_t side : {0U, 150U, 5000U}) {
            SCOPED_TRACE(std::string(mediaFormatName(format)) + " " + std::to_string(side));
            Bytes image;
            const auto result = render(picture, {.format = format, .maxSide = side}, image);
            ASSERT_EQ(reasonOf(result), "");
            EXPECT_EQ(result->width, side == 150 ? 100U : 400U);
            EXPECT_EQ(result->height, side == 150 ? 150U : 600U);
            EXPECT_EQ(mediaFormatOf(image), format);
            // The result needs turning no more, and says nothing of the camera.
            const auto again = probe(image, {100});
            ASSERT_EQ(reasonOf(again), "");
            EXPECT_EQ(again->width, result->width);
            EXPECT_EQ(again->cameraMake, "");
            EXPECT_EQ(cornersOf(thumbnail(0)), "YRGB");
        }
}

TEST_F(Pictures, SurfacesAreEncodedFromEveryLayout) {
    constexpr std::uint32_t width = 50;
    constexpr std::uint32_t height = 30;
    for (const SurfaceFormat format : {SurfaceFormat::bgra, SurfaceFormat::rgba, SurfaceFormat::gray})
        for (const std::uint32_t padding : {0U, 56U})
            for (const MediaFormat output : {MediaFormat::png, MediaFormat::jpeg}) {
                const std::uint32_t pixelBytes = format == SurfaceFormat::gray ? 1 : 4;
                const std::uint32_t row = width * pixelBytes + padding;
                Bytes memory(std::size_t{row} * height, std::byte{0xEE});
                for (std::uint32_t y = 0; y < height; ++y)
                    for (std::uint32_t x = 0; x < width; ++x) {
                        std::byte *pixel = &memory[std::size_t{y} * row + std::size_t{x} * pixelBytes];
                        // Half-transparent orange, premultiplied.
                        constexpr std::array<int, 4> orange{100, 50, 0, 128};
                        for (std::uint32_t part = 0; part < pixelBytes; ++part)
                            pixel[part] = static_cast<std::byte>(
                                format == SurfaceFormat::bgra && part != 3 ? orange[2 - part] : orange[part]);
                    }
                const UniqueFd shared = fileOf(memory);
                const UniqueFd image = fileOf({});
                const SurfacePixels surface{shared.get(), width, height, format, row};
                const auto result = pool().encode(surface, {.format = output}, image.get());
                ASSERT_EQ(reasonOf(result), "");
                const Pixels decoded = decodedPicture(contentsOf(image));
                ASSERT_EQ(decoded.width, width);
                ASSERT_EQ(decoded.height, height);
                const Colour expected = format == SurfaceFormat::gray ? Colour{100, 100, 100}
                                        : output == MediaFormat::png  ? Colour{199, 100, 0, 128}
                                                                      : Colour{227, 177, 127};
                const Colour found = decoded.at(width - 1, height - 1);
                EXPECT_TRUE(isLike(found, expected, 4)) << int{found.red} << " " << int{found.green} << " "
                                                        << int{found.blue} << " " << int{found.alpha};
            }
    const UniqueFd small = fileOf(Bytes(100));
    const UniqueFd image = fileOf({});
    EXPECT_EQ(
        problemOf(pool().encode({small.get(), width, height, SurfaceFormat::bgra, 200}, {}, image.get())),
        ProblemKind::invalid);
    EXPECT_EQ(
        problemOf(pool().encode({small.get(), width, height, SurfaceFormat::bgra, 60}, {}, image.get())),
        ProblemKind::invalid);
}

} // namespace
} // namespace wickerlane::hoardd
