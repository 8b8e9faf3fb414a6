#undef NDEBUG // an unknown destination stops release builds, too

#include "wickerlane/log/JXLogLine.h"

#include <locale.h>
#include <pthread.h>
#include <unistd.h>

#include <cassert>
#include <charconv>
#include <cstdint>
#include <ctime>

namespace {

void appendNumber(std::string &text, auto value, int base = 10) {
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, value, base).ptr);
}

void appendThread(std::string &text) {
    text += "0x";
    appendNumber(text, reinterpret_cast<std::uintptr_t>(pthread_self()), 16);
}

std::string_view orNull(const char *text) {
    return text != nullptr ? text : "(null)";
}

pid_t recordedProcessID() {
    static const pid_t recorded = getpid();
    return recorded;
}

// The text of the last second is kept, since many lines have the same one.
std::string_view dateText(std::time_t seconds) {
    struct Shown {
        std::time_t seconds;
        std::size_t length; // 0 when there is no text.
        char text[32];
    };
    thread_local Shown last{};
    if (last.length == 0 || last.seconds != seconds) {
        static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
        std::tm parts;
        last.length = 0;
        if (english != locale_t{} && localtime_r(&seconds, &parts) != nullptr)
            last.length = strftime_l(last.text, sizeof last.text, "%Y/%m/%d %H:%M:%S", &parts, english);
        if (last.length == 0)
            return "(null)";
        last.seconds = seconds;
    }
    return {last.text, last.length};
}

std::string consoleLine(const LKLogEntry &entry) {
    const std::string_view facility = entry.facilityName->utf8();
    std::string line;
    line.reserve(facility.size() + entry.message.size() + 32);
    line.append(facility).append(" <t:");
    appendThread(line);
    line.append("> ").append(entry.message);
    return line;
}

std::string fileLine(std::string_view processLabel, const LKLogEntry &entry) {
    const std::string_view facility = entry.facilityName->utf8();
    std::string line;
    line.reserve(processLabel.size() + facility.size() + entry.message.size() + 96);
    line.append(dateText(entry.timestamp.tv_sec)).append("|").append(processLabel).append(" [");
    appendNumber(line, recordedProcessID());
    line += ':';
    appendThread(line);
    line += "]|";
    if (entry.level == 7) {
        line.append(orNull(entry.function)).append("|").append(orNull(entry.file)).append(":");
        appendNumber(line, entry.line);
        line += '|';
    }
    line.append(facility).append(": ").append(entry.message);
    return line;
}

} // namespace

std::string JXLogLine(int destination, std::string_view processLabel, const LKLogEntry &entry) {
    switch (destination) {
    case JXLogDestinationConsole:
        return consoleLine(entry);
    case JXLogDestinationFile:
        return fileLine(processLabel, entry);
    default:
        __assert_fail("0 && \"unexpected logging destination\"", __FILE__, __LINE__, __func__);
    }
}
