// Waiting for what the client answers on its queues.
#ifndef CLI_WAITING_H
#define CLI_WAITING_H

#include <memory>
#include <optional>

#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::cli {

/// A value that a handler gives once and another thread waits for. Copies are the same value.
template <class Value>
class Awaited {
public:
    void give(Value value) const {
        shared->value = std::move(value);
        shared->given->signal();
    }
    /// Blocks until the value is there. Once only.
    [[nodiscard]] Value take() const {
        shared->given->wait();
        return std::move(*shared->value);
    }

private:
    struct Shared {
        std::optional<Value> value;
        Ref<Semaphore> given = Semaphore::create(0);
    };
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
};

} // namespace wickerlane::cli

#endif
