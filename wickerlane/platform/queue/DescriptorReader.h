// The thread behind all descriptor sources.
#ifndef WICKERLANE_PLATFORM_QUEUE_DESCRIPTORREADER_H
#define WICKERLANE_PLATFORM_QUEUE_DESCRIPTORREADER_H

#include <atomic>
#include <unordered_map>
#include <vector>

#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/AdaptiveMutex.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane {

/// The reader thread and its table of sources. The kernel is given numbers that are never used twice, so that
/// an event of a source that is gone finds nothing.
class DescriptorReader {
public:
    [[nodiscard]] static DescriptorReader &shared();

    /// Starts the thread unless it runs. False, and errno, when the system has no thread or no descriptor
    /// left.
    [[nodiscard]] bool start() noexcept WL_EXCLUDES(mutex);
    void add(DescriptorSource &source) WL_EXCLUDES(mutex);
    void arm(DescriptorSource &source, std::uint32_t events) WL_EXCLUDES(mutex);
    void cancel(DescriptorSource &source) WL_EXCLUDES(mutex);

private:
    friend class NeverDestroyed<DescriptorReader>;
    DescriptorReader() = default;
    void run() noexcept;
    void handle(std::uint64_t number, std::uint32_t events);
    [[nodiscard]] Ref<DescriptorSource> sourceNumbered(std::uint64_t number) WL_EXCLUDES(mutex);
    void handleRefused();
    [[nodiscard]] bool isThisThread() const noexcept;

    // Set by start(), and then left alone.
    int poller = -1;
    int event = -1; // wakes the thread for `refused`
    std::atomic<int> thread{0};
    AdaptiveMutex mutex; // a source's own comes before it
    bool hasThread WL_GUARDED_BY(mutex) = false;
    std::unordered_map<std::uint64_t, Ref<DescriptorSource>> sources WL_GUARDED_BY(mutex);
    // Sources whose descriptor the kernel would not watch.
    std::vector<std::uint64_t> refused WL_GUARDED_BY(mutex);
    std::uint64_t lastNumber WL_GUARDED_BY(mutex) = 0;
};

} // namespace wickerlane

#endif
