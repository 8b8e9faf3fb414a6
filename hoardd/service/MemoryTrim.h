// Giving memory back to the system.
#ifndef HOARDD_SERVICE_MEMORYTRIM_H
#define HOARDD_SERVICE_MEMORYTRIM_H

#include <atomic>

namespace wickerlane::hoardd {

/// Gives back, some seconds after work, what the allocator keeps of a burst. Lives as long as the process.
/// Thread-safe.
class MemoryTrim {
public:
    /// There is work now, after which memory may be free. Costs hardly anything.
    void noteWork() noexcept {
        if (!isDue.load(std::memory_order_relaxed) && !isDue.exchange(true))
            schedule();
    }

private:
    void schedule();
    void trim();

    std::atomic<bool> isDue{false};
};

} // namespace wickerlane::hoardd

#endif
