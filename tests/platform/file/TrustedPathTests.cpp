#include "wickerlane/platform/file/TrustedPath.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

constexpr const char *written = " may be written by other users; chmod go-w ends that";

class TrustedPath : public ::testing::Test {
protected:
    // The folders a/b, with a file in the inner one, and a link to the outer one.
    void SetUp() override {
        folder = fs::canonical(rootPath()) / "a";
        fs::create_directories(folder / "b");
        ASSERT_TRUE(openFile(folder / "b/file", O_WRONLY | O_CREAT));
        setModes(0700, 0700, 0600);
        fs::create_directory_symlink("a/../a", folder.parent_path() / "link");
    }
    void setModes(mode_t outer, mode_t inner, mode_t file) const {
        ASSERT_EQ(chmod(folder.c_str(), outer), 0);
        ASSERT_EQ(chmod((folder / "b").c_str(), inner), 0);
        ASSERT_EQ(chmod((folder / "b/file").c_str(), file), 0);
    }

    fs::path folder;
};

} // namespace

TEST_F(TrustedPath, IsOneThatOthersCannotWriteAnywhere) {
    const struct {
        mode_t outer, inner, file;
        const char *problem; // the path below the root; null where there is none
    } cases[] = {
        {0755, 0700, 0644, nullptr},      {0755, 0755, 0602, "a/b/file"}, {0755, 0702, 0600, "a/b"},
        {0777, 0700, 0600, "a"},          {01777, 0700, 0600, nullptr},   {01777, 0700, 0602, "a/b/file"},
        {0700, 01777, 01602, "a/b/file"}, // sticky means nothing for a file
    };
    for (const auto &each : cases) {
        setModes(each.outer, each.inner, each.file);
        const std::string expected =
            each.problem != nullptr ? (folder.parent_path() / each.problem).string() + written : "";
        EXPECT_EQ(whyUntrusted(folder / "b/file"), expected);
        EXPECT_EQ(whyUntrusted(folder.parent_path() / "link/./b//../b/file"), expected) << "through a link";
    }
    setModes(01777, 0700, 0600);
    EXPECT_EQ(whyUntrusted(folder), folder.string() + written) << "sticky is enough for what is above only";
    EXPECT_EQ(whyUntrusted(folder / "b/.."), folder.string() + written);
}

TEST_F(TrustedPath, MayBeMissing) {
    EXPECT_EQ(whyUntrusted(folder / "b/missing/file"), "");
    setModes(0777, 0700, 0600);
    EXPECT_EQ(whyUntrusted(folder / "missing"), folder.string() + written) << "another user could make it";
}

TEST_F(TrustedPath, IsNotLookedForWithoutEnd) {
    const fs::path loop = folder / "loop";
    fs::create_symlink("loop", loop);
    EXPECT_EQ(whyUntrusted(loop / "file"),
              loop.string() + " can't be looked at: Too many levels of symbolic links");
}

TEST_F(TrustedPath, BelongsToThisUserOrToRootAllTheWay) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give files away";
    constexpr uid_t other = 65'534;
    const std::string belongs = " belongs to another user (65534)";
    const fs::path outer = folder.parent_path() / "link";
    ASSERT_EQ(lchown(outer.c_str(), other, static_cast<gid_t>(-1)), 0);
    EXPECT_EQ(whyUntrusted(outer / "b/file"), outer.string() + belongs) << "a link can be replaced";
    EXPECT_EQ(whyUntrusted(folder / "b/file"), "");
    ASSERT_EQ(chown(folder.c_str(), other, static_cast<gid_t>(-1)), 0);
    EXPECT_EQ(whyUntrusted(folder / "b/file"), folder.string() + belongs);
    ASSERT_EQ(chown(folder.c_str(), 0, other), 0);
    setModes(0770, 0700, 0600);
    EXPECT_EQ(whyUntrusted(folder / "b/file"), folder.string() + written) << "another group";
}
