// Log lines to a rotating file, compared with a rotating file of spdlog that flushes each line, and
// JXLogShouldLog for a level that is off. Both write lines of the same form and length to files of 10 MiB, of
// which five are kept.
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "bench/Quick.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/log/JXLogLine.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/logging/LKLogging.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;

namespace {

const int linesPerRun = bench::isQuick() ? 1'000 : 200'000;
const int runs = bench::rounds(7);

double secondsFor(const std::function<void()> &work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double linesPerSecond(int threads, const std::function<void(int)> &log) {
    return linesPerRun / secondsFor([&] {
               std::vector<std::thread> running;
               for (int thread = 0; thread < threads; ++thread)
                   running.emplace_back([&] {
                       for (int line = 0; line < linesPerRun / threads; ++line)
                           log(line);
                   });
               for (auto &thread : running)
                   thread.join();
           });
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void logPlain(String *facility, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LKLogV(6, facility, __FILE__, __func__, __LINE__, 0, format, arguments);
    va_end(arguments);
}

Ref<String> facilityWithoutCompression() {
    auto name = String::create("BenchLog");
    const auto format = LKLogFormatBlock::create(
        [](const LKLogEntry &entry) { return JXLogLine(JXLogDestinationFile, "bench_log-12345", entry); });
    LKLoggingAddCustomLogConfiguration(
        Array::of({name.get()}),
        Dictionary::create({{kLKLoggingCustomLogNameKey, String::of("bench")},
                            {kLKLoggingCustomLogDirectoryKey, String::of("/logs")},
                            {kLKLoggingCustomMaxLogFileSizeKey, Number::of(10 << 20)},
                            {kLKLoggingCustomMaxLogFileCountKey, Number::of(5)},
                            {kLKLoggingCustomMaxLogFileLevelKey, Number::of(6)},
                            {kLKLoggingCustomCreateFileLogFormatBlock, format.get()}})
            .get());
    return name;
}

void compare(int threads, String *facility, spdlog::logger &other) {
    std::vector<double> ours, compressing, theirs, ratio, compressingRatio;
    for (int run = 0; run < runs; ++run) {
        theirs.push_back(linesPerSecond(
            threads, [&](int line) { other.info("imported {} as asset {}", "IMG_0042.JPG", line); }));
        ours.push_back(linesPerSecond(
            threads, [&](int line) { logPlain(facility, "imported %s as asset %d", "IMG_0042.JPG", line); }));
        compressing.push_back(linesPerSecond(threads, [](int line) {
            JX_LOG(6, JXSyncLog, "imported %s as asset %d", "IMG_0042.JPG", line);
        }));
        ratio.push_back(ours.back() / theirs.back());
        compressingRatio.push_back(compressing.back() / theirs.back());
    }
    std::printf("%d thread%s  spdlog %8.0f lines/s   ours %8.0f (ratio %.2f)   JXLog, compressing %8.0f "
                "(ratio %.2f)\n",
                threads, threads == 1 ? " " : "s", median(theirs), median(ours), median(ratio),
                median(compressing), median(compressingRatio));
}

} // namespace

int main() {
    const ReleaseScope scope;
    std::string root = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    setPreferenceValue("InternalDevice", Number::of(true), deviceDomain);

    auto other = spdlog::rotating_logger_mt("BenchLog", root + "/logs/spdlog.log", 10 << 20, 5);
    other->set_pattern("%Y/%m/%d %H:%M:%S|bench_log-12345 [%P:0x%t]|%n: %v");
    other->flush_on(spdlog::level::trace);
    const auto facility = facilityWithoutCompression();
    JXLog(6, __FILE__, __func__, __LINE__, JXSyncLog, "warm");

    compare(1, facility.get(), *other);
    compare(4, facility.get(), *other);

    const int questions = bench::isQuick() ? 1'000 : 20'000'000;
    int yes = 0;
    const double seconds = secondsFor([&] {
        for (int question = 0; question < questions; ++question)
            yes += JXLogShouldLog(7, static_cast<JXLogDomain>(question & 15));
    });
    if (yes != 0)
        bench::fail("the level was on");
    std::printf("JXLogShouldLog for a level that is off: %.2f ns\n", seconds / questions * 1e9);
    std::filesystem::remove_all(root);
    return 0;
}
