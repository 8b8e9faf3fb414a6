#include "wickerlane/platform/console/Console.h"

#include <unicode/uchar.h>
#include <unistd.h>

#include <array>
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
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at != end;) {
        const char *const start = at;
        const char32_t character = utf8::next(at, end);
        if (character != utf8::invalid && isHidden(character))
            appendEscaped(result, character);
        else
            result.append(start, at);
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
