// How the formatters name locales to the library behind them.
#ifndef WICKERLANE_PLATFORM_LOCALE_ICULOCALEINTERNAL_H
#define WICKERLANE_PLATFORM_LOCALE_ICULOCALEINTERNAL_H

#include <unicode/locid.h>

#include <string>
#include <string_view>

namespace wickerlane {

/// The locale that a tag such as "de-AT" names; English for a tag that names none.
inline icu::Locale icuLocaleNamed(const std::string &tag) {
    constexpr std::size_t maxLength = 150; // the library's own limit
    constexpr std::string_view partsOfTags =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_@=;";
    if (tag.empty() || tag.size() > maxLength || tag.find_first_not_of(partsOfTags) != tag.npos)
        return icu::Locale::getEnglish();
    icu::Locale locale = icu::Locale::createCanonical(tag.c_str());
    return locale.isBogus() || *locale.getLanguage() == '\0' ? icu::Locale::getEnglish() : locale;
}

} // namespace wickerlane

#endif
