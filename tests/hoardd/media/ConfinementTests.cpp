// What a media worker's process gives up.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "hoardd/media/worker/Confinement.h"
#include "tests/support/Fork.h"

namespace wickerlane::hoardd::media {
namespace {

namespace fs = std::filesystem;
using test::resultOfForkedChild;

bool opens(const fs::path &path, int flags) {
    return open(path.c_str(), flags | O_CLOEXEC, 0600) >= 0;
}

bool executes() {
    char program[] = "/bin/true";
    char *const arguments[] = {program, nullptr};
    return execve(program, arguments, nullptr) == 0;
}

/// What a process may try in a folder that has the file "file" and the empty folder "empty".
constexpr struct {
    const char *name;
    bool (*succeeds)(const fs::path &folder);
} attempts[] = {
    {"reading a device", [](const fs::path &) { return opens("/dev/null", O_RDONLY); }},
    {"reading a file", [](const fs::path &folder) { return opens(folder / "file", O_RDONLY); }},
    {"writing a file", [](const fs::path &folder) { return opens(folder / "file", O_WRONLY); }},
    {"making a file", [](const fs::path &folder) { return opens(folder / "new", O_WRONLY | O_CREAT); }},
    {"reading a folder", [](const fs::path &folder) { return opens(folder, O_RDONLY | O_DIRECTORY); }},
    {"making a folder", [](const fs::path &folder) { return mkdir((folder / "made").c_str(), 0700) == 0; }},
    {"making a link", [](const fs::path &folder) { return symlink("x", (folder / "link").c_str()) == 0; }},
    {"removing a file", [](const fs::path &folder) { return unlink((folder / "file").c_str()) == 0; }},
    {"removing a folder", [](const fs::path &folder) { return rmdir((folder / "empty").c_str()) == 0; }},
    {"reading about itself", [](const fs::path &) { return opens("/proc/self/maps", O_RDONLY); }},
    {"executing a program", [](const fs::path &) { return executes(); }},
};

TEST(Confinement, WhatForksWorkersReachesNoFileAndNeitherDoItsChildren) {
    if (resultOfForkedChild([] { return forbidFiles() == 0 ? 1 : 0; }) != 0)
        GTEST_SKIP() << "this kernel has no Landlock";
    std::string made = (fs::temp_directory_path() / "wickerlane-confinement-XXXXXX").string();
    ASSERT_NE(mkdtemp(made.data()), nullptr);
    const fs::path folder = made;
    for (const auto &attempt : attempts) {
        std::ofstream(folder / "file") << "x";
        fs::create_directory(folder / "empty");
        const auto tried = [&] { return attempt.succeeds(folder) ? 0 : 1; };
        EXPECT_EQ(resultOfForkedChild([&] { return forbidFiles() != 0 ? tried() : 2; }), 1) << attempt.name;
        EXPECT_EQ(resultOfForkedChild([&] { return forbidFiles() != 0 ? resultOfForkedChild(tried) : 2; }), 1)
            << attempt.name << ", in a child";
        EXPECT_EQ(resultOfForkedChild(tried), 0) << attempt.name << " works for others";
    }
    fs::remove_all(folder);
}

} // namespace
} // namespace wickerlane::hoardd::media
