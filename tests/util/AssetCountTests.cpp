#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/Sqlite.h"
#include "wickerlane/util/count/JXGenericAssetCount.h"

using namespace wickerlane;
using sqlite::Database;
namespace fs = std::filesystem;

namespace {
std::mutex lock;
std::vector<std::string> lines; // guarded by the lock
} // namespace

// Stands before the C library's: what the code under test sends to the system log comes here.
extern "C" void syslog(int priority, const char *format, ...) {
    char text[2000];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard guard(lock);
    lines.push_back(std::to_string(LOG_PRI(priority)) + " " + text);
}

namespace {

class AssetCount : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(rootPath()); }

    static std::string path(const std::string &name) { return rootPath() + '/' + name; }
    static Database database(const std::string &path, const char *sql) {
        auto opened = Database::open(path, Database::Access::write);
        EXPECT_TRUE(opened && opened->execute(sql)) << path;
        return std::move(*opened);
    }
    /// The one line that was logged since the last call; empty when there was none.
    static std::string logged() {
        const std::lock_guard guard(lock);
        EXPECT_LE(lines.size(), 1U);
        std::string line = lines.empty() ? "" : lines.front();
        lines.clear();
        return line;
    }
};

constexpr const char *threeRows =
    "CREATE TABLE zgenericasset (pk INTEGER PRIMARY KEY); INSERT INTO zgenericasset VALUES (1), (2), (7);";

TEST_F(AssetCount, IsTheNumberOfRows) {
    database(path("empty"), "CREATE TABLE zgenericasset (pk INTEGER PRIMARY KEY);");
    database(path("three"), threeRows);
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path("empty").c_str()), 0);
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path("three").c_str()), 3);
    ReleaseScope scope;
    EXPECT_EQ(JXGenericAssetCountInPixholdStore(String::of(path("three"))), 3);
    EXPECT_EQ(logged(), "");
}

TEST_F(AssetCount, IsZeroWithoutAFileAndCreatesNone) {
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path("none").c_str()), 0);
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path("no/such/folder").c_str()), 0);
    EXPECT_EQ(logged(), "");
    EXPECT_FALSE(fs::exists(path("none")));
}

TEST_F(AssetCount, LogsWhatItCannotRead) {
    std::ofstream(path("garbage")) << std::string(5000, 'x');
    database(path("other"), "CREATE TABLE another (pk);");
    fs::create_directories(path("folder\nx"));
    struct stat folder {};
    ASSERT_EQ(stat(path("folder\nx").c_str(), &folder), 0);

    const struct {
        std::string name, line;
    } cases[] = {
        {"garbage", "3 Failed to fetch asset count 26 file is not a database"},
        {"other", "3 Failed to fetch asset count 1 no such table: zgenericasset"},
        {"folder\nx", "3 Failed to open database for fetching asset count on " + path("folder\\nx") +
                          " (uid " + std::to_string(folder.st_uid) + ", size " +
                          std::to_string(folder.st_size) + ")"},
        {"other/below", "3 Failed to open database for fetching asset count, can't stat " +
                            path("other/below") + " error=Not a directory"},
    };
    for (const auto &[name, line] : cases) {
        EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path(name).c_str()), -1) << name;
        EXPECT_EQ(logged(), line);
    }
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(nullptr), -1);
    EXPECT_EQ(JXGenericAssetCountInPixholdStore(nullptr), -1);
}

// A step that fails shows when the statement is finalized.
TEST_F(AssetCount, LogsWhenReadingFails) {
    {
        Database made =
            database(path("torn"), "CREATE TABLE zgenericasset (pk INTEGER PRIMARY KEY, x BLOB);");
        ASSERT_TRUE(
            made.execute("WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n LIMIT 2000) "
                         "INSERT INTO zgenericasset SELECT i, zeroblob(100) FROM n;"));
        ASSERT_TRUE(made.checkpoint());
    }
    std::fstream file(path("torn"), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096 * 10);
    file << std::string(4096 * 20, '\xff');
    file.close();
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path("torn").c_str()), -1);
    EXPECT_EQ(logged(), "3 Failed to fetch asset count 11 database disk image is malformed");
}

// The daemon alone writes and checkpoints.
TEST_F(AssetCount, LeavesTheDaemonsLogAlone) {
    const Database writer = database(path("three"), threeRows);
    const std::string log = path("three") + "-wal";
    const auto size = fs::file_size(log);
    ASSERT_GT(size, 0U);
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(path("three").c_str()), 3);
    EXPECT_EQ(fs::file_size(log), size);
    EXPECT_EQ(logged(), "");
}

TEST_F(AssetCount, IsRightWhileADaemonStartsWritesAndEnds) {
    const std::string file = path("busy");
    std::atomic<bool> done = false;
    std::jthread daemon([&] {
        for (int i = 0; i < 60; ++i) {
            Database writer =
                database(file, "CREATE TABLE IF NOT EXISTS zgenericasset (pk INTEGER PRIMARY KEY);");
            EXPECT_TRUE(writer.execute("INSERT INTO zgenericasset DEFAULT VALUES;")) << writer.problem().text;
        }
        done = true;
    });
    while (!done && (!fs::exists(file) || JXGenericAssetCountInDatabaseWithPath(file.c_str()) < 1))
        std::this_thread::yield();
    {
        const std::lock_guard guard(lock);
        lines.clear(); // of the time before there was a table
    }
    std::int64_t last = 1;
    while (!done) {
        const std::int64_t count = JXGenericAssetCountInDatabaseWithPath(file.c_str());
        ASSERT_GE(count, last);
        last = count;
    }
    daemon.join();
    EXPECT_EQ(JXGenericAssetCountInDatabaseWithPath(file.c_str()), 60);
    EXPECT_EQ(logged(), "");
    EXPECT_TRUE(
        database(file, "").integer("SELECT 1 FROM pragma_integrity_check WHERE integrity_check = 'ok'"));
}

} // namespace
