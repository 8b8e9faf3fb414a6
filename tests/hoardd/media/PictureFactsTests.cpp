// What hoardd makes of the facts that a worker answers, which a hostile file may have written.
#include "hoardd/media/PictureFacts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "hoardd/media/PictureLimits.h"

namespace wickerlane::hoardd {
namespace {

bool isPrintable(std::string_view text) {
    return std::ranges::all_of(text, [](char each) { return each >= ' ' && each <= '~'; });
}

void expectPlausible(const PictureFacts &facts) {
    EXPECT_LE(facts.format, lastMediaFormat);
    EXPECT_LE(facts.width, pictureLimits.side);
    EXPECT_LE(facts.height, pictureLimits.side);
    EXPECT_TRUE(facts.orientation >= 1 && facts.orientation <= 8);
    if (facts.captureDate) {
        EXPECT_LT(facts.captureDate->nanoseconds, 1'000'000'000U);
        EXPECT_LT(std::abs(static_cast<double>(facts.captureDate->seconds)), 1e12);
        EXPECT_LT(std::abs(facts.captureDate->zoneMinutes.asOptional().value_or(0)), 24 * 60);
    }
    if (facts.place) {
        EXPECT_LE(std::abs(facts.place->latitude), 90);
        EXPECT_LE(std::abs(facts.place->longitude), 180);
    }
    EXPECT_TRUE(isPrintable(facts.cameraMake)) << facts.cameraMake.text();
    EXPECT_TRUE(isPrintable(facts.cameraModel));
    EXPECT_TRUE(isPrintable(facts.lens));
    for (const auto &each : {facts.exposureSeconds, facts.aperture, facts.focalLength})
        EXPECT_TRUE(!each || (*each > 0 && *each <= 1e6));
    EXPECT_LE(facts.isoSpeed, 1'000'000'000U);
    EXPECT_LE(facts.rating, maxRating);
    EXPECT_TRUE(isCaption(facts.caption)) << facts.caption.text();
    EXPECT_TRUE(areKeywordLines(facts.keywords)) << facts.keywords.text();
    if (facts.video) {
        EXPECT_TRUE(facts.video->seconds >= 0 && facts.video->seconds <= 1e7);
        EXPECT_TRUE(facts.video->frameRate >= 0 && facts.video->frameRate <= 1e5);
        EXPECT_EQ(facts.video->rotation % 90, 0U);
        EXPECT_LT(facts.video->rotation, 360U);
        EXPECT_LE(facts.video->audioChannels, 1024U);
        EXPECT_TRUE(isPrintable(facts.video->container));
        EXPECT_TRUE(isPrintable(facts.video->videoCodec));
        EXPECT_TRUE(isPrintable(facts.video->audioCodec));
    }
}

TEST(PictureFacts, AnyBytesBecomePlausible) {
    std::mt19937 random(7);
    for (int round = 0; round < 2'000; ++round) {
        // All alike at first, then at random.
        std::array<unsigned char, sizeof(PictureFacts)> bytes;
        for (unsigned char &byte : bytes)
            byte = static_cast<unsigned char>(round < 256 ? round : random());
        PictureFacts answered;
        std::memcpy(static_cast<void *>(&answered), bytes.data(), bytes.size());
        expectPlausible(plausibleFacts(answered));
    }
}

TEST(PictureFacts, NumbersThatAreNoneAreLeftOut) {
    PictureFacts answered;
    for (const double none :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        answered.place = Place{none, 0};
        answered.exposureSeconds = answered.aperture = answered.focalLength = none;
        answered.video = VideoFacts{.seconds = none, .frameRate = none};
        const PictureFacts facts = plausibleFacts(answered);
        EXPECT_FALSE(facts.place);
        EXPECT_FALSE(facts.exposureSeconds || facts.aperture || facts.focalLength);
        EXPECT_EQ(facts.video->seconds, 0);
        EXPECT_EQ(facts.video->frameRate, 0);
    }
}

TEST(PictureFacts, OfTextsWhatPeopleCanReadIsLeft) {
    PictureFacts answered;
    answered.caption = "\xC3";
    answered.keywords = "Sky\nSky\n\x1B\n\nSea";
    answered.rating = 6;
    PictureFacts facts = plausibleFacts(answered);
    EXPECT_EQ(facts.caption, "");
    EXPECT_EQ(facts.keywords, "Sky\nSea");
    EXPECT_EQ(facts.rating, 0U);
    answered.caption = "a\x1B[2Jb\xC2\x9B";
    EXPECT_EQ(plausibleFacts(answered).caption, "a[2Jb");
}

TEST(PictureFacts, WhatIsPlausibleStays) {
    PictureFacts answered;
    answered.format = MediaFormat::video;
    answered.width = pictureLimits.side;
    answered.orientation = 8;
    answered.captureDate = CaptureDate{-5, 999'999'999, -720};
    answered.place = Place{-90, 180};
    answered.cameraMake = "Maker \xC3\xA9  ";
    answered.exposureSeconds = 0.008;
    answered.rating = 5;
    answered.caption = "Caf\xC3\xA9\nat sea";
    answered.keywords = "Sky\nSea";
    answered.video = VideoFacts{.seconds = 2, .rotation = 270, .container = "mov,mp4"};
    const PictureFacts facts = plausibleFacts(answered);
    EXPECT_EQ(facts.format, MediaFormat::video);
    EXPECT_EQ(facts.width, pictureLimits.side);
    EXPECT_EQ(facts.orientation, 8U);
    EXPECT_EQ(facts.captureDate->seconds, -5);
    EXPECT_EQ(facts.captureDate->nanoseconds, 999'999'999U);
    EXPECT_EQ(facts.captureDate->zoneMinutes.asOptional(), -720);
    EXPECT_EQ(facts.place->latitude, -90);
    EXPECT_EQ(facts.place->longitude, 180);
    EXPECT_EQ(facts.cameraMake, "Maker ??");
    EXPECT_EQ(facts.exposureSeconds.asOptional(), 0.008);
    EXPECT_EQ(facts.rating, 5U);
    EXPECT_EQ(facts.caption, "Caf\xC3\xA9\nat sea");
    EXPECT_EQ(facts.keywords, "Sky\nSea");
    EXPECT_EQ(facts.video->seconds, 2);
    EXPECT_EQ(facts.video->rotation, 270U);
    EXPECT_EQ(facts.video->container, "mov,mp4");
}

} // namespace
} // namespace wickerlane::hoardd
