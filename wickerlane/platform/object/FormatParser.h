// What a format of formatUTF8() consists of.
#ifndef WICKERLANE_PLATFORM_OBJECT_FORMATPARSER_H
#define WICKERLANE_PLATFORM_OBJECT_FORMATPARSER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <string_view>
#include <vector>

namespace wickerlane::formatting {

/// Limits widths and precisions.
inline constexpr int maxWidth = 1 << 20;

/// What an argument is passed as. The kinds of pointers differ only where they are read through.
enum class ArgumentType : std::uint8_t {
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

enum class Length : std::uint8_t { none, hh, h, l, ll, j, z, t, L };

/// A width or precision: given as a number, by an argument, or not at all.
struct Measure {
    enum Kind : std::uint8_t { absent, number, argument };
    Kind kind = absent;
    int value = 0;
    unsigned position = 0; ///< Of the argument, from 1 on; 0 for the next one.
};

struct Conversion {
    bool isLeftAligned = false;
    bool showsPlus = false;
    bool showsSpace = false;
    bool isAlternative = false;
    bool isPaddedWithZeros = false;
    Length length = Length::none;
    char letter = '\0';
    ArgumentType type = ArgumentType::none;
    unsigned position = 0; ///< Of the argument, as above.
    Measure width;
    Measure precision;
};

/// Literal text, or a conversion.
struct Piece {
    std::string_view literal; ///< Never empty, but for a conversion.
    Conversion conversion;
};

/// A format in pieces, which refer to its text. An unknown conversion is literal text.
class ParsedFormat {
public:
    explicit ParsedFormat(const char *format);
    ParsedFormat(const ParsedFormat &) = delete;
    ParsedFormat &operator=(const ParsedFormat &) = delete;

    [[nodiscard]] std::span<const Piece> pieces() const noexcept { return list; }
    [[nodiscard]] std::string_view text() const noexcept { return whole; }
    /// Whether any conversion, known or not, says which argument it takes.
    [[nodiscard]] bool namesPositions() const noexcept { return anyPosition; }
    [[nodiscard]] bool hasUnknownConversions() const noexcept { return anyUnknown; }

private:
    [[nodiscard]] unsigned parsePosition(const char *&p) noexcept;
    [[nodiscard]] Measure parseMeasure(const char *&p) noexcept;
    [[nodiscard]] bool parseConversion(const char *&p, Conversion &conversion) noexcept;

    std::string_view whole;
    bool anyPosition = false;
    bool anyUnknown = false;
    // Room for the pieces of most formats.
    alignas(Piece) std::array<std::byte, 16 * sizeof(Piece)> storage;
    std::pmr::monotonic_buffer_resource memory{storage.data(), storage.size()};
    std::pmr::vector<Piece> list{&memory};
};

} // namespace wickerlane::formatting

#endif
