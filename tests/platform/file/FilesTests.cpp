#include "wickerlane/platform/file/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::string contentsOf(const std::string &path, std::size_t limit = 1 << 20) {
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, limit))
        return std::string("error: ") + std::strerror(errno);
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

// Sets an environment variable, or removes it for null, for as long as it lives.
class Setting {
public:
    Setting(const char *variable, const char *value) : name(variable) {
        if (const char *old = getenv(name))
            before = old;
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }
    ~Setting() { before ? setenv(name, before->c_str(), 1) : unsetenv(name); }

private:
    const char *name;
    std::optional<std::string> before;
};

} // namespace

TEST(Files, AreBelowTheRootThatTheEnvironmentNames) {
    const std::string here = fs::current_path();
    const struct {
        const char *root, *dataHome, *home;
        std::string expected;
    } cases[] = {
        {"/srv/photos", nullptr, "/home/a", "/srv/photos"},
        {"/srv/photos//", nullptr, "/home/a", "/srv/photos"},
        {"/", nullptr, "/home/a", "/"},
        {"folder", nullptr, "/home/a", (here == "/" ? "" : here) + "/folder"},
        {nullptr, "/data", "/home/a", "/data/wickerlane"},
        {"", "relative", "/home/a/", "/home/a/.local/share/wickerlane"},
        {nullptr, nullptr, "/home/a", "/home/a/.local/share/wickerlane"},
    };
    for (const auto &each : cases) {
        const Setting root("WICKERLANE_ROOT", each.root), data("XDG_DATA_HOME", each.dataHome),
            home("HOME", each.home);
        EXPECT_EQ(rootPath(), each.expected);
        EXPECT_EQ(pathUnderRoot("/var/mobile"), (each.expected == "/" ? "" : each.expected) + "/var/mobile");
    }
}

TEST(Files, AreMadePrivateWhateverTheFileMask) {
    const mode_t before = umask(0);
    for (const mode_t mask : {0U, 0777U, 0277U}) {
        umask(mask);
        const std::string folder = pathUnderRoot("/mask" + std::to_string(mask) + "/inner");
        const std::string path = folder + "/file";
        EXPECT_TRUE(makeFolders(folder)) << mask;
        for (const int flags : {O_EXCL, 0}) // made, and found
            EXPECT_TRUE(openFile(path, O_RDWR | O_CREAT | flags)) << mask;
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << mask;
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << mask;
        EXPECT_EQ(stat(folder.c_str(), &status), 0) << mask;
        EXPECT_EQ(status.st_mode & 0777U, 0700U) << mask;
    }
    umask(before);
}

TEST(Files, AreReplacedWholeOrNotAtAll) {
    const std::string folder = pathUnderRoot("/a/b"), path = folder + "/file";
    ASSERT_TRUE(makeFolders(folder));
    EXPECT_TRUE(makeFolders(folder));
    ASSERT_TRUE(replaceFile(path, bytesOf("old")));
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    ASSERT_EQ(stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u);

    const std::string longs[] = {std::string(100'000, 'a'), std::string(100'000, 'b')};
    std::jthread writer([&](const std::stop_token &stop) {
        for (int i = 0; !stop.stop_requested(); ++i)
            ASSERT_TRUE(replaceFile(path, bytesOf(longs[i % 2])));
    });
    for (int i = 0; i < 200; ++i) {
        const std::string seen = contentsOf(path);
        ASSERT_TRUE(seen == "old" || seen == longs[0] || seen == longs[1]) << seen.substr(0, 40);
    }
    writer = {};
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1)
        << "leaves a file behind";

    ASSERT_TRUE(makeFolders(folder + "/taken/inside"));
    EXPECT_FALSE(replaceFile(folder + "/taken", bytesOf("new")));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2)
        << "leaves a file behind";
}

TEST(Files, AreNeverReachedThroughALinkInTheLastPlace) {
    const std::string folder = pathUnderRoot("/folder"), target = folder + "/target", link = folder + "/link";
    ASSERT_TRUE(makeFolders(folder));
    ASSERT_TRUE(replaceFile(target, bytesOf("theirs")));
    fs::create_symlink(target, link);
    fs::create_symlink(folder, folder + "-link");
    EXPECT_FALSE(openFile(link, O_WRONLY | O_CREAT));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(contentsOf(link), std::string("error: ") + std::strerror(ELOOP));
    EXPECT_FALSE(makeFolders(folder + "-link"));
    EXPECT_FALSE(syncFolder(folder + "-link"));
    EXPECT_TRUE(syncFolder(folder));
    ASSERT_TRUE(replaceFile(link, bytesOf("ours"))); // takes the link's place
    EXPECT_EQ(contentsOf(target), "theirs");
    EXPECT_EQ(contentsOf(link), "ours");
    EXPECT_EQ(contentsOf(folder + "-link/link"), "ours"); // links on the way are the user's own affair
    EXPECT_TRUE(replaceFile(folder + "-link/link", bytesOf("again")));
}

TEST(Files, AreReadUpToALimitAndOnlyWhenRegular) {
    ASSERT_TRUE(makeFolders(pathUnderRoot("/")));
    const std::string path = pathUnderRoot("/file"), pipe = pathUnderRoot("/pipe");
    const auto error = [](int code) { return std::string("error: ") + std::strerror(code); };
    ASSERT_TRUE(replaceFile(path, bytesOf("12345")));
    EXPECT_EQ(contentsOf(path, 5), "12345");
    EXPECT_EQ(contentsOf(path, SIZE_MAX), "12345");
    EXPECT_EQ(contentsOf(path, 4), error(EFBIG));
    EXPECT_EQ(contentsOf("/proc/self/stat", 1), error(EFBIG)); // says that its size is 0
    EXPECT_GT(contentsOf("/proc/self/stat").size(), 20u);
    EXPECT_EQ(contentsOf(path + "-none"), error(ENOENT));
    EXPECT_EQ(contentsOf(pathUnderRoot("/")), error(EISDIR));
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(contentsOf(pipe), error(EINVAL)); // and does not wait for a writer
    ASSERT_TRUE(replaceFile(path, {}));
    EXPECT_EQ(contentsOf(path, 0), "");
}
