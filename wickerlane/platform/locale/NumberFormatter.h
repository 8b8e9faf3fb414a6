// Numbers as people read and write them.
#ifndef WICKERLANE_PLATFORM_LOCALE_NUMBERFORMATTER_H
#define WICKERLANE_PLATFORM_LOCALE_NUMBERFORMATTER_H

#include <cstdint>
#include <memory>
#include <string>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

enum class NumberStyle : std::uint8_t {
    plain,   ///< Whole numbers, ungrouped: "1234".
    decimal, ///< Grouped, with up to three digits of a fraction: "1,234.5".
};

/// Turns numbers into text and text into numbers, with the digits and separators of one locale. Immutable,
/// and as such thread-safe.
class WL_EXPORT NumberFormatter final : public Object {
    WL_OBJECT
public:
    /// `locale` is a tag such as "de-AT"; what names no locale counts as English. With
    /// `generatesDecimalNumbers`, whole numbers are read exactly, as integers, where 64 bits hold them;
    /// without it, and for all others, as reals.
    [[nodiscard]] static Ref<NumberFormatter> create(std::string locale, NumberStyle style,
                                                     bool generatesDecimalNumbers = false);

    [[nodiscard]] const std::string &locale() const noexcept { return localeTag; }
    [[nodiscard]] NumberStyle style() const noexcept { return numberStyle; }
    [[nodiscard]] bool generatesDecimalNumbers() const noexcept { return readsExactly; }

    /// The text of a number; borrowed. Null for null.
    [[nodiscard]] String *stringFromNumber(const Number *number) const;
    [[nodiscard]] String *stringFromInteger(std::uint64_t number) const;
    /// The number that a text spells as a whole; borrowed. Null when it spells none, and for null.
    [[nodiscard]] Number *numberFromString(const String *text) const;

    ~NumberFormatter() override;

private:
    struct Format;
    NumberFormatter(std::string locale, NumberStyle style, bool generatesDecimalNumbers);

    const std::string localeTag;
    const NumberStyle numberStyle;
    const bool readsExactly;
    const std::unique_ptr<const Format> format;
};

} // namespace wickerlane

#endif
