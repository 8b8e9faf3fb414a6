// The languages of this process and of its user, and the user's locale.
//
// Languages are named by tags such as "de", "pt-BR" or "zh-Hant-HK". The environment is read when it is first
// needed, and again by noticeLocaleChange(); preferences are read as they are.
#ifndef WICKERLANE_PLATFORM_LOCALE_LOCALE_H
#define WICKERLANE_PLATFORM_LOCALE_LOCALE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Array.h"

namespace wickerlane {

/// The preference, of any application, that lists the languages a user reads, the dearest first.
inline constexpr std::string_view languagesPreference = "QuandraLanguages";

/// The languages in which this process speaks to its user, the dearest first; never empty. Those that
/// setProcessLanguages() said; else those of the environment (LANGUAGE, and LC_ALL, LC_MESSAGES or LANG, by
/// the rules of gettext); else those of the user's preferences; else English. Thread-safe.
[[nodiscard]] WL_EXPORT std::vector<std::string> processLanguages();

/// Sets the languages of this process; an empty list sets them back.
/// Thread-safe.
WL_EXPORT void setProcessLanguages(std::vector<std::string> languages);

/// The current locale, for numbers, dates and sorting, such as "de-AT": of the languages that
/// setProcessLanguages() said the first; else that of the environment (LC_ALL, LC_MESSAGES or LANG); else the
/// first of the user's preferred languages; else empty. Thread-safe.
[[nodiscard]] WL_EXPORT std::string currentLocale();

/// The language code of the current locale, such as "de"; empty when there is none. Thread-safe.
[[nodiscard]] WL_EXPORT std::string currentLanguageCode();

/// Posted within this process (see LocalNotification.h), without a sender, on whatever thread notices that
/// one of the above has changed.
inline constexpr std::string_view localeDidChangeNotification = "CurrentLocaleDidChange";

/// From now on, changes of the user's preferences are noticed as they are made: those of this process before
/// they return, those of others by way of watchPreferences(). May be called again. Thread-safe.
WL_EXPORT void watchLocale();

/// Reads the environment again and looks whether one of the above has changed: for a program that changed its
/// environment. Thread-safe.
WL_EXPORT void noticeLocaleChange();

/// Differs after every change of the above that this process has noticed. Thread-safe, and quick.
[[nodiscard]] WL_EXPORT std::uint64_t localeGeneration() noexcept;

} // namespace wickerlane

#endif
