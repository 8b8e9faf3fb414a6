// Waiting for another thread or process in a test.
#ifndef WICKERLANE_TESTS_SUPPORT_WAITUNTIL_H
#define WICKERLANE_TESTS_SUPPORT_WAITUNTIL_H

#include <chrono>
#include <thread>

namespace wickerlane::test {

/// Checks a condition until it holds. False if it does not hold within a time that is long even for a busy
/// machine, so that a test of a broken product ends.
template <class Condition>
[[nodiscard]] bool waitUntil(const Condition &condition,
                             std::chrono::seconds limit = std::chrono::minutes(2)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace wickerlane::test

#endif
