// Translated texts as formats.
#ifndef WICKERLANE_UTIL_TEXTS_FORMATTEDTEXTINTERNAL_H
#define WICKERLANE_UTIL_TEXTS_FORMATTEDTEXTINTERNAL_H

#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// A text from a string table, formatted with objects and unsigned longs. A text that needs others is a
/// mistake in the table and is returned unformatted. Borrowed.
template <class... Arguments>
String *formattedText(String *text, Arguments... arguments) {
    const CheckedArgument checked[] = {arguments...};
    const auto formatted = formatUTF8Checked(text->UTF8String(), checked);
    return formatted ? String::of(*formatted) : text;
}

} // namespace wickerlane

#endif
