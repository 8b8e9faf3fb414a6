#include "wickerlane/platform/logging/SystemLog.h"

#include <endian.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

namespace wickerlane {
namespace {

constexpr std::size_t maxLineLength = 8000; // what system logs take

// The form that syslog(3) uses: priority, local time in English, program and process.
std::string syslogDatagram(const SystemLogLine &line) {
    static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::time_t time = line.seconds;
    std::tm parts;
    char date[32] = "";
    if (localtime_r(&time, &parts) != nullptr && english != locale_t{})
        strftime_l(date, sizeof date, "%b %e %T ", &parts, english);
    std::string text = "<" + std::to_string(LOG_USER | line.level) + ">" + date;
    text += program_invocation_short_name;
    text += "[" + std::to_string(getpid()) + "]: ";
    text += line.text.substr(0, maxLineLength);
    return text;
}

// Each field is its name, a line break, its length in eight bytes, its value and a line break: so it may hold
// any bytes.
void addField(std::string &datagram, std::string_view name, std::string_view value) {
    if (value.empty())
        return;
    const std::uint64_t length = htole64(value.size());
    datagram.append(name).append(1, '\n');
    datagram.append(reinterpret_cast<const char *>(&length), sizeof length);
    datagram.append(value).append(1, '\n');
}

std::string journalDatagram(const SystemLogLine &line) {
    std::string fields;
    addField(fields, "MESSAGE", line.text.substr(0, maxLineLength));
    addField(fields, "PRIORITY", std::to_string(line.level));
    addField(fields, "SYSLOG_FACILITY", std::to_string(LOG_FAC(LOG_USER)));
    addField(fields, "SYSLOG_IDENTIFIER", program_invocation_short_name);
    addField(fields, "WICKERLANE_FACILITY", line.facility);
    addField(fields, "CODE_FILE", line.file);
    addField(fields, "CODE_FUNC", line.function);
    if (line.fileLine > 0)
        addField(fields, "CODE_LINE", std::to_string(line.fileLine));
    return fields;
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

void SystemLog::send(const SystemLogLine &line) {
    const MutexLock lock(mutex);
    for (int attempt = 0; attempt < 2 && connectAt(line.seconds); ++attempt) {
        const std::string text = form == Form::journal ? journalDatagram(line) : syslogDatagram(line);
        if (::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL) >= 0 || errno == EAGAIN)
            return;
        // The system log was restarted, with a new socket.
        socket.reset();
    }
}

} // namespace wickerlane
