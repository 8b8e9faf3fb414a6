// What the workers make of videos.
#include <fcntl.h>
#include <gmock/gmock.h>

#include "tests/hoardd/media/MediaTestSupport.h"
#include "tests/support/TestClips.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {
namespace {

using namespace wickerlane::test;

class Videos : public ::testing::Test {
protected:
    // Has the worker started before the first test counts descriptors.
    static void SetUpTestSuite() {
        ASSERT_EQ(reasonOf(pool().probe(fileOf(tiffOf(fourCorners(8, 8))).get(), {})), "");
    }

    static UniqueFd clip(const char *name, const std::vector<std::string> &more = {}) {
        const std::string path = wickerlane::rootPath() + '/' + name;
        makeClip(path, "0xDC1E1E", more);
        return wickerlane::openFile(path, O_RDONLY);
    }
    static Bytes bytesOf(const UniqueFd &file) { return contentsOf(file); }
};

TEST_F(Videos, SayWhatTheyAreAndShowAFrame) {
    const struct {
        const char *name;
        std::vector<std::string> more;
        const char *codec;
        const char *container;
    } cases[] = {
        {"a.mp4",
         {"-metadata", "creation_time=2021-06-15T10:20:30Z", "-metadata", "location=+48.5-002.25/"},
         "h264",
         "mp4"},
        {"a.mov", {"-c:v", "mpeg4"}, "mpeg4", "mov"},
        {"a.mkv", {"-c:v", "mpeg4"}, "mpeg4", "matroska"},
        {"a.avi", {"-c:v", "mjpeg", "-pix_fmt", "yuvj420p"}, "mjpeg", "avi"},
        {"a.mts", {"-c:v", "libx264", "-g", "100"}, "h264", "mpegts"},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.name);
        const UniqueFd file = clip(each.name, each.more), thumbnail = fileOf({});
        const ThumbnailTarget target{80, thumbnail.get()};
        const auto result = pool().probe(file.get(), {&target, 1});
        ASSERT_EQ(reasonOf(result), "");
        EXPECT_EQ(result->format, MediaFormat::video);
        EXPECT_EQ(result->width, 160U);
        EXPECT_EQ(result->height, 120U);
        ASSERT_TRUE(result->video);
        EXPECT_NEAR(result->video->seconds, 2, 0.2);
        EXPECT_NEAR(result->video->frameRate, 10, 0.5);
        EXPECT_EQ(result->video->videoCodec, each.codec);
        EXPECT_THAT(std::string(result->video->container), testing::HasSubstr(each.container));
        EXPECT_EQ(result->video->trackCount, 2U);
        EXPECT_EQ(result->video->audioChannels, 1U);
        EXPECT_EQ(result->captureDate.has_value(), each.name == std::string_view("a.mp4"));
        const Pixels frame = decodedPicture(contentsOf(thumbnail));
        EXPECT_EQ(frame.width, 80U);
        EXPECT_TRUE(isLike(frame.at(40, 30), cornerRed));
    }
    const auto dated = pool().probe(clip("a.mp4", cases[0].more).get(), {});
    ASSERT_EQ(reasonOf(dated), "");
    EXPECT_EQ(dated->captureDate->seconds, 1623752430);
    ASSERT_TRUE(dated->place);
    EXPECT_NEAR(dated->place->latitude, 48.5, 1e-3);
    EXPECT_NEAR(dated->place->longitude, -2.25, 1e-3);
}

