// A client of the system log that never waits.
#ifndef WICKERLANE_PLATFORM_LOGGING_SYSTEMLOG_H
#define WICKERLANE_PLATFORM_LOGGING_SYSTEMLOG_H

#include <cstdint>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {

/// Sends lines to the socket of the system log. Thread-safe.
class WL_EXPORT SystemLog {
public:
    /// `socketPath` is shorter than 108 bytes and lives as long as the object.
    explicit SystemLog(const char *socketPath) noexcept : path(socketPath) {}

    /// Sends one line of a level from 0 to 7. Dropped when there is no system log, or when the system log
    /// does not read; cut at 8,000 bytes. `seconds` since 1970.
    void send(int level, std::string_view line, std::int64_t seconds);

private:
    [[nodiscard]] bool connectAt(std::int64_t seconds) WL_REQUIRES(mutex);

    const char *path;
    Mutex mutex;
    UniqueFd socket WL_GUARDED_BY(mutex);
    std::int64_t failedAt WL_GUARDED_BY(mutex) = -1;
};

} // namespace wickerlane

#endif
