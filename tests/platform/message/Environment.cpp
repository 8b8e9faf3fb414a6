// Opens the descriptors that a process keeps once it has used queues and sources, before any test counts its
// own.
#include <gtest/gtest.h>
#include <sys/epoll.h>

#include <future>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/queue/DescriptorSource.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace {

class Queues : public ::testing::Environment {
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const wickerlane::UniqueFd readEnd(ends[0]);
        const wickerlane::UniqueFd writeEnd(ends[1]);
        std::promise<void> ready;
        const auto source =
            wickerlane::DescriptorSource::create(writeEnd.get(), [&](std::uint32_t) { ready.set_value(); });
        source->arm(EPOLLOUT);
        ready.get_future().wait();
        source->cancel();
    }
};

[[maybe_unused]] ::testing::Environment *const queues = ::testing::AddGlobalTestEnvironment(new Queues);

} // namespace
