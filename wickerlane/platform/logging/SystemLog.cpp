#include "wickerlane/platform/logging/SystemLog.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

namespace wickerlane {
namespace {

constexpr std::size_t maxLineLength = 8000; // what system logs take

// The form that syslog(3) uses: priority, local time in English, program and process.
std::string datagram(int level, std::string_view line, std::int64_t seconds) {
    static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::time_t time = seconds;
    std::tm parts;
    char date[32] = "";
    if (localtime_r(&time, &parts) != nullptr && english != locale_t{})
        strftime_l(date, sizeof date, "%b %e %T ", &parts, english);
    std::string text = "<" + std::to_string(LOG_USER | level) + ">" + date;
    text += program_invocation_short_name;
    text += "[" + std::to_string(getpid()) + "]: ";
    text += line.substr(0, maxLineLength);
    return text;
}

} // namespace

bool SystemLog::connectAt(std::int64_t seconds) {
    if (socket)
        return true;
    if (failedAt == seconds)
        return false;
    socket.reset(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    if (!socket ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        socket.reset();
        failedAt = seconds;
        return false;
    }
    return true;
}

void SystemLog::send(int level, std::string_view line, std::int64_t seconds) {
    const MutexLock lock(mutex);
    for (int attempt = 0; attempt < 2 && connectAt(seconds); ++attempt) {
        const std::string text = datagram(level, line, seconds);
        if (::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL) >= 0 || errno == EAGAIN)
            return;
        // The system log was restarted, with a new socket.
        socket.reset();
    }
}

} // namespace wickerlane
