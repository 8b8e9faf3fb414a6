// Which form of a text goes with a number.
#ifndef WICKERLANE_PLATFORM_LOCALE_PLURALRULES_H
#define WICKERLANE_PLATFORM_LOCALE_PLURALRULES_H

#include <cstdint>
#include <string>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// The category of a whole number of things in a language such as "de" or "pt-BR": "zero", "one", "two",
/// "few", "many" or "other". Each language has some of them, and all have "other". As in English for what
/// names no language. Thread-safe.
[[nodiscard]] WL_EXPORT std::string pluralCategory(const std::string &language, std::uint64_t count);

} // namespace wickerlane

#endif
