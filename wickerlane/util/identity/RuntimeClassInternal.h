// Objects of classes that are known by name only until the process runs.
#ifndef WICKERLANE_UTIL_IDENTITY_RUNTIMECLASSINTERNAL_H
#define WICKERLANE_UTIL_IDENTITY_RUNTIMECLASSINTERNAL_H

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// The instance that a class makes without arguments. Null when the class (which may be null) makes none, or
/// one that is no T.
template <class T>
[[nodiscard]] Ref<T> instanceOf(const Class *found) {
    if (found == nullptr || found->instantiate == nullptr)
        return nullptr;
    const auto made = Ref<Object>::adopt(found->instantiate());
    return as<T>(made.get());
}

} // namespace wickerlane

#endif
