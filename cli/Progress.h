// How far long work has come.
#ifndef CLI_PROGRESS_H
#define CLI_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace wickerlane::cli {

/// One line on the terminal at standard error: what is under way, how much of it is done, how fast, and the
/// time left. It appears after half a second, is painted at most ten times a second, and goes when the work
/// ends. Nothing is shown without a terminal, with TERM=dumb, and with --quiet. One thread at a time.
class Progress {
public:
    /// `what` is under way: "saving". `total` is how many there are to do; 0 when that is not known.
    explicit Progress(std::string what, std::size_t total = 0);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// Adds to what has been done, and to what could not be.
    void advance(std::size_t count, std::size_t failed = 0);
    /// Something else is under way, of which nothing is done yet.
    void begin(std::string what, std::size_t total);
    /// What is done, of another total than before.
    void set(std::size_t count, std::size_t total);
    /// Shows that time passes. To be called now and then while nothing advances.
    void tick();
    /// Whether anything is ever shown.
    [[nodiscard]] bool isShown() const noexcept { return shows; }

private:
    using Clock = std::chrono::steady_clock;
    void paint(Clock::time_point now);

    std::string what;
    std::size_t total;
    std::size_t done = 0;
    std::size_t failed = 0;
    bool shows;
    Clock::time_point started = Clock::now();
    Clock::time_point nextPaint = started + std::chrono::milliseconds(500);
};

/// "12 s", "3:05 min", "1:02 h".
[[nodiscard]] std::string durationText(double seconds);

} // namespace wickerlane::cli

#endif
