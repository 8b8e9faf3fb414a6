#include "wickerlane/platform/file/PathWatch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

class WatchedPath : public ::testing::Test {
protected:
    // The folders a/b with a file in the inner one, which has a second name elsewhere.
    void SetUp() override {
        root = fs::canonical(rootPath());
        fs::create_directories(root / "a/b");
        write("a/b/file");
        fs::create_hard_link(root / "a/b/file", root / "second");
    }
    void write(const char *name) const { std::ofstream(root / name) << "text"; }

    fs::path root;
};

TEST_F(WatchedPath, NoticesWhateverChangesTheFile) {
    const struct {
        const char *what;
        std::function<void()> change;
        bool isNoticed = true;
    } steps[] = {
        {"nothing", [] {}, false},
        {"read", [&] { std::ifstream(root / "a/b/file").get(); }, false},
        {"another file beside it", [&] { write("a/b/other"); }, false},
        {"another file above", [&] { write("a/file"); }, false},
        {"written", [&] { write("a/b/file"); }},
        {"written under another name", [&] { write("second"); }},
        {"its mode", [&] { chmod((root / "a/b/file").c_str(), 0640); }},
        {"the mode of its folder", [&] { chmod((root / "a/b").c_str(), 0750); }},
        {"the mode of a folder above", [&] { chmod((root / "a").c_str(), 0750); }},
        {"replaced", [&] { fs::rename(root / "a/b/other", root / "a/b/file"); }},
        {"removed", [&] { fs::remove(root / "a/b/file"); }},
        {"removed again", [&] { fs::remove(root / "a/b/file"); }, false},
        {"made", [&] { write("a/b/file"); }},
        {"a folder moved away", [&] { fs::rename(root / "a", root / "c"); }},
        {"changed where it no longer is", [&] { write("c/b/file"); }, false},
        {"a folder made", [&] { fs::create_directories(root / "a"); }},
        {"another folder made", [&] { fs::create_directories(root / "a/b"); }},
        {"made in a new folder", [&] { write("a/b/file"); }},
        {"all removed", [&] { fs::remove_all(root / "a"); }},
    };
    PathWatch watch;
    for (const auto &step : steps) {
        ASSERT_TRUE(watch.begin(root / "a/b/file")) << step.what;
        ASSERT_TRUE(watch.isUnchanged()) << step.what;
        step.change();
        EXPECT_EQ(watch.isUnchanged(), !step.isNoticed) << step.what;
        EXPECT_EQ(watch.isUnchanged(), !step.isNoticed) << step.what << ", asked again";
    }
}

TEST_F(WatchedPath, KnowsNothingWhereItCantWatch) {
    PathWatch watch;
    EXPECT_FALSE(watch.isUnchanged()) << "nothing is watched yet";
    fs::create_directory_symlink("a", root / "link");
    for (const char *path : {"link/b/file", "a/b/file/x", "a/../a/b/file"}) {
        EXPECT_FALSE(watch.begin(root / path)) << path;
        EXPECT_FALSE(watch.isUnchanged()) << path;
    }
    EXPECT_FALSE(watch.begin("a/b/file"));
}

TEST_F(WatchedPath, TakesLostReportsForAChange) {
    std::size_t limit = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
    if (limit == 0 || limit > 100'000)
        GTEST_SKIP() << "too many reports are kept here";
    PathWatch watch;
    ASSERT_TRUE(watch.begin(root / "a/b/file"));
    for (std::size_t i = 0; i <= limit / 2; ++i) // two reports each, of names by turns so that none is merged
        fs::rename(root / (i % 2 == 0 ? "second" : "third"), root / (i % 2 == 0 ? "third" : "second"));
    EXPECT_FALSE(watch.isUnchanged());
}

} // namespace
