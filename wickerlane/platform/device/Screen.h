// The screen that applications draw on.
#ifndef WICKERLANE_PLATFORM_DEVICE_SCREEN_H
#define WICKERLANE_PLATFORM_DEVICE_SCREEN_H

#include <optional>

#include "wickerlane/platform/device/PixelSize.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// A screen. Abstract; the class of this name makes, without arguments, the main screen.
class WL_EXPORT Screen : public Object {
    WL_OBJECT
public:
    /// The main screen: what the provider gives, else the first that the kernel drives, with a scale of 1.
    /// Null when there is none. Thread-safe.
    [[nodiscard]] static Ref<Screen> createMain();

    /// How many of its pixels make up a point.
    [[nodiscard]] virtual double scale() const = 0;
    /// What it shows now; none when it is off.
    [[nodiscard]] virtual std::optional<PixelSize> currentMode() const = 0;
};

/// For a toolkit or other code that knows the main screen better than the kernel: the provider's
/// screen, or null for none, is the main screen from now on. A null provider leaves it to the kernel again.
/// Thread-safe; the provider must be, too.
WL_EXPORT void setMainScreenProvider(Handler<Ref<Screen>()> provider);

} // namespace wickerlane

#endif
