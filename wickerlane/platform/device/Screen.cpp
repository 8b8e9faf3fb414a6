#include "wickerlane/platform/device/Screen.h"

#include "wickerlane/platform/device/DisplayList.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"

namespace wickerlane {

constinit const Class Screen::classInfo{"Screen", &Object::classInfo,
                                        [] { return static_cast<Object *>(Screen::createMain().leak()); }};
WL_BUILT_IN_CLASS(Screen);

namespace {

using Provider = Handler<Ref<Screen>()>;

struct MainScreen {
    Mutex mutex;
    Provider provider WL_GUARDED_BY(mutex);
};

MainScreen &mainScreen() {
    static NeverDestroyed<MainScreen> made;
    return *made;
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
        MainScreen &shared = mainScreen();
        const MutexLock lock(shared.mutex);
        return shared.provider;
    }();
    if (provider)
        return provider();
    for (const Display &display : displayList())
        if (display.isEnabled)
            return makeRef<DisplayScreen>(display.mode());
    return nullptr;
}

void setMainScreenProvider(Provider provider) {
    MainScreen &shared = mainScreen();
    const MutexLock lock(shared.mutex);
    std::swap(shared.provider, provider);
}

} // namespace wickerlane
