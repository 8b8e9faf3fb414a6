#include "wickerlane/platform/queue/WorkQueue.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Descriptors.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;
using namespace std::chrono_literals;

namespace {

constexpr auto generous = 60s;

std::size_t workerCount() {
    std::size_t count = 0;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        count += name == "wl-worker" ? 1 : 0;
    }
    return count;
}

bool mainDescriptorIsReadable() {
    pollfd polled{WorkQueue::mainDescriptor(), POLLIN, 0};
    return poll(&polled, 1, 0) == 1;
}

class Tracked : public Object {
public:
    explicit Tracked(std::atomic<int> *counted) : living(counted) { ++*living; }
    ~Tracked() override { --*living; }

private:
    std::atomic<int> *living;
};

} // namespace

// Items blocked in the library's own waits, which announce themselves, and in a wait of any other kind.
TEST(GlobalQueue, RunsTheNextItemWhileAnyNumberIsBlocked) {
    constexpr int blockedItems = 500;
    for (const bool announced : {true, false}) {
        SCOPED_TRACE(announced);
        const auto gate = Semaphore::create(0), begun = Semaphore::create(0), ended = Semaphore::create(0);
        std::atomic<bool> open = false;
        for (int i = 0; i < blockedItems; ++i)
            WorkQueue::global()->async([&, announced] {
                begun->signal();
                if (announced)
                    gate->wait();
                else
                    open.wait(false);
                ended->signal();
            });
        for (int i = 0; i < blockedItems; ++i)
            ASSERT_TRUE(begun->wait(generous)) << i;
        const auto next = Semaphore::create(0);
        WorkQueue::global()->async([&] { next->signal(); });
        EXPECT_TRUE(next->wait(generous));
        open = true;
        open.notify_all();
        for (int i = 0; i < blockedItems; ++i)
            gate->signal();
        for (int i = 0; i < blockedItems; ++i)
            ASSERT_TRUE(ended->wait(generous)) << i;
    }
    EXPECT_TRUE(test::waitUntil([] { return workerCount() == 0; })) << "idle threads stay: " << workerCount();
}

TEST(GlobalQueue, ComputingWithoutEndDoesNotKeepTheNextItemFromRunning) {
    std::atomic<bool> reached = false;
    const auto ended = Semaphore::create(0);
    constexpr int spinners = 4;
    const auto deadline = std::chrono::steady_clock::now() + generous;
    for (int i = 0; i < spinners; ++i)
        WorkQueue::global()->async([&] {
            while (!reached && std::chrono::steady_clock::now() < deadline)
                ;
            EXPECT_TRUE(reached);
            ended->signal();
        });
    WorkQueue::global()->async([&] { reached = true; });
    for (int i = 0; i < spinners; ++i)
        ended->wait();
}

TEST(GlobalQueue, ABurstOfShortItemsMakesFewThreads) {
    constexpr int items = 200'000;
    // A worker may sleep for a moment in a lock of the allocator's, so that a few more than the processors
    // are fair.
    const std::size_t few = std::max<std::size_t>(std::thread::hardware_concurrency(), workerCount()) + 50;
    std::atomic<int> ran = 0;
    const auto done = Semaphore::create(0);
    std::vector<WorkQueue::Work> batch(100);
    for (int i = 0; i < items; i += 100) {
        for (auto &work : batch)
            work = [&] {
                if (++ran == items)
                    done->signal();
            };
        WorkQueue::global()->asyncBatch(batch);
    }
    EXPECT_TRUE(done->wait(generous));
    EXPECT_LE(workerCount(), few);
}

TEST(SerialQueue, RunsOneAtATimeInTheOrderOfEachSubmitter) {
    constexpr int submitters = 8, items = 5'000;
    auto queue = WorkQueue::create("order");
    EXPECT_STREQ(queue->label(), "order");
    EXPECT_STREQ(WorkQueue::create(nullptr)->label(), "");
    std::vector<std::vector<int>> seen(submitters); // unguarded: the queue guards it
    bool inside = false, overlapped = false;
    std::vector<std::thread> threads;
    for (int s = 0; s < submitters; ++s)
        threads.emplace_back([&, s] {
            for (int i = 0; i < items; ++i)
                queue->async([&, s, i] {
                    overlapped |= std::exchange(inside, true);
                    seen[static_cast<std::size_t>(s)].push_back(i);
                    inside = false;
                });
        });
    for (auto &thread : threads)
        thread.join();
    std::size_t total = 0;
    queue->sync([&] {
        for (const auto &each : seen) {
            total += each.size();
            EXPECT_TRUE(std::is_sorted(each.begin(), each.end()));
        }
    });
    EXPECT_EQ(total, std::size_t{submitters * items});
    EXPECT_FALSE(overlapped);
}

TEST(SerialQueue, LivesUntilItsItemsHaveRunAndReleasesThem) {
    std::atomic<int> living = 0;
    const auto done = Semaphore::create(0);
    {
        auto queue = WorkQueue::create("short-lived");
        const auto kept = makeRef<Tracked>(&living);
        for (int i = 0; i < 1000; ++i)
            queue->async([kept] { autoreleaseObject(Ref<Tracked>(kept).leak()); });
        queue->async([done] { done->signal(); });
    }
    ASSERT_TRUE(done->wait(generous));
    EXPECT_TRUE(test::waitUntil([&] { return living == 0; }));
}

