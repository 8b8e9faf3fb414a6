// Files and folders that are there whole and for good, or not at all.
#include "hoardd/library/StagedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

#include "hoardd/library/AssetLocks.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/FileCopy.h"
#include "tests/hoardd/FileSum.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/store/Sha256Internal.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
namespace fs = std::filesystem;

namespace {

/// Decides, while it is there, what comes of syncing: 0, or an error number. One at a time.
class SyncHook {
public:
    explicit SyncHook(int (*outcome)()) {
        ends = 0;
        hook = outcome;
    }
    SyncHook(const SyncHook &) = delete;
    SyncHook &operator=(const SyncHook &) = delete;
    ~SyncHook() { hook = nullptr; }
    /// How many syncs have ended.
    static int ended() { return ends; }
    static int sync(int file) {
        const auto outcome = hook.load();
        if (outcome == nullptr)
            return static_cast<int>(syscall(SYS_fsync, file));
        const int error = outcome();
        ++ends;
        errno = error;
        return error == 0 ? 0 : -1;
    }

private:
    inline static std::atomic<int (*)()> hook{nullptr};
    inline static std::atomic<int> ends{0};
};

} // namespace

// In place of the C library's, for the library under test too.
extern "C" __attribute__((visibility("default"))) int fsync(int file) {
    return SyncHook::sync(file);
}

