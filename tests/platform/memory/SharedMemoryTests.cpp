#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>

#include "wickerlane/platform/memory/SharedMemory.h"

using namespace wickerlane;

namespace {

UniqueFd memoryFile(std::size_t length, int seals) {
    UniqueFd fd(memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(ftruncate(fd.get(), static_cast<off_t>(length)), 0);
    EXPECT_EQ(pwrite(fd.get(), "first", 5, 0), 5);
    EXPECT_EQ(fcntl(fd.get(), F_ADD_SEALS, seals), 0);
    return fd;
}

} // namespace

TEST(SharedMemory, IsWrittenUntilItIsSealed) {
    const auto memory = SharedMemory::create(10'000);
    ASSERT_NE(memory, nullptr);
    std::strcpy(static_cast<char *>(memory->writableBytes()), "text");
    EXPECT_FALSE(memory->isSealed());
    ASSERT_TRUE(memory->seal());
    ASSERT_TRUE(memory->seal()) << "sealing twice does no harm";
    EXPECT_EQ(memory->writableBytes(), nullptr);
    EXPECT_NE(ftruncate(memory->descriptor(), 1), 0);
    EXPECT_EQ(mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, memory->descriptor(), 0), MAP_FAILED);
    std::size_t length = 0;
    void *mapped = memory->map(&length);
    ASSERT_NE(mapped, nullptr);
    EXPECT_EQ(length, 10'000U);
    EXPECT_STREQ(static_cast<char *>(mapped), "text");
    munmap(mapped, length);
}

TEST(SharedMemory, TakesOnlyWhatCannotShrink) {
    EXPECT_EQ(SharedMemory::create(0), nullptr);
    EXPECT_EQ(SharedMemory::open(UniqueFd(), 100), nullptr);
    EXPECT_EQ(SharedMemory::open(UniqueFd(open("/dev/null", O_RDONLY | O_CLOEXEC)), 100), nullptr);
    EXPECT_EQ(SharedMemory::open(memoryFile(50, 0), 100), nullptr);
    EXPECT_EQ(SharedMemory::open(memoryFile(50, F_SEAL_GROW | F_SEAL_WRITE), 100), nullptr);
    EXPECT_EQ(SharedMemory::open(memoryFile(101, F_SEAL_SHRINK), 100), nullptr) << "too long";
    EXPECT_NE(SharedMemory::open(memoryFile(100, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE), 100), nullptr);
}

TEST(SharedMemory, CopiesWhatMayStillBeWritten) {
    UniqueFd file = memoryFile(50, F_SEAL_SHRINK);
    const UniqueFd writer(fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
    const auto memory = SharedMemory::open(std::move(file), 100);
    ASSERT_NE(memory, nullptr);
    ASSERT_EQ(pwrite(writer.get(), "later", 5, 0), 5);
    std::size_t length = 0;
    void *mapped = memory->map(&length);
    ASSERT_NE(mapped, nullptr);
    EXPECT_STREQ(static_cast<char *>(mapped), "first");
    munmap(mapped, length);
}
