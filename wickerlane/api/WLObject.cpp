#include "wickerlane/api/WLObject.h"

#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

struct WLScope {
    ReleaseScope scope;
};

WLObject *WLRetain(WLObject *object) {
    if (object != nullptr)
        object->retain();
    return object;
}

void WLRelease(WLObject *object) {
    if (object != nullptr)
        object->release();
}

WLScope *WLScopePush() {
    return new WLScope;
}

void WLScopePop(WLScope *scope) {
    delete scope;
}

bool WLIsEqual(const WLObject *a, const WLObject *b) {
    return areEqual(a, b);
}

WLString *WLDescription(const WLObject *object) {
    return object != nullptr ? object->description() : nullptr;
}

WLString *WLAsString(WLObject *object) {
    return as<String>(object);
}

WLURL *WLAsURL(WLObject *object) {
    return as<URL>(object);
}

WLNumber *WLAsNumber(WLObject *object) {
    return as<Number>(object);
}

WLDate *WLAsDate(WLObject *object) {
    return as<Date>(object);
}

WLData *WLAsData(WLObject *object) {
    return as<Data>(object);
}

WLArray *WLAsArray(WLObject *object) {
    return as<Array>(object);
}

WLDictionary *WLAsDictionary(WLObject *object) {
    return as<Dictionary>(object);
}
