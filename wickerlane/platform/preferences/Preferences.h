// Settings that outlive a process.
#ifndef WICKERLANE_PLATFORM_PREFERENCES_PREFERENCES_H
#define WICKERLANE_PLATFORM_PREFERENCES_PREFERENCES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane {

/// The domain that every process reads behind its own.
inline constexpr std::string_view globalPreferencesDomain = ".GlobalPreferences";

/// The value of a key: from the domain, else from the global domain, else null. Each domain is a
/// property-list file below the mobile user's home (Library/Preferences/DOMAIN.plist). Files are read again
/// when they have changed. A damaged file reads as empty and stays as it is. Borrowed. Thread-safe.
[[nodiscard]] WL_EXPORT Object *preferenceValue(std::string_view key, std::string_view domain);

/// The same, of a number or a text that spells one; `otherwise` when there is neither.
[[nodiscard]] WL_EXPORT std::int64_t preferenceInteger(std::string_view key, std::string_view domain,
                                                       std::int64_t otherwise);

/// Stores a property-list value, or removes the key for null; other keys, and what other processes store at
/// the same time, are kept. False, with errno, when the file can't be written or is damaged (EBADMSG), or for
/// a value that is no property list, a key that is not UTF-8 or a domain that is no file name (EINVAL).
/// Thread-safe.
WL_EXPORT bool setPreferenceValue(std::string_view key, Object *value, std::string_view domain);

/// Forgets what is known of a domain, so that it is read from its file next time. Thread-safe.
WL_EXPORT void synchronizePreferences(std::string_view domain);

/// Posted within this process (see LocalNotification.h) when a domain may have changed; the sender is its
/// name, a String. By setPreferenceValue() before it returns; for changes that others make, and then once
/// more for one's own, by a work queue after watchPreferences().
inline constexpr std::string_view preferencesDidChangeNotification = "PreferencesDidChange";

/// Posts the notification from now on also for what others change. Keeps one descriptor for the process, and
/// those of its reader thread. Who removes the folder of the preferences ends the watch. False, with errno,
/// when the folder can't be watched. May be called again. Thread-safe.
WL_EXPORT bool watchPreferences();

/// The domain of this process: what setApplicationDomain() said, else the name of its executable, which for
/// the programs of the system itself follows "org.wickerlane.". Thread-safe.
[[nodiscard]] WL_EXPORT std::string applicationDomain();
/// Sets it; an empty one sets it back. Thread-safe.
WL_EXPORT void setApplicationDomain(std::string_view domain);

} // namespace wickerlane

#endif
