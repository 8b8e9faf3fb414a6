#include "hoardd/service/JobQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>

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
    const ClientJobs client(queue, 1, true);
    EXPECT_TRUE(client.add({blocked, blocked}));
    // There is room for one: a request takes its jobs all the same, since it could be larger than the queue.
    EXPECT_TRUE(client.add({blocked, blocked, blocked, blocked}));
    EXPECT_FALSE(client.add({blocked}));
    EXPECT_TRUE(ClientJobs(queue, 1, false).add({blocked})) << "nothing would tell its client";
    EXPECT_TRUE(ClientJobs(queue, 2, true).add({blocked})) << "another client has room of its own";
    EXPECT_EQ(processTransactionCount(), 8U);
    gate.set_value();
    queue.close();
    EXPECT_EQ(ran, 8);
    EXPECT_EQ(processTransactionCount(), 0U);
    EXPECT_FALSE(client.add({blocked})) << "closed";
}

TEST(JobQueue, TakesTurnsBetweenClients) {
    JobQueue queue(100, 1);
    std::promise<void> gate, begun;
    std::string order; // of the clients' jobs, one at a time
    const auto job = [&](char client) { return [&order, client] { order += client; }; };
    const ClientJobs first(queue, 1, true), second(queue, 2, true), third(queue, 3, true);
    ASSERT_TRUE(first.add({[&, opened = gate.get_future().share()] {
        begun.set_value();
        opened.wait();
        first.addRest(job('r'));
    }}));
    begun.get_future().wait();
    ASSERT_TRUE(first.add({job('a'), job('a'), job('a'), job('a')}));
    ASSERT_TRUE(second.add({job('b'), job('b')}));
    ASSERT_TRUE(third.add({job('c')}));
    gate.set_value();
    queue.close();
    EXPECT_EQ(order, "abcabaar");
}

TEST(JobQueue, PutsAJobBeforeTheOthersOfItsClient) {
    JobQueue queue(100, 1);
    std::promise<void> gate, begun;
    std::string order;
    const auto job = [&](char name) { return [&order, name] { order += name; }; };
    const ClientJobs first(queue, 1, true), second(queue, 2, true);
    ASSERT_TRUE(first.add({[&, opened = gate.get_future().share()] {
        begun.set_value();
        opened.wait();
    }}));
    begun.get_future().wait();
    ASSERT_TRUE(first.add({job('a'), job('b')}));
    ASSERT_TRUE(second.add({job('x'), job('y')}));
    ASSERT_TRUE(second.addFirst(job('z')));
    gate.set_value();
    queue.close();
    EXPECT_EQ(order, "azbxy") << "no other client waits longer for it";
}

} // namespace
