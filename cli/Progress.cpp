#include "cli/Progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "cli/Output.h"
#include "cli/Table.h"
#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

/// Whether a line can be painted over.
bool canRepaint() {
    const char *terminal = std::getenv("TERM");
    return !isQuiet() && isatty(STDERR_FILENO) != 0 &&
           (terminal == nullptr || std::string_view(terminal) != "dumb");
}

std::size_t columnsOfTerminal() {
    winsize window = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
}

} // namespace

std::string durationText(double seconds) {
    const auto whole = static_cast<long>(std::lround(seconds));
    if (whole < 60)
        return fmt::format("{} s", whole);
    if (whole < 3600)
        return fmt::format("{}:{:02} min", whole / 60, whole % 60);
    return fmt::format("{}:{:02} h", whole / 3600, whole % 3600 / 60);
}

Progress::Progress(std::string described, std::size_t expected)
    : what(std::move(described)), total(expected), shows(canRepaint()) {
}

Progress::~Progress() {
    paintLine("");
}

void Progress::advance(std::size_t count, std::size_t notDone) {
    done += count;
    failed += notDone;
    tick();
}

void Progress::begin(std::string described, std::size_t expected) {
    if (described == what && expected == total)
        return;
    what = std::move(described);
    total = expected;
    done = failed = 0;
    started = Clock::now();
    tick();
}

void Progress::set(std::size_t count, std::size_t expected) {
    done = count;
    total = expected;
    tick();
}

void Progress::tick() {
    if (!shows)
        return;
    if (const auto now = Clock::now(); now >= nextPaint) {
        nextPaint = now + std::chrono::milliseconds(100);
        paint(now);
    }
}

void Progress::paint(Clock::time_point now) {
    const double seconds = std::chrono::duration<double>(now - started).count();
    const std::size_t ended = done + failed;
    const double rate = seconds > 0 ? static_cast<double>(ended) / seconds : 0;
    std::string figures = total > 0   ? " " + localized("{} of {}", ended, std::max(total, ended))
                          : ended > 0 ? fmt::format(" {}", ended)
                                      : "";
    if (failed > 0)
        figures += localized(", ") + localizedCount(failed, "{} refused", "{} refused");
    if (rate > 0)
        figures += fmt::format("  {:.1f}/s", rate);
    if (rate > 0 && total > ended)
        figures += "  " + localized("{} left", durationText(static_cast<double>(total - ended) / rate));
    else
        figures += "  " + durationText(seconds);
    const std::size_t columns = columnsOfTerminal(), taken = widthOf(what) + widthOf(figures) + 4;
    std::string bar;
    if (total > 0 && columns > taken + 10) {
        const std::size_t width = std::min<std::size_t>(columns - taken, 40);
        const std::size_t filled = width * std::min(ended, total) / total;
        bar = fmt::format(" [{}{}]", std::string(filled, '#'), std::string(width - filled, '-'));
    }
    paintLine(cut(what + bar + figures, columns > 1 ? columns - 1 : 1));
}

} // namespace wickerlane::cli
