#include <span>
#include <vector>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Object.h"

// The bounds, by the linker, of the table that WL_BUILT_IN_CLASS fills.
extern "C" __attribute__((visibility("hidden")))
const wickerlane::Class *const __start_wickerlane_classes[]; // NOLINT
extern "C" __attribute__((visibility("hidden")))
const wickerlane::Class *const __stop_wickerlane_classes[]; // NOLINT

namespace wickerlane {
namespace {

std::span<const Class *const> builtIn() noexcept {
    return {__start_wickerlane_classes, __stop_wickerlane_classes};
}

struct Registry {
    Mutex mutex;
    std::vector<const Class *> classes WL_GUARDED_BY(mutex);
};

Registry &registry() {
    static NeverDestroyed<Registry> made;
    return *made;
}

template <class Classes>
const Class *find(const Classes &classes, std::string_view name) {
    for (const Class *each : classes)
        if (name == each->name)
            return each;
    return nullptr;
}

} // namespace

const Class *classNamed(std::string_view name) {
    if (const Class *found = find(builtIn(), name))
        return found;
    Registry &registered = registry();
    const MutexLock lock(registered.mutex);
    return find(registered.classes, name);
}

bool registerClass(const Class *added) {
    if (const Class *found = find(builtIn(), added->name))
        return found == added;
    Registry &registered = registry();
    const MutexLock lock(registered.mutex);
    if (const Class *found = find(registered.classes, added->name))
        return found == added;
    registered.classes.push_back(added);
    return true;
}

} // namespace wickerlane
