#include "wickerlane/platform/object/Format.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {
namespace {

constexpr int widest = 1 << 20;
constexpr std::size_t longestResult = std::size_t{64} << 20;

// What an argument is passed as. The kinds of pointers are told apart only where they are read through.
enum class Type : std::uint8_t {
    none,
    integer,
    longInteger,
    longLong,
    maximal,
    size,
    difference,
    wideCharacter,
    real,
    longReal,
    pointer,
    object,
    text,
    wideText,
    utf16Text,
};

bool isPointer(Type type) noexcept {
    return type >= Type::pointer;
}

enum class Length : std::uint8_t { none, hh, h, l, ll, j, z, t, L };

// A width or precision: given as a number, by an argument, or not at all.
struct Measure {
    enum : std::uint8_t { absent, number, argument } from = absent;
    int value = 0;
    unsigned position = 0; // of the argument, from 1 on; 0 for the next one
};

struct Conversion {
    bool left = false;
    bool sign = false;
    bool space = false;
    bool alternative = false;
    bool zero = false;
    Measure width;
    Measure precision;
    Length length = Length::none;
    char letter = '\0';
    Type type = Type::none; // of the argument
    unsigned position = 0;
};

// An argument: the one of these that its type says.
struct Value {
    std::intmax_t integer = 0;
    double real = 0;
    long double longReal = 0;
    const void *pointer = nullptr;
};

Type typeOf(char letter, Length length) noexcept {
    switch (letter) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
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
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        if (length == Length::L)
            return Type::longReal;
        return length == Length::none || length == Length::l ? Type::real : Type::none;
    case 'c':
        if (length == Length::l)
            return Type::wideCharacter;
        return length == Length::none ? Type::integer : Type::none;
    case 's':
        if (length == Length::l)
            return Type::wideText;
        return length == Length::none ? Type::text : Type::none;
    case 'n':
        return Type::pointer;
    default:
        break;
    }
    if (length != Length::none)
        return Type::none;
    switch (letter) {
    case 'C':
        return Type::integer;
    case 'S':
        return Type::utf16Text;
    case '@':
        return Type::object;
    case 'p':
        return Type::pointer;
    default:
        return Type::none;
    }
}

int parseNumber(const char *&p) noexcept {
    int number = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        number = std::min(number * 10 + (*p - '0'), widest);
    return number;
}

// The "3$" that may stand at `p`; 0 when none does.
unsigned parsePosition(const char *&p) noexcept {
    const char *end = p;
    const int number = parseNumber(end);
    if (number == 0 || *end != '$')
        return 0;
    p = end + 1;
    return static_cast<unsigned>(number);
}

Measure parseMeasure(const char *&p) noexcept {
    if (*p == '*') {
        ++p;
        return {Measure::argument, 0, parsePosition(p)};
    }
    if (*p >= '0' && *p <= '9')
        return {Measure::number, parseNumber(p), 0};
    return {};
}

Length parseLength(const char *&p) noexcept {
    const auto twice = [&](char c) {
        const bool two = p[1] == c;
        p += two ? 2 : 1;
        return two;
    };
    switch (*p) {
    case 'h':
        return twice('h') ? Length::hh : Length::h;
    case 'l':
        return twice('l') ? Length::ll : Length::l;
    case 'j':
        ++p;
        return Length::j;
    case 'z':
        ++p;
        return Length::z;
    case 't':
        ++p;
        return Length::t;
    case 'L':
        ++p;
        return Length::L;
    default:
        return Length::none;
    }
}

// Reads the conversion whose '%' stands before `p` and moves `p` past it. None, with `p` before the letter,
// when there is no such conversion.
std::optional<Conversion> parseConversion(const char *&p) noexcept {
    Conversion c;
    if (*p == '@') { // most are just this
        c.letter = *p++;
        c.type = Type::object;
        return c;
    }
    c.position = parsePosition(p);
    for (;; ++p) {
        if (*p == '-')
            c.left = true;
        else if (*p == '+')
            c.sign = true;
        else if (*p == ' ')
            c.space = true;
        else if (*p == '#')
            c.alternative = true;
        else if (*p == '0')
            c.zero = true;
        else if (*p != '\'') // groups digits as the locale does; the plain one does not
            break;
    }
    c.width = parseMeasure(p);
    if (*p == '.') {
        ++p;
        c.precision = parseMeasure(p);
        if (c.precision.from == Measure::absent)
            c.precision = {Measure::number, 0, 0};
    }
    c.length = parseLength(p);
    c.letter = *p;
    c.type = typeOf(c.letter, c.length);
    const bool takesNone = c.letter == '%' || (c.letter == 'm' && c.length == Length::none);
    if (c.type == Type::none && !takesNone)
        return std::nullopt;
    ++p;
    return c;
}

