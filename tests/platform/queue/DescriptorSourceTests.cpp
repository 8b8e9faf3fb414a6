#include "wickerlane/platform/queue/DescriptorSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "tests/support/Descriptors.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/queue/Semaphore.h"

using namespace wickerlane;
using namespace std::chrono_literals;

namespace {

constexpr auto generous = 60s;

struct Pair {
    UniqueFd near, far;
    Pair() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
        near.reset(ends[0]);
        far.reset(ends[1]);
    }
    void send() const { EXPECT_EQ(write(far.get(), "x", 1), 1); }
    void receive() const {
        char byte = 0;
        EXPECT_EQ(read(near.get(), &byte, 1), 1);
    }
};

class DescriptorSources : public ::testing::Test {
    void SetUp() override { test::allowLastingDescriptors(test::readerDescriptors); }
};

} // namespace

TEST_F(DescriptorSources, CallOncePerArming) {
    const Pair pair;
    const auto called = Semaphore::create(0);
    std::atomic<std::uint32_t> events = 0;
    auto source = DescriptorSource::create(pair.near.get(), [&](std::uint32_t occurred) {
        events = occurred;
        called->signal();
    });
    pair.send();
    EXPECT_FALSE(called->wait(5ms)) << "called though not armed";
    source->arm(EPOLLIN);
    ASSERT_TRUE(called->wait(generous));
    EXPECT_EQ(events, std::uint32_t{EPOLLIN});
    EXPECT_FALSE(called->wait(5ms)) << "called again though armed once, with the byte still unread";
    source->arm(EPOLLOUT);
    ASSERT_TRUE(called->wait(generous));
    EXPECT_EQ(events, std::uint32_t{EPOLLOUT});
    source->arm(0);
    shutdown(pair.far.get(), SHUT_RDWR);
    ASSERT_TRUE(called->wait(generous));
    EXPECT_TRUE(events & EPOLLHUP);
    source->cancel();
    source->cancel();
    source->arm(EPOLLIN);
    EXPECT_FALSE(called->wait(5ms)) << "called though cancelled";
}

TEST_F(DescriptorSources, ReportADescriptorThatCannotBeWatched) {
    std::array<char, 32> name{"/tmp/wickerlane-source-XXXXXX"};
    const UniqueFd regular(mkostemp(name.data(), O_CLOEXEC));
    unlink(name.data());
    const auto called = Semaphore::create(0);
    std::atomic<std::uint32_t> events = 0;
    auto source = DescriptorSource::create(regular.get(), [&](std::uint32_t occurred) {
        events = occurred;
        called->signal();
    });
    source->arm(EPOLLIN);
    ASSERT_TRUE(called->wait(generous));
    EXPECT_EQ(events, std::uint32_t{EPOLLERR});
    source->cancel();
}

TEST_F(DescriptorSources, MayBeCancelledInTheirHandlerAndReleaseIt) {
    const Pair pair;
    const auto gone = Semaphore::create(0);
    struct Signal {
        explicit Signal(Semaphore *signalled) : semaphore(signalled) {}
        Semaphore *semaphore;
        ~Signal() { semaphore->signal(); }
    };
    std::atomic<bool> usable = false;
    auto source = Ref<DescriptorSource>();
    source = DescriptorSource::create(
        pair.near.get(), [&, kept = std::make_unique<Signal>(gone.get())](std::uint32_t) {
            source->cancel();
            usable = kept->semaphore == gone.get(); // what it holds outlives the cancelling
        });
    source->arm(EPOLLIN);
    pair.send();
    ASSERT_TRUE(gone->wait(generous));
    EXPECT_TRUE(usable);
    source->cancel();
}

// Cancels while events come, closes the descriptor at once, and lets the next round reuse its number. A
// handler that runs after its cancelling would find the flag down.
TEST_F(DescriptorSources, RunNoHandlerOnceCancelReturns) {
    std::atomic<int> late = 0, calls = 0;
    for (int round = 0; round < 2'000; ++round) {
        const auto called = Semaphore::create(0);
        const Pair pair;
        auto alive = std::make_unique<std::atomic<bool>>(true);
        Ref<DescriptorSource> source;
        source = DescriptorSource::create(pair.near.get(), [&, flag = alive.get()](std::uint32_t) {
            ++calls;
            called->signal();
            if (!*flag)
                ++late;
            source->arm(EPOLLIN);
        });
        source->arm(EPOLLIN);
        pair.send();
        if (round % 4 == 0) { // an event comes before the cancelling
            ASSERT_TRUE(called->wait(generous));
        }
        std::thread other;
        if (round % 16 == 1) // two cancel at once: both must wait
            other = std::thread([&] { source->cancel(); });
        source->cancel();
        *alive = false;
        alive.reset();
        if (other.joinable())
            other.join();
    }
    EXPECT_EQ(late, 0);
    EXPECT_GT(calls, 0);
}
