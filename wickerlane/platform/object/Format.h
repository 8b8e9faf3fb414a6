// The format function behind "%@".
#ifndef WICKERLANE_PLATFORM_OBJECT_FORMAT_H
#define WICKERLANE_PLATFORM_OBJECT_FORMAT_H

#include <cstdarg>
#include <string>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Formats into UTF-8. Takes every conversion, flag, width, precision and length modifier of C's printf,
/// positional arguments ("%2$@"), and "%@" with an `Object *` whose description is shown ("(null)" for null;
/// "%s" shows a null pointer so, too). "%C" takes a UTF-16 unit, "%S" a NUL-terminated UTF-16 text. "%n" writes nothing
/// and only skips its argument. An unknown conversion is shown as it stands. Never fails and never
/// writes outside its result; results are capped at 64 MiB, widths and precisions at 1 MiB.
WL_EXPORT std::string formatUTF8(const char *format, ...);
WL_EXPORT std::string formatUTF8Arguments(const char *format, va_list arguments);

} // namespace wickerlane

#endif
