// Videos in the library: saved, described, estimated.
#include "hoardd/pictures/ExportEstimate.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/TestClips.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

using Video = RunningHoardd;

TEST_F(Video, IsSavedShownAndDescribed) {
    ReleaseScope scope;
    const std::string path = rootPath() + "/clip.mp4";
    makeClip(path);
    const auto job = Dictionary::createWithKeys({{"filePath", String::of(path)}});
    const MutableDictionary *saved = save(job.get());
    EXPECT_EQ(numberIn(saved, "assetType"), 1);
    EXPECT_EQ(numberIn(saved, "width"), 160);
    EXPECT_NEAR(saved->get<Number>("duration")->doubleValue(), 2, 0.2);
    EXPECT_EQ(saved->get("problem"), nullptr);
    EXPECT_EQ(answer(request(16).get())->getUInt64("videoCount"), 1U);
    const Pixels poster = decodedPicture(imageData(saved, 1));
    EXPECT_EQ(poster.width, 160U);
    EXPECT_EQ(imageData(saved, 0), contentsOf(path));

    const auto metadata = request(75);
    metadata->setString("filePath", path);
    const auto *said =
        as<Dictionary>(JXDictionaryFromMsgDictionary(answer(metadata.get()).get(), "metadata"));
    ASSERT_NE(said, nullptr);
    EXPECT_EQ(textIn(said, "videoCodec"), "h264");
    EXPECT_EQ(numberIn(said, "fileSize"), static_cast<std::int64_t>(contentsOf(path).size()));

    const auto estimate = request(70);
    estimate->setString("exportPreset", "passthrough");
    estimate->setString("videoURL", textIn(saved, "assetURL"));
    EXPECT_EQ(answer(estimate.get())->getInt64("fileLength"), numberIn(saved, "byteSize"));
    estimate->setString("videoURL", "file:///nowhere");
    EXPECT_NE(refusal(estimate.get()).find("can't read /nowhere"), std::string::npos);
    estimate->setString("fallbackFilePath", path);
    EXPECT_EQ(answer(estimate.get())->getInt64("fileLength"), numberIn(saved, "byteSize"));
    estimate->setString("exportPreset", "enormous");
    EXPECT_NE(refusal(estimate.get()), "");
    for (const char *wrong : {"clip.mp4", "/dev/zero", "/etc/passwd"}) {
        metadata->setString("filePath", wrong);
        EXPECT_NE(refusal(metadata.get()), "") << wrong;
    }
}

TEST(ExportEstimate, FollowsPresetTimeAndSource) {
    hoardd::PictureFacts facts;
    facts.width = 1920;
    facts.height = 1080;
    facts.video = hoardd::VideoFacts{};
    facts.video->seconds = 100;
    facts.video->audioChannels = 2;
    facts.video->videoBitRate = 20'000'000;
    const auto megabytes = [&](const char *preset, const Dictionary *properties = nullptr) {
        const auto bytes = hoardd::estimatedExportBytes(facts, 252'000'000, preset, properties);
        return bytes ? static_cast<double>(*bytes) / 1e6 : -1;
    };
    EXPECT_NEAR(megabytes("high"), (6e6 + 160e3) * 100 / 8e6, 0.1);
    EXPECT_NEAR(megabytes(""), megabytes("high"), 1e-9) << "the default";
    EXPECT_NEAR(megabytes("low"), (1e6 + 64e3) * 100 / 8e6, 0.1);
    EXPECT_NEAR(megabytes("passthrough"), 252, 1e-6);
    const auto part = Dictionary::createWithKeys(
        {{"startTime", Number::of(90.0)}, {"duration", Number::of(50.0)}, {"audioBitRate", Number::of(0)}});
    EXPECT_NEAR(megabytes("high", part.get()), 6e6 * 10 / 8e6, 0.1) << "no more than there is";
    EXPECT_NEAR(megabytes("passthrough", part.get()), 25.2, 1e-6);
    facts.video->videoBitRate = 500'000;
    EXPECT_NEAR(megabytes("high"), (5e5 + 160e3) * 100 / 8e6, 0.1) << "never more than the source";
    EXPECT_EQ(hoardd::estimatedExportBytes(facts, 1, "unheard of", nullptr).error().text,
              "there is no such export preset");
    facts.video->seconds = 0;
    EXPECT_EQ(megabytes("high"), -1);
    facts.video.reset();
    EXPECT_EQ(megabytes("high"), -1);
}

} // namespace
