// The file that a log is being written to.
#ifndef WICKERLANE_PLATFORM_LOGGING_LOGFILE_H
#define WICKERLANE_PLATFORM_LOGGING_LOGFILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "wickerlane/platform/logging/LogArchive.h"
#include "wickerlane/platform/queue/Lock.h"

namespace wickerlane {

/// What a configuration says about its file.
struct LogFileLimits {
    std::uint64_t bytes;    ///< A file that would grow past this is finished and a new one begun.
    unsigned finishedFiles; ///< Finished files kept.
    bool compresses;        ///< Whether these are compressed.
};

/// One log file of this process; other processes may write to the same file at the same time. Thread-safe.
class LogFile {
public:
    /// The one object for the file, which lives for ever. Opens nothing yet.
    [[nodiscard]] static LogFile &of(const std::string &folder, const std::string &name);

    LogFile(const std::string &folder, const std::string &name);

    /// Appends a line, which ends in a line break, with one write. A line longer than the limit is cut.
    /// `now`, in nanoseconds of any clock, only paces how often the file is looked at.
    void write(std::string_view line, const LogFileLimits &limits, std::int64_t now);

private:
    [[nodiscard]] bool makeReady(std::size_t length, const LogFileLimits &limits, std::int64_t now);
    [[nodiscard]] bool renew(std::size_t length, const LogFileLimits &limits);
    [[nodiscard]] bool open();
    void append(std::string_view line);
    void complain(const char *what);

    const LogArchive archive;
    Lock lock;                  // guards what follows
    UniqueFd file;              // holds a shared lock
    std::uint64_t unlooked = 0; // bytes that may be written before looking at the file again
    std::int64_t lookedAt = 0;
    std::int64_t failedAt = 0; // when opening failed; 0 while it works
    bool torn = false;         // the file ends within a line
    bool complained = false;
};

} // namespace wickerlane

#endif
