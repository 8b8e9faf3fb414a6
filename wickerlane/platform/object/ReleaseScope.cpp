#include "wickerlane/platform/object/ReleaseScope.h"

#include <pthread.h>

#include <cstdlib>
#include <vector>

namespace wickerlane {
namespace {

using Pending = std::vector<Object *>;

void drain(Pending &pending, std::size_t mark) noexcept {
    while (pending.size() > mark) {
        Object *last = pending.back();
        pending.pop_back();
        last->release();
    }
}

thread_local constinit Pending *current = nullptr;

void endThread(void *value) {
    auto *pending = static_cast<Pending *>(value);
    drain(*pending, 0);
    current = nullptr;
    delete pending;
}

// A thread key rather than a thread-local object with a destructor: the main thread's objects must outlive
// exit handlers, since workers may still run then.
pthread_key_t threadKey() {
    static const pthread_key_t key = [] {
        pthread_key_t made;
        if (pthread_key_create(&made, endThread) != 0)
            std::abort();
        return made;
    }();
    return key;
}

Pending &pendingOfThread() {
    if (current == nullptr) {
        current = new Pending;
        pthread_setspecific(threadKey(), current);
    }
    return *current;
}

} // namespace

ReleaseScope::ReleaseScope() noexcept : mark(pendingOfThread().size()) {
}

ReleaseScope::~ReleaseScope() {
    end();
}

void ReleaseScope::end() noexcept {
    if (open)
        drain(pendingOfThread(), mark);
    open = false;
}

Object *ReleaseScope::handOverObject(Object *object) {
    if (object != nullptr)
        object->retain();
    end();
    return autoreleaseObject(object);
}

Object *autoreleaseObject(Object *owned) {
    if (owned != nullptr)
        pendingOfThread().push_back(owned);
    return owned;
}

} // namespace wickerlane
