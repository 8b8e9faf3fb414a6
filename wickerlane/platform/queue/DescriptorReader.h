// The thread behind all descriptor sources.
#ifndef WICKERLANE_PLATFORM_QUEUE_DESCRIPTORREADER_H
#define WICKERLANE_PLATFORM_QUEUE_DESCRIPTORREADER_H

#include <atomic>
#include <unordered_map>
#include <vector>

#include "wickerlane/platform/queue/DescriptorSource.h"
#include "wickerlane/platform/queue/Lock.h"

namespace wickerlane {

/// The reader thread and its table of sources. The kernel is given numbers that are never used twice, so that
/// an event of a source that is gone finds nothing.
class DescriptorReader {
public:
    [[nodiscard]] static DescriptorReader &shared();

    void add(DescriptorSource &source);
    void arm(DescriptorSource &source, std::uint32_t events);
    void cancel(DescriptorSource &source);

private:
    DescriptorReader();
    void run() noexcept;
    void handle(std::uint64_t number, std::uint32_t events);
    void handleRefused();
    [[nodiscard]] bool isThisThread() const noexcept;

    const int poller;
    const int event; // wakes the thread for what stands in `refused`
    std::atomic<int> thread{0};
    Lock lock;
    std::unordered_map<std::uint64_t, Ref<DescriptorSource>> sources;
    std::vector<std::uint64_t> refused; // sources whose descriptor the kernel would not watch
    std::uint64_t lastNumber = 0;
};

} // namespace wickerlane

#endif
