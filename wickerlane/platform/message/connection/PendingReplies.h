// Requests that wait for their reply.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_PENDINGREPLIES_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_PENDINGREPLIES_H

#include <condition_variable>
#include <vector>

#include "wickerlane/platform/message/connection/Delivery.h"

namespace wickerlane {

/// A thread that waits for its reply. Guarded by the connection's mutex.
struct ReplyWaiter {
    std::condition_variable changed;
    Ref<MessageValue> reply; ///< Null until it is there.
};

/// Finds the one who waits for a reply by the id that the reply bears. Ids are never used twice, so that
/// neither a forged nor a doubled reply finds anybody. Guarded by the connection's mutex.
class PendingReplies {
public:
    struct Entry {
        std::uint64_t id = 0; ///< 0: free.
        ReplyWaiter *waiter = nullptr;
        Ref<WorkQueue> queue;
        Handler<void(MessageValue *)> handler;
        std::uint32_t nextFree = none;
    };

    [[nodiscard]] std::uint64_t add(ReplyWaiter *waiter) {
        ++waiters;
        Entry &entry = allocate();
        entry.waiter = waiter;
        return entry.id;
    }
    [[nodiscard]] std::uint64_t add(Ref<WorkQueue> queue, Handler<void(MessageValue *)> handler) {
        ++handlers;
        Entry &entry = allocate();
        entry.queue = std::move(queue);
        entry.handler = std::move(handler);
        return entry.id;
    }
    /// Takes out the entry of that id; false when nobody waits under it.
    [[nodiscard]] bool take(std::uint64_t id, Entry &taken) {
        const auto position = static_cast<std::uint32_t>(id);
        if (position >= entries.size() || entries[position].id != id || id == 0)
            return false;
        taken = std::exchange(entries[position], Entry{});
        entries[position].nextFree = std::exchange(firstFree, position);
        --(taken.waiter != nullptr ? waiters : handlers);
        return true;
    }
    /// Any thread that still waits; null when none does.
    [[nodiscard]] ReplyWaiter *anyWaiter() const noexcept {
        if (waiters != 0)
            for (const Entry &entry : entries)
                if (entry.waiter != nullptr)
                    return entry.waiter;
        return nullptr;
    }
    [[nodiscard]] const std::vector<Entry> &all() const noexcept { return entries; }
    [[nodiscard]] std::size_t waiterCount() const noexcept { return waiters; }
    [[nodiscard]] std::size_t handlerCount() const noexcept { return handlers; }

private:
    static constexpr std::uint32_t none = ~0U;

    // An id is the entry's position and, above it, a number that counts up.
    Entry &allocate() {
        std::uint32_t position = firstFree;
        if (position == none) {
            position = static_cast<std::uint32_t>(entries.size());
            entries.emplace_back();
        } else {
            firstFree = entries[position].nextFree;
        }
        entries[position].id = ++generation << 32 | position;
        return entries[position];
    }

    std::vector<Entry> entries;
    std::uint32_t firstFree = none;
    std::uint64_t generation = 0;
    std::size_t waiters = 0;
    std::size_t handlers = 0;
};

} // namespace wickerlane

#endif