TEST(WorkQueues, HaveEverythingDoneWhenSyncReturns) {
    auto serial = WorkQueue::create("sync");
    std::atomic<int> living = 0;
    for (WorkQueue *queue : {serial.get(), WorkQueue::global(), WorkQueue::main()}) {
        SCOPED_TRACE(queue->label());
        bool ran = false;
        queue->sync([&, kept = makeRef<Tracked>(&living)] {
            autoreleaseObject(Ref<Tracked>(kept).leak());
            ran = true;
        });
        EXPECT_TRUE(ran);
        EXPECT_EQ(living, 0);
        queue->sync(nullptr);
        queue->async(nullptr);
    }
}

TEST(WorkQueues, LeaveTheSignalsToTheApplication) {
    const auto done = Semaphore::create(0);
    sigset_t mask;
    sigemptyset(&mask);
    WorkQueue::global()->async([&] {
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        done->signal();
    });
    ASSERT_TRUE(done->wait(generous));
    for (int signal : {SIGINT, SIGTERM, SIGCHLD, SIGPIPE, SIGUSR1})
        EXPECT_EQ(sigismember(&mask, signal), 1) << signal;
    EXPECT_EQ(sigismember(&mask, SIGSEGV), 0);
}

TEST(DelayedWork, ComesNotBeforeItsTimeAndInOrder) {
    auto queue = WorkQueue::create("delayed");
    std::vector<int> order;
    const auto done = Semaphore::create(0);
    const auto start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point at;
    queue->after(std::chrono::nanoseconds::max(), [] { ADD_FAILURE() << "the end of time has come"; });
    queue->after(30ms, [&] {
        order.push_back(3);
        at = std::chrono::steady_clock::now();
        done->signal();
    });
    queue->after(10ms, [&] { order.push_back(2); });
    queue->after(std::chrono::nanoseconds::min(), [&] { order.push_back(1); });
    ASSERT_TRUE(done->wait(generous));
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
    EXPECT_GE(at - start, 30ms);
}

TEST(MainQueue, RunsUntilStopped) {
    int ran = 0;
    std::thread other([&] {
        WorkQueue::main()->async([&] { ++ran; });
        WorkQueue::main()->sync([&] { ++ran; }); // waits for the main thread
        WorkQueue::main()->async([&] {
            ++ran;
            WorkQueue::main()->async([&] { ++ran; }); // waits for the next run
            WorkQueue::stopMain();
        });
    });
    WorkQueue::runMain();
    other.join();
    EXPECT_EQ(ran, 3);
    EXPECT_EQ(WorkQueue::drainMain(), 1u);
    EXPECT_EQ(ran, 4);
    WorkQueue::stopMain(); // before the run: it returns at once
    WorkQueue::runMain();
}

TEST(MainQueue, ServesForeignEventLoops) {
    test::allowLastingDescriptors(std::array{"anon_inode:[eventfd]"}); // the queue's own
    EXPECT_FALSE(mainDescriptorIsReadable());
    std::vector<int> order;
    std::thread([&] {
        WorkQueue::main()->async([&] {
            order.push_back(1);
            WorkQueue::main()->async([&] { order.push_back(3); });
        });
        WorkQueue::main()->async([&] { order.push_back(2); });
    }).join();
    EXPECT_TRUE(mainDescriptorIsReadable());
    EXPECT_EQ(WorkQueue::drainMain(), 2u);
    EXPECT_TRUE(mainDescriptorIsReadable());
    EXPECT_EQ(WorkQueue::drainMain(), 1u);
    EXPECT_FALSE(mainDescriptorIsReadable());
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(Once, RunsOnceAndHoldsTheOthersUntilThen) {
    static constinit Once once;
    std::atomic<int> attempts = 0;
    int made = 0; // unguarded: once guards it
    std::atomic<int> wrong = 0;
    const auto attempt = [&] {
        try {
            once.run([&] {
                if (++attempts == 1)
                    throw std::runtime_error("the first attempt fails");
                std::this_thread::yield();
                made += 1;
            });
        } catch (const std::runtime_error &) {
            return;
        }
        wrong += made != 1 ? 1 : 0;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i)
        threads.emplace_back(attempt);
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(wrong, 0);
}

TEST(Semaphore, LosesNoSignal) {
    constexpr int threads = 4, rounds = 20'000;
    const auto deadline = std::chrono::steady_clock::now() + generous;
    const auto full = Semaphore::create(0), empty = Semaphore::create(2);
    std::vector<std::thread> all;
    for (int i = 0; i < threads; ++i) {
        all.emplace_back([&] {
            for (int r = 0; r < rounds; ++r) {
                ASSERT_TRUE(empty->wait(generous));
                full->signal();
            }
        });
        all.emplace_back([&] {
            for (int r = 0; r < rounds; ++r) {
                while (!full->wait(1ms))
                    ASSERT_LT(std::chrono::steady_clock::now(), deadline);
                empty->signal();
            }
        });
    }
    for (auto &each : all)
        each.join();
    EXPECT_FALSE(full->wait(0ns));
    EXPECT_FALSE(full->wait(1ms));
    EXPECT_TRUE(empty->wait(0ns));
    EXPECT_TRUE(empty->wait(std::chrono::nanoseconds::max()));
    EXPECT_FALSE(empty->wait(-1ns));
}
