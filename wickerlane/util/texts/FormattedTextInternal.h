// Translated texts as formats.
#ifndef WICKERLANE_UTIL_TEXTS_FORMATTEDTEXTINTERNAL_H
#define WICKERLANE_UTIL_TEXTS_FORMATTEDTEXTINTERNAL_H

#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// A text from a string table, formatted with arguments of the kinds that formatTakes() names. A text that
/// needs others is a mistake in the table and is returned unformatted. Borrowed.
template <class... Arguments>
String *formattedText(String *text, const char *kinds, Arguments... arguments) {
    return formatTakes(text->cString(), kinds) ? String::format(text->cString(), arguments...) : text;
}

} // namespace wickerlane

#endif
