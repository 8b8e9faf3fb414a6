// wickerlane watch, wickerlane resolve
#include <csignal>
#include <sstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/store/LibraryPaths.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

TEST_F(Commands, WatchShowsTheCountsAfterEachChange) {
    RunningCommand watching({"watch", "--json", "--changes", "2"});
    std::uint32_t saved = 0;
    while (watching.isRunning() && !HasFailure())
        imported(file("a.png", pngOf(fourCorners(4 + saved++, 4))));
    const CommandResult result = watching.wait();
    EXPECT_EQ(result.exitCode, 0) << result;

    std::istringstream lines(result.output);
    std::vector<std::uint64_t> photos;
    for (std::string line; std::getline(lines, line);) {
        const auto counts = nlohmann::json::parse(line, nullptr, false);
        ASSERT_TRUE(counts.is_object()) << result;
        EXPECT_EQ(counts["videos"], 0);
        photos.push_back(counts["photos"]);
    }
    ASSERT_EQ(photos.size(), 3U) << result;
    EXPECT_LT(photos[0], photos[1]);
    EXPECT_LT(photos[1], photos[2]);
    EXPECT_LE(photos[2], saved);
}

TEST_F(Commands, WatchEndsWhenInterrupted) {
    RunningCommand watching({"watch"});
    ASSERT_TRUE(
        waitUntil([&] { return fs::exists(store::LibraryPaths().database()) || !watching.isRunning(); }));
    kill(watching.process(), SIGINT);
    const CommandResult result = watching.wait();
    EXPECT_EQ(result.exitCode, 130) << result;
    EXPECT_TRUE(result.output.empty() || result.output == "0 photos, 0 videos\n") << result;
}

TEST_F(Commands, ResolveWritesThePathsOfPersistentURLs) {
    const std::string uuid = imported(file("a.jpg", jpegOf(fourCorners(64, 48))));
    const auto shown = run({"show", uuid, "--json"}).json();
    const std::string url = shown["url"], path = shown["path"];
    EXPECT_EQ(run({"resolve", url}).output, path + "\n");
    const std::string absent = "rez-vault://asset/asset.JPG?id=" + absentUUID + "&ext=JPG";

    const CommandResult some = run({"resolve", "--json", absent, url});
    EXPECT_EQ(some.exitCode, 4) << some;
    EXPECT_EQ(some.json(), (nlohmann::json{{{"url", url}, {"path", path}}})) << some;
    EXPECT_NE(some.errors.find(absent), std::string::npos) << some;

    const struct {
        const char *url;
        int exitCode;
    } cases[] = {
        {"jukelet-library://item/item.m4a?id=1", 4}, {"https://example.org/", 2}, {"no url", 2}, {"", 2}};
    for (const auto &[text, exitCode] : cases) {
        const CommandResult result = run({"resolve", text});
        EXPECT_EQ(result.exitCode, exitCode) << text << result;
        EXPECT_EQ(result.output, "") << text;
    }
}

} // namespace
