// Handing what was received to the queues of those who wait for it.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_DELIVERY_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_DELIVERY_H

#include <vector>

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// A handler, the queue it is to run on, and what it gets.
struct Delivery {
    Ref<WorkQueue> queue;
    Handler<void(MessageValue *)> handler;
    Ref<MessageValue> value;
    Ref<Object> heldWhileRunning{}; ///< Let go of when the handler has run; may be null.
};

/// Has each handler run on its queue, in order where the queue is serial; those for one queue are submitted
/// together. When the system has no thread left to run them, they run here. Without locks held.
void deliver(std::vector<Delivery> deliveries);

} // namespace wickerlane

#endif
