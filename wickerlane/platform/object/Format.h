// The format function behind "%@".
#ifndef WICKERLANE_PLATFORM_OBJECT_FORMAT_H
#define WICKERLANE_PLATFORM_OBJECT_FORMAT_H

#include <cstdarg>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

class Object;

/// Formats into UTF-8. Takes every conversion, flag, width, precision and length modifier of C's printf,
/// positional arguments ("%2$@", "%1$*3$d"), and "%@" with an `Object *` whose description is shown ("(null)"
/// for null; "%s" shows a null pointer so, too). "%C" takes a UTF-16 unit, "%S" a NUL-terminated UTF-16 text,
/// "%m" shows the text of errno. "%n" writes nothing and only skips its argument. An unknown conversion is
/// shown as it is, and takes no argument; so is a whole format that mixes positional with other
/// conversions, leaves out a position, or asks for one argument as two types.
///
/// Numbers look the same in every locale. A precision cuts text by bytes, never inside a character, and
/// nothing is read past it. Ill-formed UTF-8 becomes U+FFFD, so that the result is always valid. Results are
/// cut at 64 MiB, widths and precisions at 1 MiB.
WL_EXPORT std::string formatUTF8(const char *format, ...);
WL_EXPORT std::string formatUTF8Arguments(const char *format, va_list arguments);

/// The same, with the text of each "%s", "%@", "%c", "%C" and "%S" passed through `escape` before it is
/// padded.
WL_EXPORT std::string formatUTF8Escaping(const char *format, va_list arguments,
                                         std::string (*escape)(std::string_view text));

/// Whether a format that comes from outside, such as a translated text, can be formatted with arguments of
/// the given kinds: '@' for an object, 'u' for a number, which any integer conversion shows. It need not use
/// all of them; but it must not take any that is not there or is of another kind, hold an unknown conversion,
/// or mix positional with other ones.
[[nodiscard]] WL_EXPORT bool formatTakes(const char *format, std::string_view kinds);

/// An argument of a format that comes from outside: an object, which may be null, or a number.
struct CheckedArgument {
    CheckedArgument(const Object *shown) noexcept : object(shown) {}
    CheckedArgument(unsigned long shown) noexcept : kind('u'), number(shown) {}

    char kind = '@';
    const Object *object = nullptr;
    unsigned long number = 0;
};

/// Formats with a format that comes from outside; nothing when formatTakes() says that it can't be.
[[nodiscard]] WL_EXPORT std::optional<std::string>
formatUTF8Checked(const char *format, std::span<const CheckedArgument> arguments);

} // namespace wickerlane

#endif
