// A service that keeps some of its requests.
#ifndef WICKERLANE_TESTS_PLATFORM_MESSAGE_HOLDING_H
#define WICKERLANE_TESTS_PLATFORM_MESSAGE_HOLDING_H

#include <mutex>
#include <set>
#include <vector>

#include "Service.h"

namespace wickerlane::test {

/// Keeps the requests with an odd number until answerAll(), and answers the others at once. Thread-safe.
class Holding {
public:
    void take(ReceivedMessage *received) {
        if (numberOf(received->message()) % 2 == 0)
            return echo(received);
        const std::lock_guard lock(mutex);
        held.emplace_back(received);
        ++count;
    }
    void answerAll() {
        std::vector<Ref<ReceivedMessage>> answered;
        {
            const std::lock_guard lock(mutex);
            answered.swap(held);
        }
        for (const auto &each : answered)
            echo(each.get());
    }
    /// How many it has kept so far.
    std::size_t total() {
        const std::lock_guard lock(mutex);
        return count;
    }
    /// The numbers of those that are cancelled.
    std::set<std::int64_t> cancelled() {
        const std::lock_guard lock(mutex);
        std::set<std::int64_t> numbers;
        for (const auto &each : held)
            if (each->isCancelled())
                numbers.insert(numberOf(each->message()));
        return numbers;
    }

private:
    std::mutex mutex;
    std::vector<Ref<ReceivedMessage>> held;
    std::size_t count = 0;
};

} // namespace wickerlane::test

#endif
