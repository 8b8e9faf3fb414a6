#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/support/Console.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/util/dispatch/JXDispatch.h"

using namespace wickerlane;

namespace {

/// Each of the three ways to run a callback under the guard, followed by waiting until it has run.
struct Way {
    const char *name;
    void (*run)(Handler<void()> callback);
};

void runAsync(Handler<void()> callback) {
    const auto queue = WorkQueue::create("async");
    JXDispatch_async(queue.get(), std::move(callback));
    queue->sync([] {});
}

void runOnMain(Handler<void()> callback) {
    JXDispatchOnMainAfter(std::move(callback), 0);
    JXDispatchOnMainAfter([] { WorkQueue::stopMain(); }, 0);
    WorkQueue::runMain();
}

const Way ways[] = {
    {"sync",
     [](Handler<void()> callback) { JXDispatch_sync(WorkQueue::create("sync").get(), std::move(callback)); }},
    {"async", runAsync},
    {"main", runOnMain},
};

TEST(Dispatch, LogsPlatformExceptionsAndGoesOn) {
    struct Derived : Exception {
        using Exception::Exception;
    };
    for (const Way &way : ways) {
        const auto console = [&](auto exception) {
            return test::consoleOf([&] { way.run([&] { throw exception; }); });
        };
        EXPECT_EQ(console(Exception(String::of("Name"), String::of("reason of it"))), "reason of it\n")
            << way.name;
        EXPECT_EQ(console(Exception(String::of("Name"), nullptr)), "Name\n") << way.name;
        EXPECT_EQ(console(Derived(nullptr, String::of("two\nlines"))), "two\\nlines\n") << way.name;
        bool ran = false;
        way.run([&] { ran = true; });
        EXPECT_TRUE(ran) << way.name;
    }
}

TEST(Dispatch, PassesOtherExceptionsOn) {
    EXPECT_THROW(JXDispatch_sync(WorkQueue::global(), [] { throw std::runtime_error("other"); }),
                 std::runtime_error);
}

TEST(Dispatch, EndsTheScopeAndReleasesTheCallback) {
    for (const Way &way : ways) {
        for (const bool throws : {false, true}) {
            const Ref<Number> borrowed = Number::create(4711), captured = Number::create(4712);
            test::consoleOf([&] {
                way.run([&borrowed, captured, throws] {
                    autorelease(Ref(borrowed));
                    if (throws)
                        throw Exception(nullptr, nullptr);
                });
            });
            EXPECT_TRUE(borrowed->isUnique()) << way.name;
            EXPECT_TRUE(captured->isUnique()) << way.name;
        }
    }
}

TEST(Dispatch, IgnoresNullQueuesAndCallbacks) {
    JXDispatch_sync(nullptr, [] { FAIL(); });
    JXDispatch_async(nullptr, [] { FAIL(); });
    for (const Way &way : ways)
        way.run(nullptr);
}

TEST(Dispatch, OnMainAfterWaitsItsDelay) {
    constexpr double soon[] = {0, -1, -1e300, std::numeric_limits<double>::quiet_NaN(), 1e-10};
    std::string order;
    std::chrono::duration<double> passed{};
    const auto started = std::chrono::steady_clock::now();
    JXDispatchOnMainAfter(
        [&] {
            order += "later ";
            passed = std::chrono::steady_clock::now() - started;
            WorkQueue::stopMain();
        },
        0.2);
    for (const double never : {1e300, std::numeric_limits<double>::infinity()})
        JXDispatchOnMainAfter([&] { order += "never "; }, never);
    for (const double delay : soon)
        JXDispatchOnMainAfter([&] { order += "soon "; }, delay);
    EXPECT_EQ(order, "") << "only the main thread runs them";
    WorkQueue::runMain();
    EXPECT_EQ(order, "soon soon soon soon soon later ");
    EXPECT_GE(passed.count(), 0.2);
}

TEST(Dispatch, SemaphoreWaitEndsWithASignal) {
    const auto semaphore = Semaphore::create(0);
    std::atomic<bool> signalled = false;
    std::thread signaller([&] {
        signalled = true;
        semaphore->signal();
    });
    EXPECT_EQ(JXDispatchSemaphoreWaitForever(semaphore.get()), 0);
    EXPECT_TRUE(signalled);
    signaller.join();
}

} // namespace
