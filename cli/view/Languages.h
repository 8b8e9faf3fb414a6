// The languages of the page.
#ifndef CLI_VIEW_LANGUAGES_H
#define CLI_VIEW_LANGUAGES_H

#include <array>
#include <string>
#include <string_view>

namespace wickerlane::cli::view {

inline constexpr std::array pageLanguages = {"en", "de", "fr", "ja", "pt-BR", "ar"};

/// The language of the page that serves a reader best, by a header such as "de-CH, fr;q=0.8".
std::string languageFor(std::string_view acceptLanguage);

} // namespace wickerlane::cli::view

#endif
