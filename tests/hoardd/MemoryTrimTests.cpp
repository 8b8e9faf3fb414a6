#include "hoardd/service/MemoryTrim.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <vector>

#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/process/Sanitizers.h"

using namespace wickerlane;

namespace {

#if !WL_ANY_SANITIZER // which have allocators of their own
std::size_t residentBytes() {
    std::size_t total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(getpagesize());
}

TEST(MemoryTrim, GivesBackWhatABurstLeftBelowABlockThatIsInUse) {
    static NeverDestroyed<hoardd::MemoryTrim> memory;
    constexpr std::size_t blockBytes = 1024, blocks = 64 * 1024;
    const std::size_t before = residentBytes();
    std::vector<std::unique_ptr<char[]>> burst(blocks);
    for (auto &block : burst)
        block = std::make_unique<char[]>(blockBytes);
    const auto last = std::make_unique<char[]>(blockBytes);
    burst.clear();
    constexpr std::size_t most = std::size_t{16} << 20;
    ASSERT_GT(residentBytes(), before + most) << "the allocator keeps it by itself";
    memory->noteWork();
    EXPECT_TRUE(test::waitUntil([&] { return residentBytes() < before + most; }));
}
#endif

} // namespace
