#include "cli/Progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cli/Output.h"

namespace wickerlane::cli {
namespace {

std::string durationText(double seconds) {
    const auto whole = static_cast<long>(std::lround(seconds));
    if (whole < 60)
        return fmt::format("{} s", whole);
    if (whole < 3600)
        return fmt::format("{}:{:02} min", whole / 60, whole % 60);
    return fmt::format("{}:{:02} h", whole / 3600, whole % 3600 / 60);
}

} // namespace

Progress::Progress(std::string described, std::size_t expected, bool isQuiet)
    : verb(std::move(described)), total(expected), quiet(isQuiet), isTerminal(isatty(STDERR_FILENO) != 0) {
}

Progress::~Progress() {
    if (!quiet && isTerminal && done + failed > 0)
        noteText("\r\x1b[K");
}

void Progress::advance(std::size_t count, std::size_t notDone) {
    done += count;
    failed += notDone;
    if (quiet)
        return;
    const auto now = Clock::now();
    if (isTerminal) {
        drawBar(std::chrono::duration<double>(now - started).count());
    } else if (done + failed == total || now - lastLine >= std::chrono::seconds(2)) {
        lastLine = now;
        noteText(fmt::format("{} {} of {}\n", verb, done, total));
    }
}

void Progress::drawBar(double seconds) const {
    winsize window = {};
    const std::size_t columns =
        ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
    const std::size_t ended = done + failed;
    const double rate = seconds > 0 ? static_cast<double>(ended) / seconds : 0;
    const std::string figures = rate > 0
                                    ? fmt::format(" {}/{}  {:.1f}/s  {} left", done, total, rate,
                                                  durationText(static_cast<double>(total - ended) / rate))
                                    : fmt::format(" {}/{}", done, total);
    const std::size_t taken = verb.size() + figures.size() + 3;
    const std::size_t width = columns > taken + 10 ? std::min<std::size_t>(columns - taken, 40) : 0;
    std::string bar;
    if (width > 0) {
        const std::size_t filled = total > 0 ? width * ended / total : width;
        bar = fmt::format(" [{}{}]", std::string(filled, '#'), std::string(width - filled, '-'));
    }
    noteText(fmt::format("\r\x1b[K{}{}{}", verb, bar, figures));
    std::fflush(stderr);
}

} // namespace wickerlane::cli
