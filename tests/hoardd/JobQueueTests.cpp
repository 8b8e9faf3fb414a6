#include "hoardd/service/JobQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "wickerlane/platform/process/ProcessTransaction.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;

namespace {

TEST(JobQueue, IsBoundedAndHoldsTheProcessUntilItsJobsHaveRun) {
    JobQueue queue(3);
    std::promise<void> gate;
    const std::shared_future<void> open = gate.get_future().share();
    std::atomic<int> ran = 0;
    const auto blocked = [&] {
        open.wait();
        ++ran;
    };
    EXPECT_TRUE(queue.add({blocked, blocked}));
    // There is room for one: a request takes its jobs all the same, since it could be larger than the queue.
    EXPECT_TRUE(queue.add({blocked, blocked, blocked, blocked}));
    EXPECT_FALSE(queue.add({blocked}));
    EXPECT_EQ(processTransactionCount(), 6U);
    gate.set_value();
    queue.close();
    EXPECT_EQ(ran, 6);
    EXPECT_EQ(processTransactionCount(), 0U);
    EXPECT_FALSE(queue.add({blocked})) << "closed";
}

} // namespace
