// The mutex of short critical sections.
#ifndef WICKERLANE_PLATFORM_QUEUE_ADAPTIVEMUTEX_H
#define WICKERLANE_PLATFORM_QUEUE_ADAPTIVEMUTEX_H

#include <pthread.h>

#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {

/// A mutex that spins a little before it sleeps: a lock held for some ten nanoseconds is free again sooner
/// than a thread could fall asleep.
class WL_THREAD_ANNOTATION(capability("mutex")) AdaptiveMutex {
public:
    constexpr AdaptiveMutex() noexcept = default;
    AdaptiveMutex(const AdaptiveMutex &) = delete;
    AdaptiveMutex &operator=(const AdaptiveMutex &) = delete;
    void lock() noexcept WL_ACQUIRE() { pthread_mutex_lock(&native); }
    void unlock() noexcept WL_RELEASE() { pthread_mutex_unlock(&native); }

private:
    pthread_mutex_t native = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
};
using AdaptiveMutexLock = BasicMutexLock<AdaptiveMutex>;

} // namespace wickerlane

#endif
