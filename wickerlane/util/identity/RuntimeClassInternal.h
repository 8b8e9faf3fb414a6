// Instances of classes that are found by name at run time.
#ifndef WICKERLANE_UTIL_IDENTITY_RUNTIMECLASSINTERNAL_H
#define WICKERLANE_UTIL_IDENTITY_RUNTIMECLASSINTERNAL_H

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// A new instance of a class, made without arguments. Null for a null class, for one that can't be
/// instantiated, and when the instance is not a T.
template <class T>
[[nodiscard]] Ref<T> instanceOf(const Class *found) {
    if (found == nullptr || found->instantiate == nullptr)
        return nullptr;
    const auto made = Ref<Object>::adopt(found->instantiate());
    return as<T>(made.get());
}

} // namespace wickerlane

#endif