// The arguments, one after the other, or, once their types are known, by position.
class Arguments {
public:
    explicit Arguments(va_list from) { va_copy(list, from); }
    ~Arguments() { va_end(list); }
    Arguments(const Arguments &) = delete;
    Arguments &operator=(const Arguments &) = delete;

    // Reads all arguments of a positional format. False, with nothing read, when it is not a sound one.
    bool readByPosition(const char *format) {
        std::vector<Type> types;
        // Every position takes some characters of the format, so that a sound one cannot name a higher one.
        const std::size_t highest = std::strlen(format);
        const auto note = [&](unsigned position, Type type) {
            if (position == 0 || position > highest)
                return false;
            if (types.size() < position)
                types.resize(position, Type::none);
            Type &known = types[position - 1];
            if (known == Type::none || (known == Type::pointer && isPointer(type)))
                known = type;
            return known == type || (type == Type::pointer && isPointer(known));
        };
        for (const char *p = format; (p = std::strchr(p, '%')) != nullptr;) {
            const auto c = parseConversion(++p);
            if (!c)
                return false;
            for (const Measure &measure : {c->width, c->precision})
                if (measure.from == Measure::argument && !note(measure.position, Type::integer))
                    return false;
            if (c->type == Type::none ? c->position != 0 : !note(c->position, c->type))
                return false;
        }
        if (std::ranges::find(types, Type::none) != types.end())
            return false;
        values.reserve(types.size());
        for (const Type type : types)
            values.push_back(read(type));
        return true;
    }

    Value take(unsigned position, Type type) { return position == 0 ? read(type) : values[position - 1]; }

private:
    Value read(Type type) {
        Value value;
        switch (type) {
        case Type::none:
            break;
        case Type::integer:
            value.integer = va_arg(list, int);
            break;
        case Type::longInteger:
            value.integer = va_arg(list, long);
            break;
        case Type::longLong:
            value.integer = va_arg(list, long long);
            break;
        case Type::maximal:
            value.integer = va_arg(list, std::intmax_t);
            break;
        case Type::size:
            value.integer = static_cast<std::intmax_t>(va_arg(list, std::size_t));
            break;
        case Type::difference:
            value.integer = va_arg(list, std::ptrdiff_t);
            break;
        case Type::wideCharacter:
            value.integer = static_cast<std::intmax_t>(va_arg(list, std::wint_t));
            break;
        case Type::real:
            value.real = va_arg(list, double);
            break;
        case Type::longReal:
            value.longReal = va_arg(list, long double);
            break;
        case Type::pointer:
        case Type::object:
        case Type::text:
        case Type::wideText:
        case Type::utf16Text:
            value.pointer = va_arg(list, const void *);
            break;
        }
        return value;
    }

    va_list list;
    std::vector<Value> values;
};

std::intmax_t narrowed(std::intmax_t value, Length length, bool isSigned) noexcept {
    const auto as = [&]<class Signed, class Unsigned>(Signed, Unsigned) {
        return isSigned ? std::intmax_t{static_cast<Signed>(value)}
                        : static_cast<std::intmax_t>(static_cast<Unsigned>(value));
    };
    switch (length) {
    case Length::hh:
        return as(static_cast<signed char>(0), static_cast<unsigned char>(0));
    case Length::h:
        return as(short{}, static_cast<unsigned short>(0));
    case Length::none:
        return as(int{}, 0U);
    default:
        return value; // the others are as wide as the widest
    }
}
static_assert(sizeof(long) == sizeof(std::intmax_t) && sizeof(long long) == sizeof(std::intmax_t));

// While it lives, numbers are written as plain C writes them, whatever locale the application has set.
class PlainLocale {
public:
    PlainLocale() noexcept {
        static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
        before = uselocale(plain);
    }
    ~PlainLocale() { uselocale(before); }
    PlainLocale(const PlainLocale &) = delete;
    PlainLocale &operator=(const PlainLocale &) = delete;

private:
    locale_t before;
};

class Formatter {
public:
    Formatter(const char *text, va_list from, std::string (*escaping)(std::string_view)) noexcept
        : format(text), arguments(from), escape(escaping) {}

