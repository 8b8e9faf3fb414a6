// Requests that wait for their reply.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_PENDINGREPLIES_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_PENDINGREPLIES_H

#include <vector>

#include "wickerlane/platform/message/connection/Cancellation.h"
#include "wickerlane/platform/message/connection/Delivery.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/Futex.h"

namespace wickerlane {

/// A thread that waits for its reply. Guarded by the connection's mutex.
struct ReplyWaiter {
    [[nodiscard]] bool isLimited() const noexcept { return due != Clock::time_point::max(); }

    Clock::time_point due = Clock::time_point::max(); ///< It is late then.
    bool isCancellable = false;                       ///< It leaves the reading to others.
    Condition changed;
    Ref<MessageValue> reply; ///< Null until it is there.
};

/// Finds by its id who waits for a reply. Ids are never used twice, so that neither a forged nor a doubled
/// reply finds anyone. Guarded by the connection's mutex.
class PendingReplies {
public:
    /// Each returns the id of the request. The cancellation that it belongs to may be null.
    [[nodiscard]] std::uint64_t add(ReplyWaiter *waiter, Cancellation *cancellation);
    [[nodiscard]] std::uint64_t add(Ref<WorkQueue> queue, Handler<void(MessageValue *)> handler,
                                    Clock::time_point due, Cancellation *cancellation);

    /// Gives a reply to the thread that waits for it, or adds a delivery to its handler. False when nothing
    /// waits under that id.
    [[nodiscard]] bool resolve(std::uint64_t id, Ref<MessageValue> reply, std::vector<Delivery> &deliveries);
    // Each gives requests the error that says why they are given up, and returns their ids. A later reply is
    // dropped.

    /// That of a waiter that is late, unless its reply has come.
    [[nodiscard]] std::vector<std::uint64_t> giveUp(const ReplyWaiter &waiter);
    /// Those of all handlers that are late.
    [[nodiscard]] std::vector<std::uint64_t> giveUpLateHandlers(Clock::time_point now,
                                                                std::vector<Delivery> &deliveries);
    /// Those that belong to a cancellation.
    [[nodiscard]] std::vector<std::uint64_t> cancel(const Cancellation &cancellation,
                                                    std::vector<Delivery> &deliveries);

    /// When the next handler is late; the end of time when none will be.
    [[nodiscard]] Clock::time_point nextDue() const noexcept;
    /// The error of a request that was cancelled.
    [[nodiscard]] static Ref<MessageError> cancelled();
    /// Gives the error to all.
    void failAll(MessageError *error, std::vector<Delivery> &deliveries);

    /// Any thread that still waits and may read; null when none does.
    [[nodiscard]] ReplyWaiter *anyWaiter() const noexcept;
    /// Some wait that don't read themselves.
    [[nodiscard]] bool needReaderThread() const noexcept { return handlers + cancellableWaiters != 0; }
    [[nodiscard]] bool isEmpty() const noexcept { return waiters + handlers == 0; }
    [[nodiscard]] std::size_t handlerCount() const noexcept { return handlers; }

private:
    static constexpr std::uint32_t none = ~0U;
    struct Entry {
        std::uint64_t id = 0; // the entry's position and, above it, a number that counts up; 0: free
        // Without waiter and queue it is given up: its reply is expected, and dropped.
        ReplyWaiter *waiter = nullptr;
        Ref<WorkQueue> queue;
        Handler<void(MessageValue *)> handler;
        Clock::time_point due = Clock::time_point::max(); // of a handler
        Ref<Cancellation> cancellation;                   // null: can't be cancelled
        std::uint32_t nextFree = none;
    };

    [[nodiscard]] Entry &allocate();
    void give(Entry taken, Ref<MessageValue> reply, std::vector<Delivery> &deliveries);
    void giveUp(Entry &entry, Ref<MessageError> error, std::vector<Delivery> &deliveries);
    template <class Matches>
    std::vector<std::uint64_t> giveUpIf(const Matches &matches, const Ref<MessageError> &error,
                                        std::vector<Delivery> &deliveries);

    std::vector<Entry> entries;
    std::uint32_t firstFree = none;
    std::uint64_t generation = 0;
    std::size_t waiters = 0;
    std::size_t cancellableWaiters = 0; // of those
    std::size_t handlers = 0;
};

} // namespace wickerlane

#endif
