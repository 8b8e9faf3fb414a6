// Work queues: where handlers run.
#ifndef WICKERLANE_PLATFORM_QUEUE_WORKQUEUE_H
#define WICKERLANE_PLATFORM_QUEUE_WORKQUEUE_H

#include <chrono>

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// A queue of work items. Every item runs inside a ReleaseScope of its own. Thread-safe. An item that throws ends
/// the process. A queue lives until its last item has run, whoever else lets go of it.
class WL_EXPORT WorkQueue : public Object {
    WL_OBJECT
public:
    using Work = Handler<void()>;

    /// The process's concurrent queue of default priority: items run at once, in parallel, on threads that are
    /// added when the running items block and that go away when idle. Lives for ever.
    [[nodiscard]] static WorkQueue *global();
    /// The queue whose items run on the thread that calls runMain() or drainMain(), in order. Lives for ever.
    [[nodiscard]] static WorkQueue *main();
    /// A serial queue: items run one at a time, in the order of submission, on threads of the global queue.
    [[nodiscard]] static Ref<WorkQueue> create(const char *label);

    /// The label; empty for a null one. Lives as long as the queue.
    [[nodiscard]] virtual const char *label() const noexcept = 0;
    /// Submits an item and returns at once.
    virtual void async(Work work) = 0;
    /// Submits an item and waits until it has run. On a serial queue never from one of its own items. On the
    /// main queue from the main thread itself: runs the item at once.
    void sync(Work work);
    /// Submits an item after a time has passed.
    void after(std::chrono::nanoseconds delay, Work work);

    /// Serves the main queue until stopMain() is called. The calling thread becomes the main queue's thread.
    static void runMain();
    /// Makes runMain() return after the item in which it is called.
    static void stopMain();
    /// Runs the items that wait on the main queue now, and returns their number.
    static std::size_t drainMain();
    /// A descriptor that polls readable while the main queue has items: for foreign event loops, which then call
    /// drainMain(). Owned by the queue, open for ever; not to be read.
    [[nodiscard]] static int mainDescriptor();
};

/// Runs an initialiser once per object of this type, which must have static storage. Callers meanwhile wait.
class WL_EXPORT Once {
public:
    constexpr Once() noexcept = default;
    template <class Callable>
    void run(Callable &&callable) {
        if (state.load(std::memory_order_acquire) != done)
            runSlowly(&callable, [](void *held) { (*static_cast<std::remove_reference_t<Callable> *>(held))(); });
    }

private:
    static constexpr std::uint32_t done = 2;
    void runSlowly(void *callable, void (*invoke)(void *));
    std::atomic<std::uint32_t> state{0};
};

/// A counting semaphore.
class WL_EXPORT Semaphore : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<Semaphore> create(std::uint32_t count);
    void signal() noexcept;
    void wait() noexcept;
    /// False when the time has passed without a signal.
    [[nodiscard]] bool wait(std::chrono::nanoseconds limit) noexcept;

private:
    explicit Semaphore(std::uint32_t initial) noexcept : count(initial) {}
    std::atomic<std::uint32_t> count;
    std::atomic<std::uint32_t> waiters{0};
};

} // namespace wickerlane

#endif
