// The daemon's pieces by themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <future>
#include <thread>

#include "hoardd/library/Store.h"
#include "hoardd/service/JobQueue.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/process/ProcessTransaction.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;

namespace {

Store::Addition newAddition() {
    Store::Addition addition;
    addition.record.uuid = UUID::createRandom()->uuidString()->utf8();
    return addition;
}

TEST(Store, CommitsWhatSeveralThreadsAddAndFailsOnlyWhoIsAtFault) {
    const store::LibraryPaths paths;
    std::filesystem::create_directories(paths.folder() + "/PhotoData");
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened) << opened.error().text;
    Store &store = **opened;
    std::array<Store::Addition, 1> taken{newAddition()};
    ASSERT_TRUE(store.add(taken));

    constexpr std::size_t threads = 6, rounds = 20;
    std::array<std::vector<std::int64_t>, threads> keys;
    {
        std::vector<std::jthread> adding;
        for (std::size_t i = 0; i < threads; ++i)
            adding.emplace_back([&, i] {
                for (std::size_t round = 0; round < rounds; ++round) {
                    ReleaseScope scope;
                    std::array<Store::Addition, 2> additions{newAddition(), newAddition()};
                    const bool isAtFault = round % 4 == 3;
                    if (isAtFault)
                        additions[1].record.uuid = taken[0].record.uuid;
                    EXPECT_EQ(store.add(additions).has_value(), !isAtFault);
                    EXPECT_EQ(store.contains(additions[0].record.uuid), !isAtFault) << "all or none";
                    if (!isAtFault)
                        for (const auto &each : additions)
                            keys[i].push_back(each.record.primaryKey);
                }
            });
    }
    std::vector<std::int64_t> all;
    for (const auto &each : keys)
        all.insert(all.end(), each.begin(), each.end());
    std::ranges::sort(all);
    EXPECT_EQ(all.size(), threads * rounds * 2 * 3 / 4);
    EXPECT_EQ(std::ranges::adjacent_find(all), all.end());
}

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
