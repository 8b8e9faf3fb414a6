// The first look at a picture, the preview that it carries, and raw files, which are seen by theirs.
#include <gmock/gmock.h>

#include "tests/hoardd/media/MediaTestSupport.h"

namespace wickerlane::hoardd {
namespace {

using namespace wickerlane::test;

class Previews : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(reasonOf(pool().testConfinement()), "");
        ASSERT_EQ(reasonOf(pool().probe(fileOf(tiffOf(fourCorners(8, 8))).get(), {})), "");
    }

    FirstLook examine(const Bytes &file) { return pool().examine(fileOf(file).get(), targets()); }
    Result<PictureFacts> probe(const Bytes &file) { return pool().probe(fileOf(file).get(), targets()); }
    Pixels thumbnail(std::size_t index) { return decodedPicture(contentsOf(outputs.at(index))); }

private:
    std::array<ThumbnailTarget, 2> targets() {
        outputs.clear();
        outputs.push_back(fileOf({}));
        outputs.push_back(fileOf({}));
        return {{{256, outputs[0].get()}, {1024, outputs[1].get()}}};
    }
    std::vector<UniqueFd> outputs;
};

/// A picture of 3 : 2 that fills a small one of 4 : 3 up to black bars, as cameras make them.
Pixels padded(const Pixels &picture) {
    Pixels result{picture.width, picture.width * 3 / 4, {}};
    result.colours.resize(std::size_t{result.width} * result.height);
    std::ranges::copy(picture.colours,
                      result.colours.begin() + (result.height - picture.height) / 2 * result.width);
    return result;
}

TEST_F(Previews, AFirstLookTakesThePreviewForThePicture) {
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.preview = jpegOf(padded(fourCorners(150, 100)));
    const Pixels picture = scene(1500, 1000, 1); // unlike its preview
    for (const auto &[orientation, corners] : {std::pair{1, "RGBY"}, std::pair{6, "YRGB"}})
        for (const bool bigEndian : {false, true}) {
            exif.orientation = static_cast<std::uint16_t>(orientation);
            exif.bigEndian = bigEndian;
            const FirstLook seen = examine(jpegOf(picture, exif));
            ASSERT_EQ(reasonOf(seen.ended), "");
            ASSERT_EQ(seen.thumbnails, QuickThumbnails::ofPreview);
            EXPECT_EQ(seen.facts.width, orientation == 1 ? 1500U : 1000U);
            EXPECT_EQ(seen.facts.height, orientation == 1 ? 1000U : 1500U);
            EXPECT_TRUE(seen.facts.captureDate);
            for (const std::size_t index : {0U, 1U}) {
                const Pixels made = thumbnail(index);
                EXPECT_EQ(std::max(made.width, made.height), 150U) << "it is not enlarged";
                EXPECT_NEAR(std::min(made.width, made.height), 100U, 1) << "the bars are gone";
                EXPECT_EQ(cornersOf(made), corners);
            }
        }
}

TEST_F(Previews, AFirstLookFindsWhatALongerOneFinds) {
    TestExif exif;
    exif.orientation = 8;
    exif.make = "Maker";
    const Pixels corners = fourCorners(400, 300);
    for (const Bytes &file : {jpegOf(corners, exif), pngOf(corners, exif), tiffOf(corners, 3),
                              gifOf(30, 20, cornerGreen), pngThatClaims(40'000, 40'000), Bytes(50)}) {
        const auto probed = probe(file);
        const FirstLook seen = examine(file);
        EXPECT_EQ(seen.thumbnails, probed ? QuickThumbnails::ofPicture : QuickThumbnails::none);
        EXPECT_EQ(problemOf(seen.ended), problemOf(probed));
        EXPECT_EQ(reasonOf(seen.ended), reasonOf(probed));
        if (!probed)
            continue;
        EXPECT_EQ(seen.facts.format, probed->format);
        EXPECT_EQ(seen.facts.width, probed->width);
        EXPECT_EQ(seen.facts.height, probed->height);
        EXPECT_EQ(seen.facts.orientation, probed->orientation);
        EXPECT_EQ(seen.facts.cameraMake, probed->cameraMake);
    }
}

TEST_F(Previews, AFirstLookAtASmallPictureMakesItsThumbnails) {
    TestExif exif;
    exif.orientation = 6;
    exif.preview = jpegOf(fourCorners(150, 100));
    const FirstLook seen = examine(jpegOf(fourCorners(600, 400), exif));
    EXPECT_EQ(seen.thumbnails, QuickThumbnails::ofPicture);
    EXPECT_EQ(thumbnail(1).height, 600U);
    EXPECT_EQ(thumbnail(0).height, 256U);
    EXPECT_EQ(cornersOf(thumbnail(0)), "YRGB");
}

