// A value that a handler of the client gives, and that this thread waits for.
#ifndef CLI_AWAITED_H
#define CLI_AWAITED_H

#include <chrono>
#include <memory>
#include <optional>

#include "wickerlane/platform/queue/Semaphore.h"

namespace wickerlane::cli {

/// Is given once and taken once. Copies are the same value: one is for the handler.
template <class Value>
class Awaited {
public:
    void give(Value value) const {
        shared->value = std::move(value);
        shared->given->signal();
    }
    /// Blocks until the value has been given.
    [[nodiscard]] Value take() const {
        shared->given->wait();
        return std::move(*shared->value);
    }
    /// The value if it has been given; does not block.
    [[nodiscard]] std::optional<Value> takeIfGiven() const {
        using namespace std::chrono_literals;
        return shared->given->wait(0ns) ? std::move(shared->value) : std::nullopt;
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
