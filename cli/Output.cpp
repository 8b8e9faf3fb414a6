#include "cli/Output.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane::cli {
namespace {

/// Characters, not bytes: continuation bytes of UTF-8 take no place.
std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string timeText(double referenceSeconds, bool utc, const char *format) {
    const double unixSeconds = std::floor(referenceSeconds + Date::secondsFrom1970To2001);
    // Some 30,000 years each way; beyond that the calendar functions fail.
    constexpr double reach = 1e12;
    if (!(std::abs(unixSeconds) < reach))
        return "-";
    const auto instant = static_cast<std::time_t>(unixSeconds);
    std::tm parts = {};
    if ((utc ? gmtime_r(&instant, &parts) : localtime_r(&instant, &parts)) == nullptr)
        return "-";
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, format, &parts);
    return {text, length};
}

std::string durationText(double seconds) {
    const auto whole = static_cast<long>(std::lround(seconds));
    if (whole < 60)
        return fmt::format("{} s", whole);
    if (whole < 3600)
        return fmt::format("{}:{:02} min", whole / 60, whole % 60);
    return fmt::format("{}:{:02} h", whole / 3600, whole % 3600 / 60);
}

} // namespace

ExitCode fail(ExitCode code, std::string_view message) {
    fmt::print(stderr, "wickerlane: {}\n", escapingControls(message));
    return code;
}

void note(std::string_view line) {
    fmt::print(stderr, "{}\n", escapingControls(line));
}

void print(std::string_view line) {
    fmt::print("{}\n", escapingControls(line));
}

void printJSON(const JSON &value) {
    fmt::print("{}\n", value.dump(2, ' ', false, JSON::error_handler_t::replace));
}

std::string sizeText(std::uint64_t bytes) {
    if (bytes < 1000)
        return bytes == 1 ? "1 byte" : fmt::format("{} bytes", bytes);
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    constexpr const char *units[] = {"kB", "MB", "GB", "TB"};
    // What would be shown as 1000 of a unit is shown as 1 of the next.
    for (; value >= 999.5 && unit + 1 < std::size(units); ++unit)
        value /= 1000;
    return value < 9.95 ? fmt::format("{:.1f} {}", value, units[unit])
                        : fmt::format("{:.0f} {}", value, units[unit]);
}

std::string dateText(double referenceSeconds) {
    return timeText(referenceSeconds, false, "%Y-%m-%d %H:%M");
}

std::string isoDateText(double referenceSeconds) {
    return timeText(referenceSeconds, true, "%Y-%m-%dT%H:%M:%SZ");
}

std::string countText(std::uint64_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

void Table::add(std::vector<std::string> cells) {
    for (std::string &cell : cells)
        cell = escapingControls(cell);
    rows.push_back(std::move(cells));
}

void Table::print() const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        std::size_t width = widthOf(columns[i].heading);
        for (const auto &row : rows)
            width = std::max(width, widthOf(row[i]));
        widths.push_back(width);
    }
    const auto printRow = [&](auto cellAt) {
        std::string line;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::string &cell = cellAt(i);
            const std::string padding(widths[i] - widthOf(cell), ' ');
            if (i > 0)
                line += "  ";
            line += columns[i].align == Align::right ? padding + cell : cell + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print("{}\n", line);
    };
    printRow([&](std::size_t i) -> const std::string & { return columns[i].heading; });
    for (const auto &row : rows)
        printRow([&](std::size_t i) -> const std::string & { return row[i]; });
}

Progress::Progress(std::string described, std::size_t expected, bool isQuiet)
    : verb(std::move(described)), total(expected), quiet(isQuiet), isTerminal(isatty(STDERR_FILENO) != 0) {
}

Progress::~Progress() {
    if (!quiet && isTerminal && done > 0)
        fmt::print(stderr, "\r\x1b[K");
}

void Progress::advance(std::size_t count) {
    done += count;
    if (quiet)
        return;
    const auto now = Clock::now();
    if (isTerminal) {
        drawBar(std::chrono::duration<double>(now - started).count());
    } else if (done == total || now - lastLine >= std::chrono::seconds(2)) {
        lastLine = now;
        fmt::print(stderr, "{} {} of {}\n", verb, done, total);
    }
}

void Progress::drawBar(double seconds) const {
    winsize window = {};
    const std::size_t columns =
        ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    const std::string figures = rate > 0 ? fmt::format(" {}/{}  {:.1f}/s  {} left", done, total, rate,
                                                       durationText(static_cast<double>(total - done) / rate))
                                         : fmt::format(" {}/{}", done, total);
    const std::size_t taken = verb.size() + figures.size() + 3;
    const std::size_t width = columns > taken + 10 ? std::min<std::size_t>(columns - taken, 40) : 0;
    std::string bar;
    if (width > 0) {
        const std::size_t filled = total > 0 ? width * done / total : width;
        bar = fmt::format(" [{}{}]", std::string(filled, '#'), std::string(width - filled, '-'));
    }
    fmt::print(stderr, "\r\x1b[K{}{}{}", verb, bar, figures);
    std::fflush(stderr);
}

} // namespace wickerlane::cli
