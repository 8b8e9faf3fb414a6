// Waiting for another thread or process in a test.
#ifndef WICKERLANE_TESTS_SUPPORT_WAITUNTIL_H
#define WICKERLANE_TESTS_SUPPORT_WAITUNTIL_H

#include <chrono>
#include <thread>

namespace wickerlane::test {

/// Checks a condition until it holds. False if it never does within two minutes, so that a test of a broken
/// product ends.
template <class Condition>
bool waitUntil(const Condition &condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace wickerlane::test

#endif
