#include "wickerlane/platform/message/connection/PendingReplies.h"

namespace wickerlane {

PendingReplies::Entry &PendingReplies::allocate() {
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

std::uint64_t PendingReplies::add(ReplyWaiter *waiter) {
    ++waiters;
    Entry &entry = allocate();
    entry.waiter = waiter;
    return entry.id;
}

std::uint64_t PendingReplies::add(Ref<WorkQueue> queue, Handler<void(MessageValue *)> handler) {
    ++handlers;
    Entry &entry = allocate();
    entry.queue = std::move(queue);
    entry.handler = std::move(handler);
    return entry.id;
}

bool PendingReplies::resolve(std::uint64_t id, Ref<MessageValue> reply, std::vector<Delivery> &deliveries) {
    const auto position = static_cast<std::uint32_t>(id);
    if (position >= entries.size() || entries[position].id != id || id == 0)
        return false;
    Entry found = std::exchange(entries[position], Entry{});
    entries[position].nextFree = std::exchange(firstFree, position);
    if (found.waiter != nullptr) {
        --waiters;
        found.waiter->reply = std::move(reply);
        found.waiter->changed.notifyOne();
    } else {
        --handlers;
        deliveries.push_back({std::move(found.queue), std::move(found.handler), std::move(reply)});
    }
    return true;
}

void PendingReplies::failAll(MessageError *error, std::vector<Delivery> &deliveries) {
    for (const Entry &entry : entries)
        static_cast<void>(resolve(entry.id, error, deliveries));
}

ReplyWaiter *PendingReplies::anyWaiter() const noexcept {
    if (waiters != 0)
        for (const Entry &entry : entries)
            if (entry.waiter != nullptr)
                return entry.waiter;
    return nullptr;
}

} // namespace wickerlane
