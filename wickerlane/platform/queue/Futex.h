// Sleeping on an atomic word until another thread changes it.
#ifndef WICKERLANE_PLATFORM_QUEUE_FUTEX_H
#define WICKERLANE_PLATFORM_QUEUE_FUTEX_H

#include <chrono>
#include <cstdint>
#include <optional>

namespace wickerlane {

using Clock = std::chrono::steady_clock;

/// A time from now; the end of time when it lies beyond.
[[nodiscard]] Clock::time_point timeAfter(std::chrono::nanoseconds delay) noexcept;

/// Sleeps while the 32-bit atomic word at an address holds `expected`, at most until `deadline`. May return
/// for no reason; false only when the deadline has passed.
bool futexWait(const void *word, std::uint32_t expected,
               std::optional<Clock::time_point> deadline = std::nullopt) noexcept;

/// Wakes up to `count` threads that sleep on a word. Uses the address only, so that a word whose waiter has
/// gone on and freed it does no harm.
void futexWake(const void *word, int count) noexcept;

} // namespace wickerlane

#endif
