#include "wickerlane/platform/object/FormatParser.h"

#include <algorithm>
#include <cstring>

namespace wickerlane::formatting {
namespace {

using Type = ArgumentType;

Type typeOfInteger(Length length) noexcept {
    switch (length) {
    case Length::none:
    case Length::hh:
    case Length::h:
        return Type::integer;
    case Length::l:
        return Type::longInteger;
    case Length::ll:
    case Length::L:
        return Type::longLong;
    case Length::j:
        return Type::maximal;
    case Length::z:
        return Type::size;
    case Length::t:
        return Type::difference;
    }
    return Type::none;
}

Type typeOfReal(Length length) noexcept {
    if (length == Length::L)
        return Type::longReal;
    return length == Length::none || length == Length::l ? Type::real : Type::none;
}

// The type of the argument; none when there is no such conversion, or when it takes no argument.
Type typeOf(char letter, Length length) noexcept {
    const auto unlessLong = [length](Type plain, Type wide) {
        return length == Length::none ? plain : (length == Length::l ? wide : Type::none);
    };
    switch (letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        return typeOfInteger(length);
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        return typeOfReal(length);
    case 'c':
        return unlessLong(Type::integer, Type::wideCharacter);
    case 's':
        return unlessLong(Type::text, Type::wideText);
    case 'C':
        return unlessLong(Type::integer, Type::none);
    case 'S':
        return unlessLong(Type::utf16Text, Type::none);
    case '@':
        return unlessLong(Type::object, Type::none);
    case 'p':
        return unlessLong(Type::pointer, Type::none);
    case 'n':
        return Type::pointer;
    default:
        return Type::none;
    }
}

int parseNumber(const char *&p) noexcept {
    int number = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        number = std::min(number * 10 + (*p - '0'), maxWidth);
    return number;
}

Length parseLength(const char *&p) noexcept {
    switch (*p) {
    case 'h':
        return *++p == 'h' ? (++p, Length::hh) : Length::h;
    case 'l':
        return *++p == 'l' ? (++p, Length::ll) : Length::l;
    case 'j':
        return ++p, Length::j;
    case 'z':
        return ++p, Length::z;
    case 't':
        return ++p, Length::t;
    case 'L':
        return ++p, Length::L;
    default:
        return Length::none;
    }
}

void parseFlags(const char *&p, Conversion &c) noexcept {
    for (;; ++p)
        switch (*p) {
        case '-':
            c.isLeftAligned = true;
            break;
        case '+':
            c.showsPlus = true;
            break;
        case ' ':
            c.showsSpace = true;
            break;
        case '#':
            c.isAlternative = true;
            break;
        case '0':
            c.isPaddedWithZeros = true;
            break;
        case '\'': // groups digits as the locale does; here none does
            break;
        default:
            return;
        }
}

} // namespace

ParsedFormat::ParsedFormat(const char *format) {
    list.reserve(storage.size() / sizeof(Piece));
    const char *p = format;
    while (*p != '\0') {
        const char *const start = p;
        if (*p == '%') {
            Piece &added = list.emplace_back();
            if (parseConversion(++p, added.conversion))
                continue;
            list.pop_back();
            anyUnknown = true;
        }
        p += std::strcspn(p, "%");
        list.emplace_back().literal = {start, p};
    }
    whole = {format, p};
}

// The "3$" that may stand at `p`; 0 when none does.
unsigned ParsedFormat::parsePosition(const char *&p) noexcept {
    const char *end = p;
    const int number = parseNumber(end);
    if (number == 0 || *end != '$')
        return 0;
    p = end + 1;
    anyPosition = true;
    return static_cast<unsigned>(number);
}

Measure ParsedFormat::parseMeasure(const char *&p) noexcept {
    if (*p == '*') {
        ++p;
        return {Measure::argument, 0, parsePosition(p)};
    }
    if (*p >= '0' && *p <= '9')
        return {Measure::number, parseNumber(p), 0};
    return {};
}

// Reads the conversion whose '%' stands before `p` and moves `p` past it. False, with `p` before the letter,
// when there is no such conversion.
bool ParsedFormat::parseConversion(const char *&p, Conversion &c) noexcept {
    c.position = parsePosition(p);
    parseFlags(p, c);
    c.width = parseMeasure(p);
    if (*p == '.') {
        ++p;
        c.precision = parseMeasure(p);
        if (c.precision.kind == Measure::absent)
            c.precision = {Measure::number, 0, 0};
    }
    c.length = parseLength(p);
    c.letter = *p;
    c.type = typeOf(c.letter, c.length);
    const bool takesNone = c.letter == '%' || (c.letter == 'm' && c.length == Length::none);
    if (c.type == Type::none && !takesNone)
        return false;
    ++p;
    return true;
}

} // namespace wickerlane::formatting
