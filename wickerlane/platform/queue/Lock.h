// The mutex of short critical sections.
#ifndef WICKERLANE_PLATFORM_QUEUE_LOCK_H
#define WICKERLANE_PLATFORM_QUEUE_LOCK_H

#include <pthread.h>

namespace wickerlane {

/// A mutex that spins a little before it sleeps: a lock held for some ten nanoseconds is free again sooner
/// than a thread could fall asleep. For std::lock_guard and std::unique_lock.
class Lock {
public:
    constexpr Lock() noexcept = default;
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
    void lock() noexcept { pthread_mutex_lock(&mutex); }
    void unlock() noexcept { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
};

} // namespace wickerlane

#endif
