#include "wickerlane/api/WLCancellation.h"

#include <pthread.h>

#include <cstdlib>

using namespace wickerlane;

namespace {

// What is set is owned. A thread key rather than a thread-local object with a destructor: code that runs at
// exit may still ask.
pthread_key_t threadKey() {
    static const pthread_key_t key = [] {
        pthread_key_t made;
        const auto endThread = [](void *cancellation) {
            CancellationScope::setOfThread(nullptr);
            static_cast<Cancellation *>(cancellation)->release();
        };
        if (pthread_key_create(&made, endThread) != 0)
            std::abort();
        return made;
    }();
    return key;
}

} // namespace

WLCancellation *WLCancellationCreate() {
    return Cancellation::create().leak();
}

void WLSetCancellationOfThread(WLCancellation *cancellation) {
    const auto before =
        Ref<Cancellation>::adopt(static_cast<Cancellation *>(pthread_getspecific(threadKey())));
    CancellationScope::setOfThread(cancellation);
    pthread_setspecific(threadKey(), Ref(cancellation).leak());
}

void WLCancel(WLCancellation *cancellation) {
    if (cancellation != nullptr)
        cancellation->cancel();
}

bool WLIsCancelled(const WLCancellation *cancellation) {
    return cancellation != nullptr && cancellation->isCancelled();
}