    std::string run() {
        if (std::strchr(format, '$') != nullptr && isPositional() && !arguments.readByPosition(format)) {
            addLiteral(format);
            return std::move(result);
        }
        constexpr std::size_t usualGrowth = 48; // by what is filled in
        result.reserve(std::strlen(format) + usualGrowth);
        const char *p = format;
        while (*p != '\0' && !isFull) {
            const char *const start = p;
            if (*p != '%') {
                p += std::strcspn(p, "%");
                addLiteral({start, p});
            } else if (const auto conversion = parseConversion(++p)) {
                add(*conversion);
            } else {
                addLiteral({start, p});
            }
        }
        return std::move(result);
    }

private:
    // Whether any conversion names a position; then all have to.
    bool isPositional() const noexcept {
        for (const char *p = format; (p = std::strchr(p, '%')) != nullptr;) {
            const char *const start = ++p;
            if (!parseConversion(p)) {
                if (std::find(start, p, '$') != p)
                    return true;
            } else if (std::find(start, p, '$') != p) {
                return true;
            }
        }
        return false;
    }

    void add(Conversion c) {
        const std::optional<int> width = measure(c.width);
        if (width && *width < 0)
            c.left = true;
        const auto columns = static_cast<std::size_t>(
            std::min(std::abs(std::int64_t{width.value_or(0)}), std::int64_t{widest}));
        const std::optional<int> given = measure(c.precision);
        const int precision = given && *given >= 0 ? std::min(*given, widest) : -1;
        if (c.letter == '%')
            return addLiteral("%");
        if (c.letter == 'm') {
            char buffer[256];
            return addText(c, columns, precision, strerror_r(errorNumber, buffer, sizeof buffer));
        }
        const Value value = arguments.take(c.position, c.type);
        switch (c.letter) {
        case 'n':
            return;
        case 'p':
            return addNumber(c, columns, precision, "", value.pointer);
        case 'c':
        case 'C':
            return addCharacter(c, columns, value.integer);
        case 's':
        case 'S':
        case '@':
            return addPointedText(c, columns, precision, value.pointer);
        case 'd':
        case 'i':
            return addNumber(c, columns, precision, "j", narrowed(value.integer, c.length, true));
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return addNumber(c, columns, precision, "j", narrowed(value.integer, c.length, false));
        default:
            if (c.type == Type::longReal)
                return addNumber(c, columns, precision, "L", value.longReal);
            return addNumber(c, columns, precision, "", value.real);
        }
    }

    std::optional<int> measure(const Measure &from) {
        if (from.from == Measure::absent)
            return std::nullopt;
        if (from.from == Measure::number)
            return from.value;
        return static_cast<int>(arguments.take(from.position, Type::integer).integer);
    }

    // One number, by the C library: its conversion is put together anew from what was understood of it.
    template <class Number>
    void addNumber(const Conversion &c, std::size_t width, int precision, const char *length, Number number) {
        std::array<char, 32> rebuilt;
        char *p = rebuilt.data();
        *p++ = '%';
        if (c.left)
            *p++ = '-';
        if (c.sign)
            *p++ = '+';
        if (c.space)
            *p++ = ' ';
        if (c.alternative)
            *p++ = '#';
        if (c.zero)
            *p++ = '0';
        *p++ = '*';
        if (precision >= 0) {
            *p++ = '.';
            *p++ = '*';
        }
        p = std::copy_n(length, std::strlen(length), p);
        *p++ = c.letter;
        *p = '\0';

        const PlainLocale plain;
        const int columns = static_cast<int>(width);
        const auto print = [&](char *buffer, std::size_t size) {
            return precision >= 0 ? std::snprintf(buffer, size, rebuilt.data(), columns, precision, number)
                                  : std::snprintf(buffer, size, rebuilt.data(), columns, number);
        };
        std::array<char, 128> small;
        const int needed = print(small.data(), small.size());
        if (needed < 0)
            return;
        const auto size = static_cast<std::size_t>(needed);
        if (size < small.size())
            return append({small.data(), size});
        std::string large(size, '\0');
        print(large.data(), size + 1);
        append(large);
    }

    void addCharacter(const Conversion &c, std::size_t width, std::intmax_t value) {
        std::string text;
        if (c.letter == 'c' && c.length == Length::none) {
            const auto byte = static_cast<unsigned char>(value);
            utf8::append(text, byte < 0x80 ? char32_t{byte} : utf8::replacement);
        } else if (c.letter == 'C') {
            utf8::append(text, static_cast<char16_t>(value));
        } else {
            utf8::append(text, static_cast<char32_t>(value));
        }
        addText(c, width, -1, text);
    }

