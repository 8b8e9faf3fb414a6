// Text. Strings are sequences of UTF-16 code units to their readers, in whatever way they are stored.
#ifndef WICKERLANE_PLATFORM_OBJECT_STRING_H
#define WICKERLANE_PLATFORM_OBJECT_STRING_H

#include <compare>
#include <cstdarg>
#include <initializer_list>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// A range of positions: `length` of them from `location` on.
struct Range {
    std::size_t location = 0;
    std::size_t length = 0;
    friend bool operator==(const Range &, const Range &) = default;
};

/// How strings are compared; combine with `|`.
enum class CompareOptions : unsigned {
    none = 0,            ///< By code units.
    caseInsensitive = 1, ///< Full Unicode case folding.
    numeric = 2,         ///< Runs of digits compare by value: "Photo 9" before "Photo 10".
    diacriticInsensitive = 4,
    backwards = 8, ///< Searches only: the last occurrence.
    anchored = 16, ///< Searches only: at the start (or the end, backwards).
};
constexpr CompareOptions operator|(CompareOptions a, CompareOptions b) {
    return static_cast<CompareOptions>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool operator&(CompareOptions a, CompareOptions b) {
    return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}

/// An immutable text (a MutableString is one whose owner may change it). Abstract: a subclass supplies
/// length() and characterAtIndex(); everything else works through these two unless the subclass knows a
/// faster way.
class WL_EXPORT String : public Object {
    WL_OBJECT
public:
    /// Position that no string has.
    static constexpr std::size_t notFound = static_cast<std::size_t>(-1);

    /// A copy of UTF-8 text; null when it is not valid UTF-8. May hold NUL characters.
    [[nodiscard]] static Ref<String> create(std::string_view utf8);
    /// The same from a C string; null for a null pointer.
    [[nodiscard]] static Ref<String> create(const char *utf8);
    /// From UTF-16; a lone surrogate becomes U+FFFD.
    [[nodiscard]] static Ref<String> createWithUTF16(std::u16string_view text);
    /// Takes over a malloc'ed, NUL-terminated UTF-8 text without copying it and frees it with free() in the
    /// end. Null, and the text freed, when it is not valid UTF-8.
    [[nodiscard]] static Ref<String> createAdopting(char *mallocedUTF8);
    /// Formats as formatUTF8() in Format.h does: C conversions, and "%@" for objects (Object *, or null).
    [[nodiscard]] static Ref<String> createWithFormat(const char *format, ...);
    [[nodiscard]] static Ref<String> createWithFormatArguments(const char *format, va_list arguments);
    /// Borrowed forms of the above.
    static String *of(std::string_view utf8);
    static String *format(const char *format, ...);
    static String *empty() noexcept;

    // What a subclass supplies.

    /// Length in UTF-16 code units.
    [[nodiscard]] virtual std::size_t length() const = 0;
    /// The code unit at a position below length().
    [[nodiscard]] virtual char16_t characterAtIndex(std::size_t index) const = 0;

    // What follows from it.

    /// The text as UTF-8, with a NUL behind it that is not counted; lone surrogates appear as U+FFFD. Valid
    /// as long as the string is neither changed nor destroyed; for subclasses that do not keep UTF-8
    /// themselves, also only until the current release scope ends.
    [[nodiscard]] virtual std::string_view utf8() const;
    [[nodiscard]] const char *UTF8String() const { return utf8().data(); }

    /// Copies the code units of a range that lies within the string.
    virtual void getCharacters(char16_t *destination, Range range) const;
    [[nodiscard]] std::u16string utf16() const;

    /// Equal when the code units are, whatever classes the two strings have.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] virtual bool isEqualToString(const String *other) const;
    /// The same for every string of equal text, so that strings of all classes meet as dictionary keys. A
    /// subclass that overrides it must give hashOfUTF8(utf8()).
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] static std::size_t hashOfUTF8(std::string_view utf8) noexcept;

    [[nodiscard]] std::strong_ordering compare(const String *other) const;
    [[nodiscard]] std::strong_ordering compare(const String *other, CompareOptions options) const;
    /// Compares a range of this string (clipped to it) with the whole of the other. `locale` is an identifier
    /// such as "de_DE": the order is then that locale's collation; null compares without a locale. All other
    /// comparisons end here.
    [[nodiscard]] virtual std::strong_ordering compare(const String *other, CompareOptions options,
                                                       Range range, const char *locale = nullptr) const;
    /// The order a person expects in a list of file names: case-insensitive, numeric, in the user's locale.
    [[nodiscard]] std::strong_ordering localizedStandardCompare(const String *other) const;

    [[nodiscard]] bool hasPrefix(std::string_view prefix) const;
    [[nodiscard]] bool hasSuffix(std::string_view suffix) const;
    /// Where the other string occurs in this one; location notFound when it does not (or is empty).
    [[nodiscard]] Range rangeOf(const String *searched, CompareOptions options = CompareOptions::none) const;

    // Derived strings, borrowed.
    [[nodiscard]] String *substring(Range range) const; ///< The range is clipped to the string.
    [[nodiscard]] String *appending(std::string_view utf8) const;
    [[nodiscard]] String *lowercase() const;
    [[nodiscard]] String *uppercase() const;

    /// Leading white space, sign and digits as a number; 0 when there is none; clipped to the type's range.
    [[nodiscard]] std::int64_t integerValue() const;
    [[nodiscard]] double doubleValue() const;

    [[nodiscard]] String *description() const override;

protected:
    constexpr String() noexcept = default;
    constexpr explicit String(ImmortalTag tag) noexcept : Object(tag) {}

    /// True when utf8() costs nothing and says all: the text holds no lone surrogate. Lets the comparisons
    /// work on bytes.
    [[nodiscard]] virtual bool hasExactUTF8() const noexcept { return false; }
};

/// A text that its owner may change.
class WL_EXPORT MutableString : public String {
    WL_OBJECT
public:
    MutableString() = default;
    [[nodiscard]] static Ref<MutableString> create(std::string_view utf8 = {});
    void append(std::string_view utf8); ///< Invalid UTF-8 is replaced by U+FFFD.
    void append(const String *other);
    void appendFormat(const char *format, ...);
    void setString(const String *other);
    /// Deletes or replaces a range, clipped to the string.
    void replace(Range range, const String *replacement);

    [[nodiscard]] std::size_t length() const override;
    [[nodiscard]] char16_t characterAtIndex(std::size_t index) const override;
    [[nodiscard]] std::string_view utf8() const override;

private:
    std::u16string units;
    mutable std::string encoded; // of `units`; empty when out of date
};

/// A text constant of ASCII characters in static storage: `WL_IMMORTAL Immortal<ConstantString> x("text");`
class WL_EXPORT ConstantString final : public String {
public:
    constexpr explicit ConstantString(const char *ascii) : String(ImmortalTag{}), text(ascii) {
        for (unsigned char c : text)
            if (c >= 0x80)
                throw "a constant string holds ASCII only";
    }
    [[nodiscard]] std::size_t length() const override;
    [[nodiscard]] char16_t characterAtIndex(std::size_t index) const override;
    [[nodiscard]] std::string_view utf8() const override;

protected:
    [[nodiscard]] bool hasExactUTF8() const noexcept override { return true; }

private:
    std::string_view text;
};

} // namespace wickerlane

#endif
