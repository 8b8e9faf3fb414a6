#include "wickerlane/platform/object/Object.h"

#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class Object::classInfo{"Object", nullptr, nullptr};
WL_BUILT_IN_CLASS(Object);

namespace {
// The objects of this thread that wait to be destroyed, linked through their counts. Non-null while a
// destruction is under way, so that destroying an object adds its parts here instead of recursing.
struct Dying {
    const Object *head = nullptr;
    bool active = false;
};
thread_local constinit Dying dying;
} // namespace

void Object::destroy() const noexcept {
    if (dying.active) {
        references.store(reinterpret_cast<std::uintptr_t>(dying.head), std::memory_order_relaxed);
        dying.head = this;
        return;
    }
    dying.active = true;
    delete this;
    while (dying.head != nullptr) {
        const Object *next = dying.head;
        dying.head = reinterpret_cast<const Object *>(next->references.load(std::memory_order_relaxed));
        delete next;
    }
    dying.active = false;
}

String *Object::description() const {
    return String::format("<%s: %p>", classObject()->name, static_cast<const void *>(this));
}

} // namespace wickerlane
