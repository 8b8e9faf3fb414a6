#include "wickerlane/platform/object/FormatWriter.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane::formatting {
namespace {

using Type = ArgumentType;

constexpr std::size_t maxResultSize = std::size_t{64} << 20;

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

// At least as much of a text as fills `limit` bytes of UTF-8, or all of it.
std::string textOf(const wchar_t *p, std::size_t limit) {
    std::string text;
    for (; text.size() < limit && *p != L'\0'; ++p)
        utf8::append(text, static_cast<char32_t>(*p));
    return text;
}

std::string textOf(const char16_t *p, std::size_t limit) {
    std::string text;
    while (text.size() < limit && *p != u'\0') {
        const bool isPair = (*p & 0xFC00) == 0xD800 && (p[1] & 0xFC00) == 0xDC00;
        utf8::append(text, utf8::next(p, p + (isPair ? 2 : 1)));
    }
    return text;
}

} // namespace

std::string FormatWriter::write(const ParsedFormat &format) {
    if (format.namesPositions() && !arguments.readByPosition(format)) {
        writeLiteral(format.text());
        return std::move(result);
    }
    constexpr std::size_t usualGrowth = 48; // by what the arguments put in
    result.reserve(format.text().size() + usualGrowth);
    for (const Piece &piece : format.pieces()) {
        if (isFull)
            break;
        if (piece.literal.empty())
            write(piece.conversion);
        else
            writeLiteral(piece.literal);
    }
    return std::move(result);
}

std::optional<int> FormatWriter::valueOf(const Measure &measure) {
    if (measure.kind == Measure::absent)
        return std::nullopt;
    if (measure.kind == Measure::number)
        return measure.value;
    return static_cast<int>(arguments.take(measure.position, Type::integer).integer);
}

FormatWriter::Field FormatWriter::fieldOf(const Conversion &conversion) {
    const std::int64_t width = valueOf(conversion.width).value_or(0);
    const std::optional<int> precision = valueOf(conversion.precision);
    Field field{conversion, conversion.isLeftAligned || width < 0,
                static_cast<std::size_t>(std::min(std::abs(width), std::int64_t{maxWidth})), std::nullopt};
    if (precision && *precision >= 0)
        field.precision = static_cast<std::size_t>(std::min(*precision, maxWidth));
    return field;
}

void FormatWriter::write(const Conversion &c) {
    const Field field = fieldOf(c);
    if (c.letter == '%')
        return writeLiteral("%");
    if (c.letter == 'm') {
        char buffer[256];
        return writeText(field, strerror_r(errorNumber, buffer, sizeof buffer));
    }
    const Value value = arguments.take(c.position, c.type);
    switch (c.letter) {
    case 'n':
        return;
    case 'p':
        return writeNumber(field, "", value.pointer);
    case 'c':
    case 'C':
        return writeCharacter(field, value.integer);
    case 's':
    case 'S':
    case '@':
        return writePointedText(field, value.pointer);
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        return writeInteger(field, value.integer);
    default:
        if (c.type == Type::longReal)
            return writeNumber(field, "L", value.longReal);
        return writeNumber(field, "", value.real);
    }
}

void FormatWriter::writeInteger(const Field &field, std::intmax_t value) {
    const Conversion &c = field.conversion;
    const bool isSigned = c.letter == 'd' || c.letter == 'i';
    writeNumber(field, "j", narrowed(value, c.length, isSigned));
}

// One number, by the C library, which gets a conversion made of what was parsed.
template <class Number>
void FormatWriter::writeNumber(const Field &field, const char *length, Number number) {
    const Conversion &c = field.conversion;
    std::array<char, 32> format;
    char *p = format.data();
    *p++ = '%';
    if (field.isLeftAligned)
        *p++ = '-';
    if (c.showsPlus)
        *p++ = '+';
    if (c.showsSpace)
        *p++ = ' ';
    if (c.isAlternative)
        *p++ = '#';
    if (c.isPaddedWithZeros)
        *p++ = '0';
    *p++ = '*';
    if (field.precision) {
        *p++ = '.';
        *p++ = '*';
    }
    p = std::copy_n(length, std::strlen(length), p);
    *p++ = c.letter;
    *p = '\0';

    const PlainLocale plain;
    const int width = static_cast<int>(field.width);
    const auto print = [&](char *buffer, std::size_t size) {
        if (field.precision)
            return std::snprintf(buffer, size, format.data(), width, static_cast<int>(*field.precision),
                                 number);
        return std::snprintf(buffer, size, format.data(), width, number);
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

void FormatWriter::writeCharacter(const Field &field, std::intmax_t value) {
    const Conversion &c = field.conversion;
    auto character = static_cast<char32_t>(value);
    if (c.letter == 'C')
        character = static_cast<char16_t>(value);
    else if (c.length == Length::none)
        character = static_cast<unsigned char>(value);
    const bool isByteOfNoCharacter = c.letter == 'c' && c.length == Length::none && character >= 0x80;
    if (isByteOfNoCharacter)
        character = utf8::replacement;
    std::string text;
    utf8::append(text, character);
    writeText({c, field.isLeftAligned, field.width, std::nullopt}, text);
}

void FormatWriter::writePointedText(const Field &field, const void *pointer) {
    const std::size_t limit = field.precision.value_or(maxResultSize);
    if (pointer == nullptr)
        return writeText(field, "(null)");
    if (field.conversion.type == Type::object) {
        const ReleaseScope scope;
        const String *description = static_cast<const Object *>(pointer)->description();
        return writeText(field, description != nullptr ? description->utf8() : "(null)");
    }
    if (field.conversion.type == Type::wideText)
        return writeText(field, textOf(static_cast<const wchar_t *>(pointer), limit));
    if (field.conversion.type == Type::utf16Text)
        return writeText(field, textOf(static_cast<const char16_t *>(pointer), limit));
    const auto *text = static_cast<const char *>(pointer);
    writeText(field, {text, strnlen(text, limit)});
}

void FormatWriter::writeText(const Field &field, std::string_view text) {
    if (field.precision && text.size() >= *field.precision) {
        text = text.substr(0, *field.precision);
        text = text.substr(0, utf8::lengthOfWhole(text));
    }
    if (field.width == 0 && escape == nullptr)
        return writeLiteral(text);
    std::string shown;
    utf8::appendRepaired(shown, text);
    if (escape != nullptr)
        shown = escape(shown);
    const std::size_t padding = field.width > shown.size() ? field.width - shown.size() : 0;
    if (!field.isLeftAligned)
        appendSpaces(padding);
    append(shown);
    if (field.isLeftAligned)
        appendSpaces(padding);
}

void FormatWriter::writeLiteral(std::string_view text) {
    if (utf8::asciiPrefix(text) == text.size())
        return append(text);
    std::string repaired;
    utf8::appendRepaired(repaired, text);
    append(repaired);
}

// Adds valid text, cut where the result is full.
void FormatWriter::append(std::string_view text) {
    if (text.size() > maxResultSize - result.size()) {
        text = text.substr(0, maxResultSize - result.size());
        text = text.substr(0, utf8::lengthOfWhole(text));
        isFull = true;
    }
    result += text;
}

void FormatWriter::appendSpaces(std::size_t count) {
    const std::size_t room = maxResultSize - result.size();
    isFull = isFull || count > room;
    result.append(std::min(count, room), ' ');
}

} // namespace wickerlane::formatting
