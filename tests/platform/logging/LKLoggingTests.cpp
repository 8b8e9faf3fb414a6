#include "wickerlane/platform/logging/LKLogging.h"

#include <endian.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tests/support/Descriptors.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/logging/SystemLog.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;
using ::testing::ElementsAre;

namespace {

constexpr std::chrono::seconds generous{60};

class LKLogging : public ::testing::Test {
    // The first configuration begins to watch the notification of changed levels.
    void SetUp() override { allowLastingDescriptors(folderWatchDescriptors); }
};

void logLine(int level, String *facility, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LKLogV(level, facility, "a.cpp", "f", 12, 0, format, arguments);
    va_end(arguments);
}

fs::path logs() {
    return fs::path(std::getenv("WICKERLANE_ROOT")) / "logs";
}

std::string contents(const fs::path &path) {
    std::string text;
    gzFile file = gzopen(path.c_str(), "rb");
    char buffer[4096];
    for (int got; file != nullptr && (got = gzread(file, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(got));
    if (file != nullptr)
        gzclose(file);
    return text;
}

std::vector<std::string> namesInLogs() {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(logs()))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
}

// A facility whose levels are 6 for the file and -1 for the console, unless `more` says otherwise.
void configure(String *facility, const char *logName, std::initializer_list<Dictionary::Entry> more = {}) {
    const std::string path = (logs() / logName).string() + ".log";
    allowLastingDescriptors(std::array{path.c_str()}); // kept open while lines may come
    const auto configuration = MutableDictionary::create();
    configuration->set(kLKLoggingCustomLogNameKey, String::of(logName));
    configuration->set(kLKLoggingCustomLogDirectoryKey, String::of("/logs"));
    configuration->set(kLKLoggingCustomMaxLogFileLevelKey, Number::of(6));
    for (const auto &entry : more)
        configuration->set(entry.key, entry.value);
    ASSERT_TRUE(LKLoggingAddCustomLogConfiguration(Array::of({facility}), configuration.get()));
}

// Waits until the files have these names: compressing goes on behind the thread that logs.
void waitForNames(const std::vector<std::string> &expected) {
    const auto deadline = std::chrono::steady_clock::now() + generous;
    while (namesInLogs() != expected && std::chrono::steady_clock::now() < deadline)
        poll(nullptr, 0, 1);
    ASSERT_EQ(namesInLogs(), expected);
}

UniqueFd boundSocket(const std::string &path) {
    UniqueFd bound(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(bound.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    return bound;
}

std::string receivedFrom(const UniqueFd &bound) {
    char text[16384];
    const ssize_t got = recv(bound.get(), text, sizeof text, 0);
    return {text, static_cast<std::size_t>(std::max<ssize_t>(got, 0))};
}

/// Of what a journal gets: names and values, each value behind its length in eight bytes.
std::vector<std::pair<std::string, std::string>> fieldsOf(std::string_view datagram) {
    std::vector<std::pair<std::string, std::string>> fields;
    while (!datagram.empty()) {
        const std::size_t name = datagram.find('\n'), value = name + 1 + sizeof(std::uint64_t);
        std::uint64_t length = 0;
        if (value > datagram.size())
            return {};
        std::memcpy(&length, datagram.data() + name + 1, sizeof length);
        length = le64toh(length);
        if (datagram.size() < value + length + 1 || datagram[value + length] != '\n')
            return {};
        fields.emplace_back(datagram.substr(0, name), datagram.substr(value, length));
        datagram.remove_prefix(value + length + 1);
    }
    return fields;
}

} // namespace

TEST_F(LKLogging, AFacilityIsFoundByItsTextAndTakesItsLastConfiguration) {
    String *name = String::of("ByText"), *same = String::of("ByText");
    EXPECT_EQ(_LKLoggingCustomMaxLogFileLevel(name), -1);
    EXPECT_EQ(_LKLoggingCustomMaxConsoleLevel(nullptr), -1);
    configure(name, "by-text", {{kLKLoggingCustomMaxConsoleLevelKey, Number::of(2)}});
    for (const String *each : {name, same}) {
        EXPECT_EQ(_LKLoggingCustomMaxLogFileLevel(each), 6);
        EXPECT_EQ(_LKLoggingCustomMaxConsoleLevel(each), 2);
    }
    configure(same, "by-text", {{kLKLoggingCustomMaxLogFileLevelKey, Number::of(-1)}});
    EXPECT_EQ(_LKLoggingCustomMaxLogFileLevel(name), -1);
    EXPECT_FALSE(LKLoggingAddCustomLogConfiguration(Array::of({Number::of(1)}), Dictionary::create().get()));
}

TEST_F(LKLogging, LinesAreWhatTheCallbacksMakeOfTheEntry) {
    std::vector<std::string> seen;
    const auto format = [&](const char *destination) {
        return LKLogFormatBlock::create([&seen, destination](const LKLogEntry &entry) {
            seen.push_back(std::string(destination) + std::to_string(entry.level) +
                           entry.facilityName->UTF8String() + entry.file + entry.function +
                           std::to_string(entry.line) + std::string(entry.message));
            EXPECT_GT(entry.timestamp.tv_sec, 0);
            return std::string(destination) + " line";
        });
    };
    String *name = String::of("Callbacks");
    configure(name, "callbacks",
              {{kLKLoggingCustomMaxConsoleLevelKey, Number::of(4)},
               {kLKLoggingCustomCreateFileLogFormatBlock, format("file").get()},
               {kLKLoggingCustomCreateConsoleLogFormatBlock, format("console").get()}});
    testing::internal::CaptureStderr();
    errno = EEXIST;
    logLine(4, name, "%@ %d", Number::of(7), 8);
    EXPECT_EQ(errno, EEXIST);
    logLine(5, name, "a\nb");
    logLine(7, name, "dropped");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "console line\n");
    EXPECT_EQ(contents(logs() / "callbacks.log"), "file line\nfile line\n");
    EXPECT_THAT(seen, ElementsAre("console4Callbacksa.cppf127 8", "file4Callbacksa.cppf127 8",
                                  "file5Callbacksa.cppf12a\\nb"));
    // The blocks refer to this test.
    configure(name, "callbacks");
}

TEST_F(LKLogging, FullFilesAreCompressedAndTheOldestGo) {
    String *name = String::of("Rotating");
    configure(name, "r",
              {{kLKLoggingCustomMaxLogFileSizeKey, Number::of(100)},
               {kLKLoggingCustomMaxLogFileCountKey, Number::of(5)},
               {kLKLoggingCustomWantsCompressedFilesKey, Number::of(true)}});
    // Five lines of 20 bytes fill a file to the byte.
    std::vector<std::string> expected = {"r.log"};
    for (int line = 0; line < 47; ++line) {
        const ReleaseScope scope;
        logLine(6, name, "line %014d", line);
        EXPECT_LE(fs::file_size(logs() / "r.log"), 100u);
        if (line % 5 == 0 && line > 0 && expected.size() < 5)
            expected.insert(expected.end() - 1, "r." + std::to_string(expected.size()) + ".log.gz");
        ASSERT_NO_FATAL_FAILURE(waitForNames(expected));
    }
    EXPECT_EQ(contents(logs() / "r.log"), "line 00000000000045\nline 00000000000046\n");
    for (int number = 1; number <= 4; ++number) {
        const fs::path path = logs() / ("r." + std::to_string(number) + ".log.gz");
        std::string text;
        for (int line = 45 - 5 * number; line < 50 - 5 * number; ++line)
            text += "line 000000000000" + std::to_string(line) + "\n";
        EXPECT_EQ(contents(path), text);
        EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
        EXPECT_NE(fs::file_size(path), text.size());
    }
    // A line that no file could hold is cut.
    logLine(6, name, "%0300d", 1);
    EXPECT_EQ(contents(logs() / "r.log"), std::string(99, '0') + "\n");
}

TEST_F(LKLogging, WhatADeadProcessLeftIsFinished) {
    String *name = String::of("Left");
    fs::create_directories(logs());
    const auto leave = [](const char *file, const char *text, fs::perms permissions = fs::perms(0600)) {
        std::ofstream(logs() / file) << text;
        fs::permissions(logs() / file, permissions);
    };
    leave("left.log", "marked to be moved\n", fs::perms(0400));
    leave("left.1.log", "compressed already\n");
    leave("left.1.log.gz", "compressed already\n");
    leave("left.3.log", "not yet\n", fs::perms(0400));
    configure(name, "left",
              {{kLKLoggingCustomMaxLogFileSizeKey, Number::of(1000)},
               {kLKLoggingCustomMaxLogFileCountKey, Number::of(5)},
               {kLKLoggingCustomWantsCompressedFilesKey, Number::of(true)}});
    logLine(6, name, "new");
    waitForNames({"left.1.log.gz", "left.2.log.gz", "left.3.log.gz", "left.log"});
    EXPECT_EQ(contents(logs() / "left.1.log.gz"), "marked to be moved\n");
    EXPECT_EQ(contents(logs() / "left.2.log.gz"), "compressed already\n");
    EXPECT_EQ(contents(logs() / "left.3.log.gz"), "not yet\n");
    EXPECT_EQ(contents(logs() / "left.log"), "new\n");
}

TEST_F(LKLogging, ATornLineIsEndedBeforeTheNext) {
    fs::create_directories(logs());
    std::ofstream(logs() / "torn.log") << "a piece of a li";
    fs::permissions(logs() / "torn.log", fs::perms(0644));
    String *name = String::of("Torn");
    configure(name, "torn");
    logLine(6, name, "whole");
    EXPECT_EQ(contents(logs() / "torn.log"), "a piece of a li\nwhole\n");
    EXPECT_EQ(fs::status(logs() / "torn.log").permissions(), fs::perms(0600));
}

TEST_F(LKLogging, ADeletedFileIsMadeAgain) {
    String *name = String::of("Deleted");
    configure(name, "deleted", {{kLKLoggingCustomMaxLogFileSizeKey, Number::of(1 << 20)}});
    logLine(6, name, "before");
    fs::remove_all(logs());
    // The file is checked now and then, and when it would be full.
    for (int line = 0; line < 200'000 && !fs::exists(logs() / "deleted.log"); ++line)
        logLine(6, name, "line");
    EXPECT_EQ(contents(logs() / "deleted.log"), "line\n");
}

TEST_F(LKLogging, WhatIsNoFileOfOursIsNeverWritten) {
    fs::create_directories(logs());
    std::ofstream(logs() / "target") << "untouched";
    fs::create_symlink(logs() / "target", logs() / "link.log");
    ASSERT_EQ(mkfifo((logs() / "pipe.log").c_str(), 0600), 0);
    fs::create_directory(logs() / "folder.log");
    for (const char *logName : {"link", "pipe", "folder", "../outside", ""}) {
        String *name = String::of(std::string("Refused") + logName);
        configure(name, logName);
        testing::internal::CaptureStderr();
        logLine(6, name, "lost");
        logLine(6, name, "lost");
        const std::string shown = testing::internal::GetCapturedStderr();
        const bool hasFile = fs::path(logName).filename() == logName && *logName != '\0';
        EXPECT_EQ(std::ranges::count(shown, '\n'), hasFile ? 1 : 0) << shown;
    }
    EXPECT_EQ(contents(logs() / "target"), "untouched");
    EXPECT_TRUE(fs::is_symlink(logs() / "link.log"));
    EXPECT_FALSE(fs::exists(logs().parent_path() / "outside.log"));
}

TEST(SystemLog, SendsLinesOfALevelAndNeverWaits) {
    const std::string path = std::string(std::getenv("WICKERLANE_ROOT")) + "/log.socket";
    SystemLog client(path.c_str());
    client.send({.level = 3, .text = "no system log", .seconds = 0});
    const UniqueFd listener = boundSocket(path);
    client.send({.level = 5, .text = "hello", .seconds = 1, .facility = "not for syslog"});
    EXPECT_THAT(receivedFrom(listener),
                testing::MatchesRegex("<13>[A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} [^ ]+\\[[0-9]+\\]: hello"));
    const std::string longer(20'000, 'x');
    for (int line = 0; line < 10'000; ++line)
        client.send({.level = 5, .text = longer, .seconds = 1});
    const std::size_t got = receivedFrom(listener).size();
    EXPECT_GT(got, 8000U);
    EXPECT_LT(got, 8200U);
}

TEST(SystemLog, GivesAJournalItsFields) {
    const std::string path = std::string(std::getenv("WICKERLANE_ROOT")) + "/journal.socket";
    const UniqueFd listener = boundSocket(path);
    SystemLog client(path.c_str(), SystemLog::Form::journal);
    client.send({.level = 4,
                 .text = "two\nPRIORITY=0",
                 .facility = "Import",
                 .file = "Import.cpp",
                 .function = "save",
                 .fileLine = 12});
    using testing::Pair;
    EXPECT_THAT(fieldsOf(receivedFrom(listener)),
                testing::ElementsAre(Pair("MESSAGE", "two\nPRIORITY=0"), Pair("PRIORITY", "4"),
                                     Pair("SYSLOG_FACILITY", "1"),
                                     Pair("SYSLOG_IDENTIFIER", program_invocation_short_name),
                                     Pair("WICKERLANE_FACILITY", "Import"), Pair("CODE_FILE", "Import.cpp"),
                                     Pair("CODE_FUNC", "save"), Pair("CODE_LINE", "12")));
    // Where no field is known, none is sent.
    client.send({.text = "bare"});
    EXPECT_THAT(receivedFrom(listener), testing::Not(testing::HasSubstr("CODE_")));
}
