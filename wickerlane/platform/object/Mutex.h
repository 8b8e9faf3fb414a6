// The mutexes of this system, which say to clang what they guard; scripts/check has it checked.
//
//     Mutex mutex;
//     int count WL_GUARDED_BY(mutex) = 0;
//     void countUp() WL_REQUIRES(mutex);
//     ...
//     const MutexLock lock(mutex);
#ifndef WICKERLANE_PLATFORM_OBJECT_MUTEX_H
#define WICKERLANE_PLATFORM_OBJECT_MUTEX_H

#include <chrono>
#include <condition_variable>
#include <mutex>

#ifdef __clang__
#define WL_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define WL_THREAD_ANNOTATION(attribute)
#endif

/// Of a variable: read and written only while the mutex is held.
#define WL_GUARDED_BY(mutex) WL_THREAD_ANNOTATION(guarded_by(mutex))
/// Of a pointer: what it points to is.
#define WL_POINTEE_GUARDED_BY(mutex) WL_THREAD_ANNOTATION(pt_guarded_by(mutex))
/// Of a function: called only while the mutexes are held.
#define WL_REQUIRES(...) WL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// Of a function: never called while the mutexes are held, which it takes itself.
#define WL_EXCLUDES(...) WL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// Of a function: returns with the mutexes held, or released.
#define WL_ACQUIRE(...) WL_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define WL_RELEASE(...) WL_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// Of a function: locks in a way that the check can't follow. Say why.
#define WL_NO_THREAD_CHECK WL_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace wickerlane {

class WL_THREAD_ANNOTATION(capability("mutex")) Mutex {
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex &) = delete;
    Mutex &operator=(const Mutex &) = delete;
    void lock() WL_ACQUIRE() { native.lock(); }
    void unlock() WL_RELEASE() { native.unlock(); }

private:
    friend class Condition;
    std::mutex native;
};

/// A mutex that the thread that holds it may lock again.
class WL_THREAD_ANNOTATION(capability("mutex")) RecursiveMutex {
public:
    RecursiveMutex() noexcept = default;
    RecursiveMutex(const RecursiveMutex &) = delete;
    RecursiveMutex &operator=(const RecursiveMutex &) = delete;
    void lock() WL_ACQUIRE() { native.lock(); }
    void unlock() WL_RELEASE() { native.unlock(); }

private:
    std::recursive_mutex native;
};

/// Holds a mutex for a scope, with pauses where unlock() and lock() are called.
template <class Kind>
class WL_THREAD_ANNOTATION(scoped_lockable) BasicMutexLock {
public:
    explicit BasicMutexLock(Kind &held) WL_ACQUIRE(held) : mutex(held) { mutex.lock(); }
    BasicMutexLock(const BasicMutexLock &) = delete;
    BasicMutexLock &operator=(const BasicMutexLock &) = delete;
    ~BasicMutexLock() WL_RELEASE() {
        if (isHeld)
            mutex.unlock();
    }
    void lock() WL_ACQUIRE() {
        mutex.lock();
        isHeld = true;
    }
    void unlock() WL_RELEASE() {
        isHeld = false;
        mutex.unlock();
    }

private:
    Kind &mutex;
    bool isHeld = true;
};
using MutexLock = BasicMutexLock<Mutex>;

/// Lets go of a held mutex for a scope.
class WL_THREAD_ANNOTATION(scoped_lockable) MutexUnlock {
public:
    explicit MutexUnlock(Mutex &held) WL_RELEASE(held) : mutex(held) { mutex.unlock(); }
    MutexUnlock(const MutexUnlock &) = delete;
    MutexUnlock &operator=(const MutexUnlock &) = delete;
    ~MutexUnlock() WL_RELEASE() { mutex.lock(); } // the attribute means the end of what the scope did

private:
    Mutex &mutex;
};

/// A condition variable of a Mutex. Waits may end early: look at the condition again.
class Condition {
public:
    void wait(Mutex &mutex) WL_REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.native, std::adopt_lock);
        variable.wait(lock);
        lock.release();
    }
    /// False when the time came first.
    template <class Clock, class Duration>
    bool waitUntil(Mutex &mutex, const std::chrono::time_point<Clock, Duration> &time) WL_REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.native, std::adopt_lock);
        const bool isWoken = variable.wait_until(lock, time) == std::cv_status::no_timeout;
        lock.release();
        return isWoken;
    }
    void notifyOne() noexcept { variable.notify_one(); }
    void notifyAll() noexcept { variable.notify_all(); }

private:
    std::condition_variable variable;
};

} // namespace wickerlane

#endif
