// Processes that fork() made.
#ifndef WICKERLANE_PLATFORM_PROCESS_FORKEDCHILD_H
#define WICKERLANE_PLATFORM_PROCESS_FORKEDCHILD_H

#include <atomic>
#include <cstdint>

namespace wickerlane {

/// What a forked child is told that wants to use queues or connections.
inline constexpr const char *forkedChildText = "A process that fork() made can't use the photo library of "
                                               "its parent. Start a new program, or use spawn.";

namespace detail {
extern constinit std::atomic<std::uint32_t> forkGeneration;
extern constinit std::atomic<bool> isForkedChild;
} // namespace detail

/// From now on, children that fork() makes of this process count themselves. _Fork() and clone(2) pass
/// unseen; what only executes another program (spawn, vfork) does not count.
void watchForks() noexcept;

/// From now on, they are forked children as well. To be called before the first thread starts, and before
/// anything is made that a child must not share.
void refuseForkedChildren() noexcept;

/// How many forks lie between this process and the one in which watchForks() was called first. What another
/// thread was doing at a fork is never finished in the child.
[[nodiscard]] inline std::uint32_t forkGeneration() noexcept {
    return detail::forkGeneration.load(std::memory_order_relaxed);
}

/// Whether this process was forked from one that used queues or connections. Their threads don't exist here,
/// and their locks may be held for ever: look before taking one.
[[nodiscard]] inline bool isForkedChild() noexcept {
    return detail::isForkedChild.load(std::memory_order_relaxed);
}

} // namespace wickerlane

#endif
