// The displays that the kernel knows.
#ifndef WICKERLANE_PLATFORM_DEVICE_DISPLAYLIST_H
#define WICKERLANE_PLATFORM_DEVICE_DISPLAYLIST_H

#include <optional>
#include <string>
#include <vector>

#include "wickerlane/platform/device/PixelSize.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

struct Display {
    std::string connector;        ///< Such as "card0-eDP-1".
    bool isEnabled = false;       ///< It is connected, and the kernel drives it.
    std::vector<PixelSize> modes; ///< Those it can show, the one it prefers first.

    /// The mode in which it is driven. The kernel lists no more than what a display prefers, which is what it
    /// is driven in unless somebody chose otherwise. None when it is off or lists no modes.
    [[nodiscard]] std::optional<PixelSize> mode() const {
        return isEnabled && !modes.empty() ? std::optional(modes.front()) : std::nullopt;
    }
};

/// The connectors of all graphics cards: built-in panels first, then by name. Empty on a machine without
/// displays. Thread-safe.
[[nodiscard]] WL_EXPORT std::vector<Display> displayList(const std::string &folder = "/sys/class/drm");

} // namespace wickerlane

#endif
