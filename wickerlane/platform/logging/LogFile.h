// The file that a log is being written to.
#ifndef WICKERLANE_PLATFORM_LOGGING_LOGFILE_H
#define WICKERLANE_PLATFORM_LOGGING_LOGFILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "wickerlane/platform/logging/LogArchive.h"
#include "wickerlane/platform/queue/AdaptiveMutex.h"

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
    /// The one object for the file, which is never destroyed. Opens nothing yet.
    [[nodiscard]] static LogFile &of(const std::string &folder, const std::string &name);

    LogFile(const std::string &folder, const std::string &name);

    /// Appends a line, which ends in a line break, with one write. A line longer than the limit is cut.
    /// `now`, in nanoseconds of any clock, only paces how often the file is checked. False when it could not
    /// be written.
    bool write(std::string_view line, const LogFileLimits &limits, std::int64_t now);
    /// Standard output and error go to the file from its next line on. The console then gets no complaints
    /// about it.
    void standForConsole() WL_EXCLUDES(mutex);

private:
    [[nodiscard]] bool makeReady(std::size_t length, const LogFileLimits &limits, std::int64_t now)
        WL_REQUIRES(mutex);
    [[nodiscard]] bool reopen(std::size_t length, const LogFileLimits &limits) WL_REQUIRES(mutex);
    [[nodiscard]] bool open() WL_REQUIRES(mutex);
    [[nodiscard]] bool append(std::string_view line) WL_REQUIRES(mutex);
    void complain(const char *what) WL_REQUIRES(mutex);

    const LogArchive archive;
    AdaptiveMutex mutex;
    UniqueFd file WL_GUARDED_BY(mutex);                    // holds a shared lock
    std::uint64_t uncheckedBytes WL_GUARDED_BY(mutex) = 0; // that may be written until the next check
    std::int64_t checkedAt WL_GUARDED_BY(mutex) = 0;
    std::int64_t failedAt WL_GUARDED_BY(mutex) = 0; // when opening failed; 0 while it works
    bool torn WL_GUARDED_BY(mutex) = false;         // the file ends within a line
    bool isConsole WL_GUARDED_BY(mutex) = false;
    bool complained WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane

#endif
