// What the command says to people, in the language of its user.
//
// The English text stands in the code. It is the key of its translations, which are in the string tables of
// resources/WickerlaneCommand.bundle. A text that speaks of a number of things has a translation for each
// plural category of the language, with the category behind the key: "{} files saved [few]"; "other" stands
// without.
//
// The daemon speaks English. Those of its texts that people meet have a table of their own, with the texts as
// keys.
//
// What programs read is not translated: help, JSON, headings of tables.
#ifndef CLI_TEXTS_H
#define CLI_TEXTS_H

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::cli {

/// Chooses the language of texts now, by the languages of this process, rather than when the first text is
/// needed.
void chooseLanguage();
/// From now on all texts are in English: a program reads them.
void speakEnglish();

/// Whether texts are in English.
[[nodiscard]] bool isInEnglish();

[[nodiscard]] std::string localizedText(fmt::string_view english, fmt::format_args arguments);
[[nodiscard]] std::string localizedCountText(std::uint64_t count, fmt::string_view one,
                                             fmt::string_view other, fmt::format_args arguments);

/// What fmt::format() gives for the text's translation, or for the text itself if there is none or its places
/// do not fit the arguments. Thread-safe.
template <class... Arguments>
[[nodiscard]] std::string localized(fmt::format_string<const Arguments &...> text,
                                    const Arguments &...arguments) {
    return localizedText(text, fmt::make_format_args(arguments...));
}

/// The same of a number of things, which is the first argument: `one` is the text for a single one, and
/// `other` the text for all other numbers and the key. Thread-safe.
template <class... Arguments>
[[nodiscard]] std::string
localizedCount(std::uint64_t count, fmt::format_string<const std::uint64_t &, const Arguments &...> one,
               fmt::format_string<const std::uint64_t &, const Arguments &...> other,
               const Arguments &...arguments) {
    return localizedCountText(count, one, other, fmt::make_format_args(count, arguments...));
}

/// The translations of what the daemon says is wrong, by the English texts. Null for a language without any.
[[nodiscard]] Ref<Dictionary> problemTexts(std::string_view language);
/// The one in the language of this process, if there is one. A sentence of advice behind the problem is
/// translated by itself. Thread-safe.
[[nodiscard]] std::optional<std::string> translatedProblem(std::string_view english);

/// Parts of a summary, with commas between them.
[[nodiscard]] std::string joined(const std::vector<std::string> &parts);

} // namespace wickerlane::cli

#endif