TEST_F(Videos, SayWhenAndWhereTheyWereTaken) {
    constexpr const char *ownTags = "use_metadata_tags";
    constexpr std::int64_t clock = 1'623'752'430; // 2021-06-15 10:20:30
    const struct {
        const char *name;
        std::vector<std::string> tags;
        std::int64_t seconds;
        std::optional<int> zoneMinutes;
        bool isInstant;
        std::optional<Place> place;
    } cases[] = {
        // As phones write it, beside an instant that is some seconds later.
        {"phone.mov",
         {"org.example.creationdate=2021-06-15T10:20:30+0200", "creation_time=2021-06-15T08:20:35Z",
          "org.example.location.ISO6709=+48.5000-002.2500+035.000/"},
         clock - 7200,
         120,
         false,
         Place{48.5, -2.25}},
        {"camera.mp4", {"creation_time=2021-06-15T10:20:30Z"}, clock, std::nullopt, true, std::nullopt},
        {"day.mov",
         {"date=2021-06-15T10:20:30-0530", "location=+4830.00-00215.00/"},
         clock + 19'800,
         -330,
         false,
         Place{48.5, -2.25}},
        {"zone.mov",
         {"date=2021-06-15 10:20:30", "creation_time=2021-06-15T08:20:31Z", "location=+483000-0021500/"},
         clock - 7200,
         120,
         false,
         Place{48.5, -2.25}},
        {"tagged.mkv", {"DATE_RECORDED=2021-06-15 10:20:30"}, clock, std::nullopt, false, std::nullopt},
        {"nowhere.mp4",
         {"location=+00.0000+000.0000/", "creation_time=2021-06-15T10:20:30Z"},
         clock,
         std::nullopt,
         true,
         std::nullopt},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.name);
        std::vector<std::string> more{"-c:v", "mpeg4"};
        if (std::string_view(each.name).ends_with(".mov") && each.tags.size() == 3 &&
            each.tags[0].starts_with("org"))
            more.insert(more.end(), {"-movflags", ownTags});
        for (const std::string &tag : each.tags)
            more.insert(more.end(), {"-metadata", tag});
        const auto facts = pool().probe(clip(each.name, more).get(), {});
        ASSERT_EQ(reasonOf(facts), "");
        ASSERT_TRUE(facts->captureDate);
        EXPECT_EQ(facts->captureDate->seconds, each.seconds);
        EXPECT_EQ(facts->captureDate->zoneMinutes.asOptional(), each.zoneMinutes);
        EXPECT_EQ(facts->captureDate->isInstant != 0, each.isInstant);
        ASSERT_EQ(facts->place.has_value(), each.place.has_value());
        if (each.place) {
            EXPECT_NEAR(facts->place->latitude, each.place->latitude, 1e-4);
            EXPECT_NEAR(facts->place->longitude, each.place->longitude, 1e-4);
        }
    }
}

TEST_F(Videos, AreShownTurnedAsTheySay) {
    const UniqueFd plain = clip("plain.mp4");
    // The matrix that turns a track stands in its header; a quarter turn swaps its numbers.
    Bytes bytes = bytesOf(plain);
    const std::array<unsigned char, 36> upright{0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,    0, 0, 1,
                                                0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0};
    const std::array<unsigned char, 36> quarter{0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0,
                                                0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,    0x40, 0, 0, 0};
    const auto wanted = std::as_bytes(std::span(upright)), turned = std::as_bytes(std::span(quarter));
    int found = 0;
    for (auto at = bytes.begin();
         (at = std::search(at, bytes.end(), wanted.begin(), wanted.end())) != bytes.end(); at += 36, ++found)
        if (found == 1) // that of the film comes first, then the picture's
            std::ranges::copy(turned, at);
    ASSERT_GE(found, 2);
    const auto result = pool().probe(fileOf(bytes).get(), {});
    ASSERT_EQ(reasonOf(result), "");
    ASSERT_TRUE(result->video);
    EXPECT_EQ(result->video->rotation, 90U);
    EXPECT_EQ(result->width, 120U);
    EXPECT_EQ(result->height, 160U);
    Bytes image;
    const UniqueFd output = fileOf({});
    EXPECT_EQ(reasonOf(pool().render(fileOf(bytes).get(), {.format = MediaFormat::png}, output.get())), "");
    EXPECT_EQ(decodedPicture(contentsOf(output)).height, 160U);
}

TEST_F(Videos, ThatAreDamagedCostNothingButThemselves) {
    const Bytes whole = bytesOf(clip("whole.mkv", {"-c:v", "mpeg4"}));
    for (const std::size_t length : {std::size_t{20}, std::size_t{600}, whole.size() / 2}) {
        Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        const UniqueFd thumbnail = fileOf({});
        const ThumbnailTarget target{80, thumbnail.get()};
        const auto result = pool().probe(fileOf(cut).get(), {&target, 1});
        if (result)
            continue;
        EXPECT_EQ(problemOf(result), ProblemKind::invalid) << "no worker died of " << length;
        EXPECT_NE(reasonOf(result), "") << length;
    }
    // Sound alone, and a list that names other files, are no videos.
    const UniqueFd sound = clip("sound.mp4", {"-vn"});
    EXPECT_EQ(problemOf(pool().probe(sound.get(), {})), ProblemKind::invalid);
    EXPECT_EQ(reasonOf(pool().probe(clip("again.mp4").get(), {})), "") << "the pool goes on";
}

} // namespace
} // namespace wickerlane::hoardd
