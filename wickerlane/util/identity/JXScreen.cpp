#include "wickerlane/util/identity/JXScreen.h"

#include <algorithm>

#include "wickerlane/platform/device/DeviceAnswers.h"
#include "wickerlane/platform/device/Screen.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/util/identity/RuntimeClassInternal.h"

using namespace wickerlane;

namespace {

WL_IMMORTAL Immortal<ConstantString> mainScreenScale{"main-screen-scale"};

// The modes of screens with 2 pixels to a point.
constexpr PixelSize denseModes[] = {{640, 960}, {1536, 2048}, {640, 1136}};

bool isDense(PixelSize mode) {
    return std::ranges::any_of(denseModes, [mode](PixelSize dense) {
        return mode == dense || mode == PixelSize{dense.height, dense.width};
    });
}

Ref<Screen> mainScreen() {
    return instanceOf<Screen>(classNamed("Screen"));
}

double findScale() {
    const ReleaseScope scope;
    const double answer = DVGetFloat32Answer(mainScreenScale.get(), -1);
    if (answer != -1)
        return answer;
    const auto screen = mainScreen();
    const double scale = screen ? screen->scale() : 0;
    if (scale != 1)
        return scale;
    const auto mode = screen->currentMode();
    return mode && isDense(*mode) ? 2 : scale;
}

bool findIsTall() {
    const ReleaseScope scope;
    const auto screen = mainScreen();
    return screen && screen->currentMode().value_or(PixelSize{}) == PixelSize{640, 1136};
}

} // namespace

double JXScreenScale() {
    static const double scale = findScale();
    return scale;
}

bool JXIsTallScreen() {
    static const bool isTall = findIsTall();
    return isTall;
}
