#include "wickerlane/platform/console/Console.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Format.h"

namespace wickerlane {
namespace {

// Line breaks and commands to a terminal that are not ASCII: U+0080 to U+009F, U+2028 and U+2029. The length
// of the one at the start of the text, or 0.
std::size_t controlBeyondASCII(std::string_view text) {
    const auto unit = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    if (unit(0) == 0xC2 && unit(1) >= 0x80 && unit(1) <= 0x9F)
        return 2;
    if (unit(0) == 0xE2 && unit(1) == 0x80 && (unit(2) == 0xA8 || unit(2) == 0xA9))
        return 3;
    return 0;
}

// Written at once, so that lines of several threads and processes do not mix.
void writeLine(std::string line) {
    line += '\n';
    const int error = errno;
    static_cast<void>(retryInterrupted([&] { return write(STDERR_FILENO, line.data(), line.size()); }));
    errno = error;
}

} // namespace

std::string escapingControls(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto first = static_cast<unsigned char>(text[0]);
        std::size_t length = 1;
        if (first == '\n') {
            result += "\\n";
        } else if (first == '\r') {
            result += "\\r";
        } else if ((first < 0x20 && first != '\t') || first == 0x7F) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\x%02x", first);
            result += code.data();
        } else if (const std::size_t beyond = controlBeyondASCII(text); beyond != 0) {
            const unsigned last = static_cast<unsigned char>(text[beyond - 1]);
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\u%04x", beyond == 2 ? last : 0x2000 + (last & 0x3Fu));
            result += code.data();
            length = beyond;
        } else {
            result += text[0];
        }
        text.remove_prefix(length);
    }
    return result;
}

void consoleLog(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string line = formatUTF8Escaping(format, arguments, escapingControls);
    va_end(arguments);
    writeLine(std::move(line));
}

void consoleLogText(std::string_view text) {
    writeLine(escapingControls(text));
}

} // namespace wickerlane