TEST_F(Previews, AFirstLookPromisesNothingOfThePictureItself) {
    Bytes cut = tiffOf(fourCorners(400, 300));
    cut.resize(300); // all of its pixels are missing
    EXPECT_EQ(reasonOf(examine(cut).ended), "");
    EXPECT_EQ(examine(cut).facts.width, 400U);
    EXPECT_EQ(problemOf(probe(cut)), ProblemKind::invalid);
}

TEST_F(Previews, ABrokenPreviewIsAsGoodAsNone) {
    const Bytes preview = jpegOf(fourCorners(160, 120));
    Bytes cut = preview, empty(40);
    cut.resize(30);
    for (const Bytes &broken : {cut, empty, pngOf(fourCorners(8, 8))}) {
        TestExif exif;
        exif.preview = broken;
        const Bytes file = jpegOf(fourCorners(1500, 1000), exif);
        EXPECT_EQ(examine(file).thumbnails, QuickThumbnails::none);
        EXPECT_EQ(reasonOf(examine(file).ended), "");
        EXPECT_EQ(reasonOf(probe(file)), "");
        EXPECT_EQ(cornersOf(thumbnail(0)), "RGBY");
    }
}

TEST_F(Previews, RawFilesAreSeenByTheirPreviews) {
    const Bytes preview = jpegOf(fourCorners(1200, 800));
    const struct {
        TestRaw raw;
        MediaFormat format;
        std::uint32_t width, height;
        const char *corners;
    } cases[] = {
        {{.preview = preview}, MediaFormat::raw, 3000, 2000, "RGBY"},
        {{.bigEndian = true, .preview = preview}, MediaFormat::raw, 3000, 2000, "RGBY"},
        {{.orientation = 6, .preview = preview}, MediaFormat::raw, 2000, 3000, "YRGB"},
        {{.preview = preview, .saysVersion = true, .saysFilterArray = false},
         MediaFormat::raw,
         3000,
         2000,
         "RGBY"},
        {{.preview = preview, .previewIsStrip = true}, MediaFormat::raw, 3000, 2000, "RGBY"},
        {{.width = 0, .height = 9'000'000, .preview = preview}, MediaFormat::raw, 1200, 800, "RGBY"},
        {{.preview = preview, .saysFilterArray = false}, MediaFormat::tiff, 16, 12, "????"},
    };
    for (const auto &[raw, format, width, height, corners] : cases) {
        SCOPED_TRACE(&raw - &cases[0].raw);
        const Bytes file = rawOf(raw);
        const auto probed = probe(file);
        ASSERT_EQ(reasonOf(probed), "");
        EXPECT_EQ(probed->format, format);
        EXPECT_EQ(probed->width, width);
        EXPECT_EQ(probed->height, height);
        EXPECT_EQ(cornersOf(thumbnail(0)), corners);
        EXPECT_EQ(std::max(thumbnail(1).width, thumbnail(1).height),
                  format == MediaFormat::raw ? 1024U : 16U);
        if (format != MediaFormat::raw)
            continue;
        EXPECT_EQ(examine(file).facts.width, width);
        EXPECT_EQ(cornersOf(thumbnail(0)), corners);
        const UniqueFd output = fileOf({});
        const auto rendered = pool().render(fileOf(file).get(), {.format = MediaFormat::png}, output.get());
        ASSERT_EQ(reasonOf(rendered), "");
        EXPECT_EQ(std::max(rendered->width, rendered->height), 1200U);
        for (const std::size_t length : {file.size() / 2, file.size() - preview.size() / 2, std::size_t{200}})
            static_cast<void>(probe(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length))));
    }
}

TEST_F(Previews, ARawFileWithoutOneSaysSo) {
    TestRaw raw;
    for (const Bytes &preview : {Bytes(), Bytes(500), pngOf(fourCorners(64, 64))}) {
        raw.preview = preview;
        const FirstLook seen = examine(rawOf(raw));
        for (const Result<> &ended : {seen.ended, probe(rawOf(raw)).map([](const PictureFacts &) {})}) {
            EXPECT_EQ(problemOf(ended), ProblemKind::invalid);
            EXPECT_THAT(reasonOf(ended), ::testing::HasSubstr("carries no preview"));
        }
        EXPECT_EQ(seen.facts.format, MediaFormat::raw);
    }
    using namespace std::string_literals;
    for (const std::string &start : {"FUJIFILMCCD-RAW 0201"s, "IIU\0\x18\0\0\0"s, "II*\0\x10\0\0\0CR\2\0"s,
                                     "\0\0\0\x18"
                                     "ftypcrx \0\0\0\1crx isom"s}) {
        Bytes file(2000);
        std::ranges::transform(start, file.begin(), [](char c) { return static_cast<std::byte>(c); });
        EXPECT_EQ(mediaFormatOf(file), MediaFormat::raw) << start;
        EXPECT_EQ(problemOf(probe(file)), ProblemKind::invalid) << start;
    }
}

} // namespace
} // namespace wickerlane::hoardd
