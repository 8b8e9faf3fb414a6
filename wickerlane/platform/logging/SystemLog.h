// A client of the system log that never waits.
#ifndef WICKERLANE_PLATFORM_LOGGING_SYSTEMLOG_H
#define WICKERLANE_PLATFORM_LOGGING_SYSTEMLOG_H

#include <cstdint>
#include <mutex>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Sends lines to the socket of the system log. Thread-safe.
class WL_EXPORT SystemLog {
public:
    /// `socketPath` is shorter than 108 bytes and lives as long as the object.
    explicit SystemLog(const char *socketPath) noexcept : path(socketPath) {}

    /// Sends one line of a level from 0 to 7. Dropped when nobody listens, or when the system log does not
    /// read; cut at 8,000 bytes. `seconds` since 1970.
    void send(int level, std::string_view line, std::int64_t seconds);

private:
    [[nodiscard]] bool connectAt(std::int64_t seconds);

    const char *path;
    std::mutex mutex; // guards what follows
    UniqueFd socket;
    std::int64_t failedAt = -1;
};

} // namespace wickerlane

#endif
