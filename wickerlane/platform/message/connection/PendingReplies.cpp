#include "wickerlane/platform/message/connection/PendingReplies.h"

#include <algorithm>

namespace wickerlane {
namespace {

// As the model numbers the kinds of problems.
constexpr std::int64_t kindTimedOut = 14;
constexpr std::int64_t kindCancelled = 15;

Ref<MessageError> late() {
    return MessageError::create(
        "The service has not answered in time, and was told to stop. It may have done "
        "what was asked. Ask again later, or allow more time.",
        kindTimedOut);
}

} // namespace

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

std::uint64_t PendingReplies::add(ReplyWaiter *waiter, Cancellation *cancellation) {
    ++waiters;
    cancellableWaiters += waiter->isCancellable ? 1 : 0;
    Entry &entry = allocate();
    entry.waiter = waiter;
    entry.cancellation = cancellation;
    return entry.id;
}

std::uint64_t PendingReplies::add(Ref<WorkQueue> queue, Handler<void(MessageValue *)> handler,
                                  Clock::time_point due, Cancellation *cancellation) {
    ++handlers;
    Entry &entry = allocate();
    entry.queue = std::move(queue);
    entry.handler = std::move(handler);
    entry.due = due;
    entry.cancellation = cancellation;
    return entry.id;
}

bool PendingReplies::resolve(std::uint64_t id, Ref<MessageValue> reply, std::vector<Delivery> &deliveries) {
    const auto position = static_cast<std::uint32_t>(id);
    if (position >= entries.size() || entries[position].id != id || id == 0)
        return false;
    Entry found = std::exchange(entries[position], Entry{});
    entries[position].nextFree = std::exchange(firstFree, position);
    give(std::move(found), std::move(reply), deliveries);
    return true;
}

void PendingReplies::give(Entry taken, Ref<MessageValue> reply, std::vector<Delivery> &deliveries) {
    if (taken.waiter != nullptr) {
        --waiters;
        cancellableWaiters -= taken.waiter->isCancellable ? 1 : 0;
        taken.waiter->reply = std::move(reply);
        taken.waiter->changed.notifyOne();
    } else if (taken.queue != nullptr) {
        --handlers;
        deliveries.push_back({std::move(taken.queue), std::move(taken.handler), std::move(reply)});
    }
}

void PendingReplies::giveUp(Entry &entry, Ref<MessageError> error, std::vector<Delivery> &deliveries) {
    Entry givenUp;
    givenUp.id = entry.id;
    give(std::exchange(entry, std::move(givenUp)), std::move(error), deliveries);
}

template <class Matches>
std::vector<std::uint64_t> PendingReplies::giveUpIf(const Matches &matches, const Ref<MessageError> &error,
                                                    std::vector<Delivery> &deliveries) {
    std::vector<std::uint64_t> ids;
    for (Entry &entry : entries)
        if (matches(entry)) {
            ids.push_back(entry.id);
            giveUp(entry, error, deliveries);
        }
    return ids;
}

std::vector<std::uint64_t> PendingReplies::giveUp(const ReplyWaiter &waiter) {
    std::vector<Delivery> unused; // a waiter has no handler
    return giveUpIf([&](const Entry &each) { return each.waiter == &waiter; }, late(), unused);
}

std::vector<std::uint64_t> PendingReplies::giveUpLateHandlers(Clock::time_point now,
                                                              std::vector<Delivery> &deliveries) {
    return giveUpIf([&](const Entry &each) { return each.queue != nullptr && each.due <= now; }, late(),
                    deliveries);
}

std::vector<std::uint64_t> PendingReplies::cancel(const Cancellation &cancellation,
                                                  std::vector<Delivery> &deliveries) {
    return giveUpIf([&](const Entry &each) { return each.cancellation.get() == &cancellation; }, cancelled(),
                    deliveries);
}

Ref<MessageError> PendingReplies::cancelled() {
    return MessageError::create("The request was cancelled.", kindCancelled);
}

Clock::time_point PendingReplies::nextDue() const noexcept {
    Clock::time_point next = Clock::time_point::max();
    for (const Entry &entry : entries)
        next = std::min(next, entry.due);
    return next;
}

void PendingReplies::failAll(MessageError *error, std::vector<Delivery> &deliveries) {
    for (const Entry &entry : entries)
        static_cast<void>(resolve(entry.id, error, deliveries));
}

ReplyWaiter *PendingReplies::anyWaiter() const noexcept {
    if (waiters != cancellableWaiters)
        for (const Entry &entry : entries)
            if (entry.waiter != nullptr && !entry.waiter->isCancellable)
                return entry.waiter;
    return nullptr;
}

} // namespace wickerlane
