// What a picture file says of itself, and what it had better not be believed.
#include <algorithm>
#include <gmock/gmock.h>

#include "tests/hoardd/media/MediaTestSupport.h"

namespace wickerlane::hoardd {
namespace {

using namespace wickerlane::test;

class Metadata : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(reasonOf(pool().testConfinement()), ""); }

    static PictureFacts factsOf(const Bytes &file) {
        const auto result = pool().probe(fileOf(file).get(), {});
        EXPECT_EQ(reasonOf(result), "");
        return result.value_or(PictureFacts());
    }
    static PictureFacts factsOf(const TestExif &exif) { return factsOf(jpegOf(fourCorners(16, 16), exif)); }
};

TestExif complete() {
    TestExif exif;
    exif.make = "Maker";
    exif.model = "Model 7";
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.subSecTimeOriginal = "25";
    exif.offsetTimeOriginal = "+02:00";
    exif.latitude = {{48, 51, 30}};
    exif.longitude = {{2, 17, 40}};
    exif.latitudeRef = "N";
    exif.longitudeRef = "W";
    return exif;
}

TEST_F(Metadata, AreReadInBothByteOrders) {
    for (const bool bigEndian : {false, true}) {
        TestExif exif = complete();
        exif.bigEndian = bigEndian;
        const PictureFacts facts = factsOf(exif);
        EXPECT_EQ(facts.cameraMake, "Maker");
        EXPECT_EQ(facts.cameraModel, "Model 7");
        ASSERT_TRUE(facts.captureDate);
        EXPECT_EQ(facts.captureDate->seconds, 1'623'745'230); // 08:20:30 UTC
        EXPECT_EQ(facts.captureDate->nanoseconds, 250'000'000U);
        EXPECT_EQ(facts.captureDate->zoneMinutes.asOptional(), 120);
        ASSERT_TRUE(facts.place);
        EXPECT_NEAR(facts.place->latitude, 48.858333, 1e-6);
        EXPECT_NEAR(facts.place->longitude, -2.294444, 1e-6);
    }
}

TEST_F(Metadata, DatesThatMakeNoSenseAreNone) {
    struct Case {
        const char *date;
        const char *zone;
        std::optional<std::int64_t> seconds;
        std::optional<int> zoneMinutes;
    };
    for (const Case &expected : {
             Case{"2021:06:15 10:20:30", "", 1'623'752'430, std::nullopt},
             Case{"2021:06:15 10:20:30", "-05:30", 1'623'772'230, -330},
             Case{"2021:06:15 10:20:30", "Z", 1'623'752'430, 0},
             Case{"2021:06:15 10:20:30", "+2:00", 1'623'752'430, std::nullopt},
             Case{"2021:06:15 10:20:30", "+99:00", 1'623'752'430, std::nullopt},
             Case{"1960:01:01 00:00:00", "", -315'619'200, std::nullopt},
             Case{"2020:02:29 00:00:00", "", 1'582'934'400, std::nullopt},
             Case{"2021:02:29 00:00:00", "", std::nullopt, std::nullopt},
             Case{"0000:00:00 00:00:00", "", std::nullopt, std::nullopt},
             Case{"    :  :     :  :  ", "", std::nullopt, std::nullopt},
             Case{"2021:13:01 00:00:00", "", std::nullopt, std::nullopt},
             Case{"2021:06:15 24:20:30", "", std::nullopt, std::nullopt},
             Case{"2021:06:15", "", std::nullopt, std::nullopt},
             Case{"-021:06:15 10:20:30", "", std::nullopt, std::nullopt},
             Case{"yesterday", "", std::nullopt, std::nullopt},
         }) {
        SCOPED_TRACE(std::string(expected.date) + expected.zone);
        TestExif exif;
        exif.dateTimeOriginal = expected.date;
        exif.offsetTimeOriginal = expected.zone;
        const PictureFacts facts = factsOf(exif);
        ASSERT_EQ(facts.captureDate.has_value(), expected.seconds.has_value());
        if (!facts.captureDate)
            continue;
        EXPECT_EQ(facts.captureDate->seconds, *expected.seconds);
        EXPECT_EQ(facts.captureDate->zoneMinutes.asOptional(), expected.zoneMinutes);
    }
}

TEST_F(Metadata, PlacesThatMakeNoSenseAreNone) {
    const std::vector<std::pair<const char *, void (*)(TestExif &)>> spoilers{
        {"no hemisphere", [](TestExif &exif) { exif.latitudeRef = ""; }},
        {"unknown hemisphere", [](TestExif &exif) { exif.longitudeRef = "N"; }},
        {"one coordinate", [](TestExif &exif) { exif.longitude.reset(); }},
        {"beyond the pole",
         [](TestExif &exif) {
             exif.latitude = {{90, 0, 1}};
         }},
        {"beyond the date line",
         [](TestExif &exif) {
             exif.longitude = {{4'000'000'000, 0, 0}};
         }},
        {"61 minutes",
         [](TestExif &exif) {
             exif.latitude = {{48, 61, 0}};
         }},
        {"divided by zero", [](TestExif &exif) { exif.gpsDenominator = 0; }},
    };
    for (const auto &[name, spoil] : spoilers) {
        SCOPED_TRACE(name);
        TestExif exif = complete();
        spoil(exif);
        const PictureFacts facts = factsOf(exif);
        EXPECT_FALSE(facts.place);
        EXPECT_TRUE(facts.captureDate) << "the rest stands";
    }
}

/// The bytes of a JPEG in which the place is the whole EXIF block but for the pointer to it, with a change
/// from some byte of the directory on.
Bytes withPlaceChanged(const TestExif &exif, std::size_t at, std::initializer_list<unsigned char> change) {
    Bytes block = exifBytes(exif);
    constexpr std::size_t directory = 8 + 2 + 12 + 4;
    for (const unsigned char each : change)
        block[directory + at++] = static_cast<std::byte>(each);
    const Bytes plain = exifBytes(exif);
    Bytes file = jpegOf(fourCorners(16, 16), exif);
    std::ranges::copy(block, std::search(file.begin(), file.end(), plain.begin(), plain.end()));
    return file;
}

TEST_F(Metadata, OneOddFieldCostsNoPlace) {
    TestExif exif = complete();
    exif.make = exif.model = exif.dateTimeOriginal = exif.subSecTimeOriginal = exif.offsetTimeOriginal = "";
    exif.gpsStatus = "A";
    constexpr std::size_t entries = 2, entry = 12, type = 2, count = 4, value = 8;
    const struct {
        const char *what;
        std::size_t at;
        std::initializer_list<unsigned char> bytes;
    } cases[] = {
        {"nothing", 0, {}},
        {"a number of entries that can't be", 0, {5, 1}},
        {"a hemisphere as a number", entries + type, {1, 0}},
        {"a coordinate with a sign", entries + entry + type, {10, 0}},
        {"a coordinate without seconds", entries + entry + count, {2, 0}},
        {"another field elsewhere", entries + 4 * entry + type, {7, 0, 0, 0x10, 0, 0, 0, 0xFF, 0xFF, 0}},
        {"a size that overflows", entries + 4 * entry + count, {0, 0, 0, 0x80}},
        {"a hemisphere in lower case", entries + 2 * entry + value, {'w'}},
    };
    for (const auto &each : cases) {
        const PictureFacts facts = factsOf(withPlaceChanged(exif, each.at, each.bytes));
        ASSERT_TRUE(facts.place) << each.what;
        EXPECT_NEAR(facts.place->latitude, 48.858333, 0.01) << each.what;
        EXPECT_NEAR(facts.place->longitude, -2.294444, 1e-6) << each.what;
    }
}

TEST_F(Metadata, NowhereIsAPlaceOnlyWithAFix) {
    for (const auto &[status, isPlace] :
         {std::pair("", false), std::pair("V", false), std::pair("A", true)}) {
        TestExif exif = complete();
        exif.latitude = exif.longitude = {{0, 0, 0}};
        exif.gpsStatus = status;
        EXPECT_EQ(factsOf(exif).place.has_value(), isPlace) << status;
    }
}

TEST_F(Metadata, TheTimeOfSatellitesTellsTheZone) {
    const struct {
        const char *day;
        std::array<std::uint32_t, 3> time;
        std::optional<int> zoneMinutes;
    } cases[] = {
        {"2021:06:15", {8, 20, 12}, 120},  // the fix is a little older
        {"2021:06:15", {4, 35, 30}, 345},  // three quarters of an hour
        {"2021:06:14", {23, 20, 30}, 660}, // the day before
        {"2021:06:15", {14, 22, 0}, -240},
        {"2021:06:15", {8, 13, 30}, std::nullopt}, // between two quarters
        {"2021:06:11", {8, 20, 30}, std::nullopt},
        {"", {8, 20, 30}, std::nullopt},
    };
    for (const auto &each : cases) {
        TestExif exif;
        exif.dateTimeOriginal = "2021:06:15 10:20:30";
        exif.gpsDate = each.day;
        exif.gpsTime = each.time;
        const PictureFacts facts = factsOf(exif);
        ASSERT_TRUE(facts.captureDate);
        EXPECT_EQ(facts.captureDate->zoneMinutes.asOptional(), each.zoneMinutes) << each.day;
        EXPECT_EQ(facts.captureDate->seconds, 1'623'752'430 - each.zoneMinutes.value_or(0) * 60) << each.day;
    }
}

TEST_F(Metadata, WrongByteOrderAndForeignTextDoNoHarm) {
    // Says little-endian, is big-endian.
    TestExif exif = complete();
    exif.bigEndian = true;
    Bytes file = jpegOf(fourCorners(16, 16), exif);
    file[12] = file[13] = std::byte{'I'};
    const PictureFacts wrong = factsOf(file);
    EXPECT_FALSE(wrong.captureDate);
    EXPECT_FALSE(wrong.place);
    EXPECT_EQ(wrong.width, 16U);

    exif = complete();
    exif.make = "A\nB\x1B[2J\xFF" + std::string(500, 'x');
    const std::string make(factsOf(exif).cameraMake.text());
    EXPECT_THAT(make, ::testing::StartsWith("A?B?[2J?xxx"));
    EXPECT_LT(make.size(), 64U);
}

TEST_F(Metadata, TheCameraSaysHowThePictureWasTaken) {
    for (const bool bigEndian : {false, true}) {
        TestExif exif;
        exif.bigEndian = bigEndian;
        exif.lens = "Lens 24-70 f/4";
        exif.exposure = {10, 1250};
        exif.aperture = {28, 10};
        exif.focalLength = {4'000'000'000, 80'000'000};
        exif.isoSpeed = 3200;
        const PictureFacts facts = factsOf(exif);
        EXPECT_EQ(facts.lens, "Lens 24-70 f/4");
        EXPECT_EQ(facts.exposureSeconds.asOptional(), 0.008);
        EXPECT_EQ(facts.aperture.asOptional(), 2.8);
        EXPECT_EQ(facts.focalLength.asOptional(), 50);
        EXPECT_EQ(facts.isoSpeed, 3200U);
    }
    TestExif odd;
    odd.exposure = {1, 0};
    odd.aperture = {0, 10};
    odd.focalLength = {4'000'000'000, 1};
    odd.isoSpeed = 65'535;
    odd.exposureIndex = 102'400;
    const PictureFacts facts =
        factsOf(withXmp(jpegOf(fourCorners(16, 16), odd), "<aux:Lens>A lens</aux:Lens>"));
    EXPECT_FALSE(facts.exposureSeconds || facts.aperture || facts.focalLength);
    EXPECT_EQ(facts.isoSpeed, 102'400U);
    EXPECT_EQ(facts.lens, "A lens");
}

TEST_F(Metadata, MayBeAFileOfTheirOwn) {
    MediaWorkers workers(testOptions());
    const auto facts = workers.readMetadata(
        fileOf(xmpOf("<xmp:Rating>4</xmp:Rating>"
                     "<dc:description><rdf:Alt><rdf:li "
                     "xml:lang='x-default'>Dunes</rdf:li></rdf:Alt></dc:description>"
                     "<dc:subject><rdf:Bag><rdf:li>sand</rdf:li><rdf:li>sea</rdf:li></rdf:Bag></dc:subject>"))
            .get());
    ASSERT_TRUE(facts) << facts.error().text;
    EXPECT_EQ(facts->rating, 4U);
    EXPECT_EQ(facts->caption.text(), "Dunes");
    EXPECT_EQ(facts->keywords.text(), "sand\nsea");
    std::string bomb = "<?xml version='1.0'?><!DOCTYPE x [<!ENTITY a0 'aaaaaaaaaa'>";
    for (int i = 1; i < 12; ++i) {
        const std::string one = "&a" + std::to_string(i - 1) + ';';
        bomb += "<!ENTITY a" + std::to_string(i) + " '" + one + one + one + one + "'>";
    }
    bomb += "]><x:xmpmeta xmlns:x='adobe:ns:meta/'>&a11;</x:xmpmeta>";
    for (const std::string &odd : {std::string("no metadata"), std::string("<x:xmpmeta"), bomb,
                                   "<x:xmpmeta>" + std::string(10'000, '<')}) {
        const auto asBytes = std::as_bytes(std::span(odd));
        const auto said = workers.readMetadata(fileOf(Bytes(asBytes.begin(), asBytes.end())).get());
        EXPECT_TRUE(!said || said->rating == 0) << odd.substr(0, 40);
    }
    EXPECT_FALSE(workers.readMetadata(fileOf({}).get()));
}

TEST_F(Metadata, RatingsComeFromXmpOrExif) {
    const struct {
        std::optional<std::uint16_t> exif;
        const char *xmp;
        std::uint32_t rating;
    } cases[] = {
        {std::nullopt, "", 0},
        {4, "", 4},
        {6, "", 0},
        {65'535, "", 0},
        {4, "<xmp:Rating>5</xmp:Rating>", 5},
        {4, "<xmp:Rating>-1</xmp:Rating>", 0},
        {4, "<xmp:Rating>3.0</xmp:Rating>", 3},
        {4, "<xmp:Rating>99</xmp:Rating>", 0},
        {4, "<xmp:Rating>good</xmp:Rating>", 0},
    };
    for (const auto &each : cases) {
        TestExif exif;
        exif.rating = each.exif;
        EXPECT_EQ(factsOf(withXmp(jpegOf(fourCorners(16, 16), exif), each.xmp)).rating, each.rating)
            << each.xmp;
    }
}

constexpr const char *describedInTwoLanguages =
    "<dc:description><rdf:Alt><rdf:li xml:lang='fr'>La mer</rdf:li>"
    "<rdf:li xml:lang='x-default'>The sea \xE2\x98\x80</rdf:li></rdf:Alt></dc:description>";

TEST_F(Metadata, CaptionsAreWhatPeopleWrote) {
    const struct {
        const char *description, *iptc, *xmp, *caption;
    } cases[] = {
        {"By EXIF", "By IPTC", describedInTwoLanguages, "The sea \xE2\x98\x80"},
        {"By EXIF", "By IPTC", "<dc:description>Plain</dc:description>", "Plain"},
        {"By EXIF", "By IPTC",
         "<dc:description><rdf:Alt><rdf:li xml:lang='x-default'> </rdf:li></rdf:Alt></dc:description>",
         "By IPTC"},
        {"By EXIF", "", "", "By EXIF"},
        {"", "Caf\xE9", "", "Caf\xC3\xA9"},
        {"Stra\xC3\x9F"
         "e",
         "", "",
         "Stra\xC3\x9F"
         "e"},
        {"\xE9t\xE9\x1B[2J", "", "", "\xC3\xA9t\xC3\xA9[2J"},
        {"        ", "", "", ""},
        {"MAKER DIGITAL CAMERA", "", "", ""},
        {"Model 7", "", "", ""},
        {"DCIM\\100MEDIA\\A_0001.JPG", "", "", ""},
        {"Exif_JPEG_PICTURE", "", "", ""},
        {"My camera", "", "", "My camera"},
        {"...", "", "", ""},
    };
    for (const auto &each : cases) {
        TestExif exif;
        exif.make = "MAKER WORKS CO.,LTD.";
        exif.model = "Model 7";
        exif.description = each.description;
        Bytes file = withXmp(jpegOf(fourCorners(16, 16), exif), each.xmp);
        if (*each.iptc != '\0')
            file = withIptc(file, {{120, each.iptc}});
        EXPECT_EQ(factsOf(file).caption.text(), each.caption) << each.description << each.iptc << each.xmp;
    }
    TestExif exif;
    exif.description = std::string(maxCaptionBytes - 1, 'x') + "\xC3\xA9";
    EXPECT_EQ(factsOf(exif).caption.text(), std::string(maxCaptionBytes - 1, 'x'));
}

TEST_F(Metadata, KeywordsAreJoined) {
    const Bytes plain = jpegOf(fourCorners(16, 16));
    const auto xmp = [&](const std::string &items) {
        return withXmp(plain, "<dc:subject><rdf:Bag>" + items + "</rdf:Bag></dc:subject>");
    };
    EXPECT_EQ(factsOf(plain).keywords, "");
    EXPECT_EQ(factsOf(withIptc(xmp("<rdf:li>Sea</rdf:li><rdf:li> Sky\n</rdf:li><rdf:li></rdf:li>"),
                               {{25, "Sky"}, {25, "Caf\xE9"}, {120, "a caption"}, {25, "Sea"}}))
                  .keywords,
              "Sea\nSky\nCaf\xC3\xA9");
    EXPECT_EQ(factsOf(withXmp(plain, "<dc:subject>One</dc:subject>")).keywords, "One");
    std::string many, most;
    for (std::size_t i = 0; i < 2 * maxKeywords; ++i) {
        const std::string keyword = std::to_string(100 + i) + std::string(maxKeywordBytes, 'x');
        many += "<rdf:li>" + keyword + "</rdf:li>";
        if (i < maxKeywords)
            most += (i == 0 ? "" : "\n") + keyword.substr(0, maxKeywordBytes);
    }
    EXPECT_EQ(factsOf(xmp(many)).keywords.text(), most);
}

} // namespace
} // namespace wickerlane::hoardd
