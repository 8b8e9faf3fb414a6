// How far long work has come.
#ifndef CLI_PROGRESS_H
#define CLI_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace wickerlane::cli {

/// Shows progress on standard error: on a terminal a bar with the rate and the time left, else a line every
/// two seconds. One thread at a time.
class Progress {
public:
    /// `verb` says what is done to the things that are counted: "saved".
    Progress(std::string verb, std::size_t total, bool quiet);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// Adds to what has been done, and to what could not be.
    void advance(std::size_t count, std::size_t failed = 0);

private:
    using Clock = std::chrono::steady_clock;
    void drawBar(double seconds) const;

    std::string verb;
    std::size_t total;
    std::size_t done = 0;
    std::size_t failed = 0;
    bool quiet;
    bool isTerminal;
    Clock::time_point started = Clock::now();
    Clock::time_point lastLine = started;
};

} // namespace wickerlane::cli

#endif
