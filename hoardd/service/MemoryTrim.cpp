#include "hoardd/service/MemoryTrim.h"

#include <malloc.h>

#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

namespace {

constexpr std::chrono::seconds delay{2};
constexpr std::size_t keptBytes = std::size_t{8} << 20; // free ones that are not worth the call
// In use: more than a daemon at rest needs, so that some of it may become free without further work, such as
// answers that a client never reads.
constexpr std::size_t restingBytes = std::size_t{24} << 20;

} // namespace

void MemoryTrim::schedule() {
    WorkQueue::global()->after(delay, [this] { trim(); });
}

void MemoryTrim::trim() {
    isDue = false;
    const auto heap = mallinfo2();
    if (heap.fordblks > keptBytes)
        malloc_trim(0);
    if (heap.uordblks + heap.hblkhd > restingBytes)
        noteWork();
}

} // namespace wickerlane::hoardd
