#include "wickerlane/platform/device/Screen.h"

#include <mutex>

#include "wickerlane/platform/device/DisplayList.h"

namespace wickerlane {

constinit const Class Screen::classInfo{"Screen", &Object::classInfo,
                                        [] { return static_cast<Object *>(Screen::createMain().leak()); }};
WL_BUILT_IN_CLASS(Screen);

namespace {

using Provider = Handler<Ref<Screen>()>;

struct MainScreen {
    std::mutex mutex;
    Provider provider;
};

MainScreen &mainScreen() {
    static MainScreen &made = *new MainScreen;
    return made;
}

// A display as the kernel drives it, pixel by pixel.
class DisplayScreen final : public Screen {
public:
    explicit DisplayScreen(std::optional<PixelSize> driven) : mode(driven) {}
    [[nodiscard]] double scale() const override { return 1; }
    [[nodiscard]] std::optional<PixelSize> currentMode() const override { return mode; }

private:
    std::optional<PixelSize> mode;
};

} // namespace

Ref<Screen> Screen::createMain() {
    const Provider provider = [] {
        const std::lock_guard guard(mainScreen().mutex);
        return mainScreen().provider;
    }();
    if (provider)
        return provider();
    for (const Display &display : displayList())
        if (display.isEnabled)
            return makeRef<DisplayScreen>(display.mode());
    return nullptr;
}

void setMainScreenProvider(Provider provider) {
    const std::lock_guard guard(mainScreen().mutex);
    std::swap(mainScreen().provider, provider);
}

} // namespace wickerlane
