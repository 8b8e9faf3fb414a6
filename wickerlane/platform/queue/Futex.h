// Sleeping on an atomic word until another thread changes it.
#ifndef WICKERLANE_PLATFORM_QUEUE_FUTEX_H
#define WICKERLANE_PLATFORM_QUEUE_FUTEX_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace wickerlane {

using Clock = std::chrono::steady_clock;

/// A time from now; the end of time when it lies beyond.
[[nodiscard]] Clock::time_point timeAfter(std::chrono::nanoseconds delay) noexcept;

/// Sleeps while `word` holds `expected`, at most until `deadline`. May return for no reason; false only when
/// the deadline has passed.
bool futexWait(const std::atomic<std::uint32_t> &word, std::uint32_t expected,
               std::optional<Clock::time_point> deadline = std::nullopt) noexcept;

/// Wakes up to `count` threads that sleep on the word. Looks at its address only, so that a word whose waiter
/// has gone on and freed it does no harm.
void futexWake(const std::atomic<std::uint32_t> *word, int count) noexcept;

} // namespace wickerlane

#endif
