#include "wickerlane/platform/console/Console.h"

#include <unicode/uchar.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {
namespace {

// Whether a character is shown as its code: controls, line separators, and what can't be seen but changes how
// its neighbours look, such as the marks that reverse the direction of a text.
bool isHidden(char32_t character) {
    switch (u_charType(static_cast<UChar32>(character))) {
    case U_CONTROL_CHAR:
        return character != '\t';
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
    case U_FORMAT_CHAR:
        return true;
    default:
        return false;
    }
}

void appendEscaped(std::string &text, char32_t character) {
    std::array<char, 12> code{};
    if (character == '\n' || character == '\r')
        std::snprintf(code.data(), code.size(), "\\%c", character == '\n' ? 'n' : 'r');
    else
        std::snprintf(code.data(), code.size(),
                      character < 0x80      ? "\\x%02x"
                      : character < 0x10000 ? "\\u%04x"
                                            : "\\U%08x",
                      static_cast<unsigned>(character));
    text += code.data();
}

// Bytes that are no UTF-8. To some terminals they are control characters.
void appendBytes(std::string &text, std::string_view bytes) {
    for (const char each : bytes) {
        std::array<char, 5> code{};
        std::snprintf(code.data(), code.size(), "\\x%02x",
                      static_cast<unsigned>(static_cast<unsigned char>(each)));
        text += code.data();
    }
}

constinit std::atomic<bool (*)()> consoleGate{nullptr};
constinit std::atomic<bool (*)(std::string_view)> consoleWriter{nullptr};

bool isGateOpen() {
    const auto gate = consoleGate.load();
    return gate == nullptr || gate();
}

// Written at once, so that lines of several threads and processes do not mix.
void writeLine(std::string line) {
    line += '\n';
    const int error = errno;
    const auto writer = consoleWriter.load();
    if (writer == nullptr || !writer(line))
        static_cast<void>(retryInterrupted([&] { return write(STDERR_FILENO, line.data(), line.size()); }));
    errno = error;
}

} // namespace

std::string escapingControls(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at != end;) {
        const char *const start = at;
        const char32_t character = utf8::next(at, end);
        if (character == utf8::invalid)
            appendBytes(result, {start, at});
        else if (isHidden(character))
            appendEscaped(result, character);
        else
            result.append(start, at);
    }
    return result;
}

void consoleLog(const char *format, ...) {
    if (!isGateOpen())
        return;
    va_list arguments;
    va_start(arguments, format);
    std::string line = formatUTF8Escaping(format, arguments, escapingControls);
    va_end(arguments);
    writeLine(std::move(line));
}

bool consoleLogText(std::string_view text) {
    if (!isGateOpen())
        return false;
    writeLine(escapingControls(text));
    return true;
}

void setConsoleGate(bool (*gate)()) {
    consoleGate.store(gate);
}

void setConsoleWriter(bool (*writer)(std::string_view lines)) {
    consoleWriter.store(writer);
}

} // namespace wickerlane
