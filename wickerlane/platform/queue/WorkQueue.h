// Work queues: where handlers run.
#ifndef WICKERLANE_PLATFORM_QUEUE_WORKQUEUE_H
#define WICKERLANE_PLATFORM_QUEUE_WORKQUEUE_H

#include <chrono>
#include <span>

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Object.h"
#include "wickerlane/platform/queue/Once.h"
#include "wickerlane/platform/queue/Semaphore.h"

namespace wickerlane {

/// A queue of work items. Every item runs inside a ReleaseScope of its own. Thread-safe. An item that throws
/// ends the process; a null item is ignored. A queue lives until its last item has run, even if all others
/// let go of it.
///
/// The threads of the queues block the signals sent to the process. They do not survive fork(), so
/// that a child can't use queues, and should execute another program. It is told so on the console; items
/// then run at once, on the thread that submits them, those of after() never, and the main queue is empty.
class WL_EXPORT WorkQueue : public Object {
    WL_OBJECT
public:
    using Work = Handler<void()>;

    /// The process's concurrent queue of default priority: items begin in the order of submission and run in
    /// parallel, on threads that are added when the running items block and that go away when idle. Lives for
    /// ever.
    [[nodiscard]] static WorkQueue *global();
    /// The queue whose items run on the thread that calls runMain() or drainMain(), in order. Lives for ever.
    [[nodiscard]] static WorkQueue *main();
    /// A serial queue: items run one at a time, in the order of submission, on threads of the global queue.
    [[nodiscard]] static Ref<WorkQueue> create(const char *label);

    /// The label; empty for a null one. Lives as long as the queue.
    [[nodiscard]] virtual const char *label() const noexcept = 0;
    /// Submits an item and returns at once.
    virtual void async(Work work) = 0;
    /// Submits many items in their order at the price of little more than one; they are moved from.
    virtual void asyncBatch(std::span<Work> batch) = 0;
    /// Submits an item and waits until it has run. On a serial queue never from one of its own items. On the
    /// global queue, and on the main queue from the main thread itself: runs the item at once. (Until one
    /// calls runMain() or drainMain(), the process's first thread is the main thread.)
    void sync(Work work);
    /// Submits an item after a time has passed; at once for none or less. Items due at the same instant are
    /// submitted in the order of the calls.
    void after(std::chrono::nanoseconds delay, Work work);

    /// Serves the main queue until stopMain() is called. The calling thread becomes the main queue's thread.
    /// Calls nest.
    static void runMain();
    /// Makes the innermost runMain() return after the item that is running; when none is under way, the next
    /// one returns at once. From any thread.
    static void stopMain();
    /// Runs the items that wait on the main queue now, and returns their number. What they submit waits for
    /// the next call. The calling thread becomes the main queue's thread.
    static std::size_t drainMain();
    /// A descriptor that polls readable while the main queue has items: for foreign event loops, which then
    /// call drainMain(). Owned by the queue, open for ever; not to be read. -1 when the process has none
    /// left.
    [[nodiscard]] static int mainDescriptor();
};

} // namespace wickerlane

#endif
