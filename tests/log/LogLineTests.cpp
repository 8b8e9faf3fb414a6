#include "wickerlane/log/JXLogLine.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

#include <cinttypes>
#include <ctime>

using namespace wickerlane;

namespace {

std::string thread() {
    char text[32];
    std::snprintf(text, sizeof text, "%p", reinterpret_cast<void *>(pthread_self()));
    return text;
}

} // namespace

TEST(JXLogLine, HasTheFormOfItsDestinationAndLevel) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    const auto facility = String::create("JXCameraLog");
    const std::string process = "[" + std::to_string(getpid()) + ":" + thread() + "]";
    struct Row {
        int destination, level;
        timespec time;
        const char *function;
        std::string line;
    };
    const Row rows[] = {
        {0, 7, {0, 0}, "f", "JXCameraLog <t:" + thread() + "> text"},
        {1, 4, {0, 0}, "f", "1970/01/01 01:00:00|App-7 " + process + "|JXCameraLog: text"},
        {1, 6, {1782864000, 999999999}, "f", "2026/07/01 02:00:00|App-7 " + process + "|JXCameraLog: text"},
        {1, 8, {-1, 0}, "f", "1970/01/01 00:59:59|App-7 " + process + "|JXCameraLog: text"},
        {1, 7, {0, 0}, "f", "1970/01/01 01:00:00|App-7 " + process + "|f|a.cpp:12|JXCameraLog: text"},
        {1,
         7,
         {0, 0},
         nullptr,
         "1970/01/01 01:00:00|App-7 " + process + "|(null)|a.cpp:12|JXCameraLog: text"},
        {1, 3, {INT64_MAX, 0}, "f", "(null)|App-7 " + process + "|JXCameraLog: text"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(JXLogLine(row.destination, "App-7",
                            {row.level, row.time, facility.get(), "a.cpp", row.function, 12, "text"}),
                  row.line);
    unsetenv("TZ");
    tzset();
}

TEST(JXLogLineDeathTest, AnUnknownDestinationEndsTheProcess) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto facility = String::create("JXCameraLog");
    EXPECT_DEATH(static_cast<void>(JXLogLine(2, "App-7", {3, {}, facility.get(), "f", "f", 1, "text"})),
                 "JXLogLine: Assertion `0 && \"unexpected logging destination\"' failed");
}
