// A client of the system log that never waits.
#ifndef WICKERLANE_PLATFORM_LOGGING_SYSTEMLOG_H
#define WICKERLANE_PLATFORM_LOGGING_SYSTEMLOG_H

#include <syslog.h>

#include <cstdint>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {

/// A line for the system log. It borrows its texts.
struct SystemLogLine {
    int level = LOG_INFO; ///< From LOG_EMERG, 0, to LOG_DEBUG, 7.
    std::string_view text{};
    std::int64_t seconds = 0; ///< When it was logged, since 1970.
    // Sent to a journal alone, and only if they are known.
    std::string_view facility{};         ///< The subject, as WICKERLANE_FACILITY.
    std::string_view file{}, function{}; ///< The place in the source, as CODE_FILE and CODE_FUNC.
    long fileLine = 0;                   ///< As CODE_LINE; not known when 0.
};

/// Sends lines to the socket of the system log. Thread-safe.
class WL_EXPORT SystemLog {
public:
    /// How a line is written: as syslog(3) does, or in the fields of systemd's journal.
    enum class Form : std::uint8_t { syslog, journal };

    /// `socketPath` is shorter than 108 bytes and lives as long as the object.
    explicit SystemLog(const char *socketPath, Form writtenAs = Form::syslog) noexcept
        : path(socketPath), form(writtenAs) {}

    /// Sends one line. Dropped when there is no system log, or when the system log does not read; its text is
    /// cut at 8,000 bytes.
    void send(const SystemLogLine &line);

private:
    [[nodiscard]] bool connectAt(std::int64_t seconds) WL_REQUIRES(mutex);

    const char *path;
    const Form form;
    Mutex mutex;
    UniqueFd socket WL_GUARDED_BY(mutex);
    std::int64_t failedAt WL_GUARDED_BY(mutex) = -1;
};

} // namespace wickerlane

#endif