namespace {

/// Of "abc", as the standard gives it.
constexpr const char *sumOfABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

Bytes abc() {
    return std::as_bytes(std::span("abc", 3));
}

std::string textOf(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(StagedFile, GoesUnlessItHasBeenPublished) {
    const std::string folder = rootPath(), place = folder + "/place";
    {
        auto file = StagedFile::create(folder);
        ASSERT_TRUE(file);
        ASSERT_TRUE(file->write(abc()));
        EXPECT_FALSE(fs::is_empty(folder));
        StagedFile moved = *std::move(file);
        EXPECT_GE(moved.descriptor(), 0);
    }
    EXPECT_TRUE(fs::is_empty(folder));
    {
        auto file = StagedFile::create(folder);
        ASSERT_TRUE(file);
        ASSERT_TRUE(file->write(abc()));
        ASSERT_TRUE(file->seal());
        EXPECT_EQ(hexadecimal(Bytes(file->sum().value())), sumOfABC);
        file->close();
        ASSERT_TRUE(file->moveTo(place));
    }
    EXPECT_EQ(textOf(place), "abc");
    EXPECT_EQ(fs::status(place).permissions(), fs::perms::owner_read);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST(StagedFile, TakesThePlaceOfAFileAndOfALink) {
    const std::string folder = rootPath();
    const UniqueFd opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    fs::create_symlink(folder + "/elsewhere", folder + "/name");
    for (const char *text : {"first", "second"}) {
        auto file = StagedFile::create(folder);
        ASSERT_TRUE(file);
        ASSERT_TRUE(file->write(std::as_bytes(std::span(std::string_view(text)))));
        EXPECT_TRUE(file->moveInto(opened.get(), "name"));
        EXPECT_EQ(textOf(folder + "/name"), text);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST(StagedFile, OnlyItsOwnLeftoversAreRemoved) {
    const std::string folder = rootPath();
    std::ofstream(folder + "/staged-AAAAAAAA-0000-4000-8000-00000000ABCD") << "x";
    std::ofstream(folder + "/AAAAAAAA-0000-4000-8000-00000000ABCD.JPG") << "x";
    StagedFile::removeLeftovers(folder);
    EXPECT_FALSE(fs::exists(folder + "/staged-AAAAAAAA-0000-4000-8000-00000000ABCD"));
    EXPECT_TRUE(fs::exists(folder + "/AAAAAAAA-0000-4000-8000-00000000ABCD.JPG"));
}

TEST(DurableFolders, MovingIntoAFolderReplacesNothing) {
    const std::string folder = rootPath() + "/a/b";
    for (int i = 0; i < 3; ++i) {
        const std::string path = rootPath() + "/name";
        std::ofstream(path) << i;
        EXPECT_TRUE(moveIntoFolder(path, folder));
        EXPECT_FALSE(fs::exists(path));
    }
    EXPECT_EQ(textOf(folder + "/name"), "0");
    EXPECT_EQ(textOf(folder + "/1-name"), "1");
    EXPECT_EQ(textOf(folder + "/2-name"), "2");
    EXPECT_TRUE(moveIntoFolder(rootPath() + "/gone", folder)) << "what has gone need not be moved";
    const auto blocked = moveIntoFolder(folder + "/name", folder + "/1-name");
    ASSERT_FALSE(blocked) << "that is a file";
    EXPECT_NE(blocked.error().text.find("Not a directory"), std::string::npos) << blocked.error().text;
}

// Threads that come while it is being made wait for it, and a sync that failed is not forgotten.
TEST(DurableFolders, NoneIsThereBeforeItsNameIsSynced) {
    const std::string folder = rootPath() + "/made";
    std::vector<std::thread> threads;
    std::atomic<int> early{0};
    {
        const SyncHook slow([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return 0;
        });
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] {
                EXPECT_TRUE(makeDurableFolderOnce(folder));
                early += SyncHook::ended() == 0 ? 1 : 0;
            });
        for (std::thread &each : threads)
            each.join();
        EXPECT_EQ(early, 0);
        EXPECT_EQ(SyncHook::ended(), 1) << "once is enough";
    }
    const std::string other = rootPath() + "/other";
    {
        const SyncHook failing([] { return EIO; });
        EXPECT_FALSE(makeDurableFolderOnce(other));
        ASSERT_TRUE(fs::exists(other));
        EXPECT_FALSE(makeDurableFolderOnce(other));
    }
    const SyncHook sound([] { return 0; });
    EXPECT_TRUE(makeDurableFolderOnce(other));
    EXPECT_EQ(SyncHook::ended(), 1);
}

TEST(FileCopy, KeepsEveryByteAlsoBetweenFileSystems) {
    std::vector<std::byte> bytes(700'001);
    std::mt19937 random(5);
    for (std::byte &byte : bytes)
        byte = static_cast<std::byte>(random());
    const std::string path = rootPath() + "/source";
    ASSERT_TRUE(replaceFile(path, bytes));
    const UniqueFd onDisk = openFile(path, O_RDONLY), inMemory(memfd_create("source", MFD_CLOEXEC));
    ASSERT_TRUE(writeAll(inMemory.get(), bytes));
    for (const int source : {onDisk.get(), inMemory.get()}) {
        const std::string copied = rootPath() + "/copy";
        const UniqueFd destination = openFile(copied, O_RDWR | O_CREAT | O_TRUNC);
        EXPECT_TRUE(copyFile(source, destination.get(), copied));
        std::vector<std::byte> back;
        ASSERT_TRUE(readFile(copied, back, 1 << 20));
        EXPECT_EQ(back, bytes);
    }
    EXPECT_FALSE(copyFile(onDisk.get(), onDisk.get(), path)) << "it is open for reading only";
}

TEST(Sha256, IsThatOfTheStandardAndOfAnotherImplementation) {
    EXPECT_EQ(hexadecimal(Bytes(store::sha256Of(abc()).value())), sumOfABC);
    // Around the block in which files are read.
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{3}, std::size_t{256 << 10}, std::size_t{300'001}}) {
        const std::string path = rootPath() + "/file";
        ASSERT_TRUE(replaceFile(path, std::vector(size, std::byte{'a'})));
        const UniqueFd file = openFile(path, O_RDONLY);
        EXPECT_EQ(store::sha256OfFile(file.get(), path).value(), test::sumOfFile(path)) << size;
    }
    EXPECT_FALSE(store::sha256OfFile(-1, "none"));
}

TEST(AssetLocks, AReservationKeepsOthersOut) {
    AssetLocks locks;
    {
        auto first = locks.reserve("A");
        EXPECT_TRUE(first);
        EXPECT_FALSE(locks.reserve("A"));
        EXPECT_TRUE(locks.reserve("B"));
        const auto moved = std::move(first);
        EXPECT_FALSE(locks.reserve("A"));
    }
    auto again = locks.reserve("A");
    EXPECT_TRUE(again);
    again.keep();
    again = {};
    EXPECT_FALSE(locks.reserve("A")) << "until the process ends";
}

} // namespace
