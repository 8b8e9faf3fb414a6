#include "wickerlane/platform/queue/Futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace wickerlane {

Clock::time_point timeAfter(std::chrono::nanoseconds delay) noexcept {
    const Clock::time_point now = Clock::now();
    return delay < Clock::time_point::max() - now ? now + delay : Clock::time_point::max();
}

bool futexWait(const void *word, std::uint32_t expected, std::optional<Clock::time_point> deadline) noexcept {
    timespec until{};
    if (deadline) {
        // The steady clock is the kernel's monotonic clock, in which this call takes its deadline.
        const auto time = std::max(deadline->time_since_epoch(), Clock::duration::zero());
        until.tv_sec = std::chrono::duration_cast<std::chrono::seconds>(time).count();
        until.tv_nsec = (time % std::chrono::seconds(1)).count();
    }
    return syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, expected, deadline ? &until : nullptr, nullptr,
                   FUTEX_BITSET_MATCH_ANY) == 0 ||
           errno != ETIMEDOUT;
}

void futexWake(const void *word, int count) noexcept {
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

} // namespace wickerlane