    void addPointedText(const Conversion &c, std::size_t width, int precision, const void *pointer) {
        const std::size_t most = precision >= 0 ? static_cast<std::size_t>(precision) : longestResult;
        if (pointer == nullptr)
            return addText(c, width, precision, "(null)");
        if (c.type == Type::object) {
            const ReleaseScope scope;
            const String *description = static_cast<const Object *>(pointer)->description();
            return addText(c, width, precision, description != nullptr ? description->utf8() : "(null)");
        }
        if (c.type == Type::text) {
            const auto *text = static_cast<const char *>(pointer);
            return addText(c, width, precision, {text, strnlen(text, most)});
        }
        std::string text;
        if (c.type == Type::wideText) {
            for (const auto *p = static_cast<const wchar_t *>(pointer); text.size() < most && *p != L'\0';
                 ++p)
                utf8::append(text, static_cast<char32_t>(*p));
        } else {
            for (const auto *p = static_cast<const char16_t *>(pointer); text.size() < most && *p != u'\0';) {
                const bool pair = (*p & 0xFC00) == 0xD800 && (p[1] & 0xFC00) == 0xDC00;
                utf8::append(text, utf8::next(p, p + (pair ? 2 : 1)));
            }
        }
        addText(c, width, precision, text);
    }

    void addText(const Conversion &c, std::size_t width, int precision, std::string_view text) {
        if (precision >= 0 && text.size() >= static_cast<std::size_t>(precision)) {
            text = text.substr(0, static_cast<std::size_t>(precision));
            text = text.substr(0, utf8::lengthOfWhole(text));
        }
        if (width == 0 && escape == nullptr)
            return addLiteral(text);
        std::string shown;
        utf8::appendRepaired(shown, text);
        if (escape != nullptr)
            shown = escape(shown);
        const std::size_t padding = width > shown.size() ? width - shown.size() : 0;
        if (!c.left)
            append(std::string(padding, ' '));
        append(shown);
        if (c.left)
            append(std::string(padding, ' '));
    }

    void addLiteral(std::string_view text) {
        if (utf8::asciiPrefix(text) == text.size())
            return append(text);
        std::string repaired;
        utf8::appendRepaired(repaired, text);
        append(repaired);
    }

    // Adds valid text, cut where the result is full.
    void append(std::string_view text) {
        if (text.size() > longestResult - result.size()) {
            text = text.substr(0, longestResult - result.size());
            text = text.substr(0, utf8::lengthOfWhole(text));
            isFull = true;
        }
        result += text;
    }

    const char *format;
    Arguments arguments;
    std::string (*escape)(std::string_view);
    int errorNumber = errno;
    bool isFull = false;
    std::string result;
};

} // namespace

std::string formatUTF8Escaping(const char *format, va_list arguments,
                               std::string (*escape)(std::string_view)) {
    if (format == nullptr)
        return {};
    return Formatter(format, arguments, escape).run();
}

std::string formatUTF8Arguments(const char *format, va_list arguments) {
    return formatUTF8Escaping(format, arguments, nullptr);
}

std::string formatUTF8(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatUTF8Arguments(format, arguments);
    va_end(arguments);
    return text;
}

bool formatTakes(const char *format, std::string_view kinds) {
    if (format == nullptr || kinds.size() >= 64)
        return false;
    std::uint64_t taken = 0; // one bit for each argument
    unsigned sequential = 0;
    bool isPositional = false;
    for (const char *p = format; (p = std::strchr(p, '%')) != nullptr;) {
        const auto c = parseConversion(++p);
        if (!c || c->width.from == Measure::argument || c->precision.from == Measure::argument)
            return false;
        if (c->type == Type::none) {
            if (c->position != 0)
                return false;
            continue;
        }
        isPositional = isPositional || c->position != 0;
        const unsigned place = c->position != 0 ? c->position : ++sequential;
        if (place > kinds.size())
            return false;
        const bool isUnsignedLong = c->type >= Type::longInteger && c->type <= Type::difference;
        const char kind = kinds[place - 1];
        if (kind == '@' ? c->type != Type::object : kind != 'u' || !isUnsignedLong)
            return false;
        taken |= std::uint64_t{1} << (place - 1);
    }
    const bool leavesNoneOut = (taken & (taken + 1)) == 0;
    return leavesNoneOut && !(isPositional && sequential != 0);
}

} // namespace wickerlane
