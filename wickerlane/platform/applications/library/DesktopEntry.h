// Desktop entries: the files by which applications make themselves known on Linux.
#ifndef WICKERLANE_PLATFORM_APPLICATIONS_LIBRARY_DESKTOPENTRY_H
#define WICKERLANE_PLATFORM_APPLICATIONS_LIBRARY_DESKTOPENTRY_H

#include <optional>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// What matters here of the group "Desktop Entry", with escapes resolved. Texts are empty when they are
/// missing.
struct DesktopEntry {
    std::string type;
    std::string name;
    std::string tryExec;   ///< A program, by path or name, without which the application does not count.
    bool isHidden = false; ///< The user has removed the application.

    [[nodiscard]] bool isApplication() const { return type == "Application" && !name.empty(); }
};

/// None for a text that is malformed: not UTF-8, or with a line that is no comment, group or entry, an entry
/// before the first group, another first group, or a second one of that name.
[[nodiscard]] WL_EXPORT std::optional<DesktopEntry> parseDesktopEntry(std::string_view text);

} // namespace wickerlane

#endif
