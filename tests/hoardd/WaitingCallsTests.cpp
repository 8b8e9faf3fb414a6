// Which of many waiting requests are kept, ended or refused.
#include "hoardd/library/WaitingCalls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "tests/support/Descriptors.h"
#include "tests/support/WaitUntil.h"

namespace wickerlane::hoardd {
namespace {

using namespace std::chrono_literals;

class Peer final : public MessagePeer {
public:
    Peer(uid_t user, pid_t process) : caller{user, 0, process, 0, {}} {}
    [[nodiscard]] const PeerIdentity &identity() const noexcept override { return caller; }
    [[nodiscard]] PeerVersion version() const noexcept override { return PeerVersion::own(); }
    [[nodiscard]] bool isAlive() const noexcept override { return true; }
    [[nodiscard]] bool isConnected() override { return true; }
    void send(MessageDictionary * /*message*/) override {}
    [[nodiscard]] bool postponeUntilRead(Handler<void()> /*work*/) override { return false; }
    void cancel() override {}

private:
    const PeerIdentity caller;
};

class Request final : public ReceivedMessage {
public:
    Request(uid_t user, pid_t process) : sender(makeRef<Peer>(user, process)) {}
    [[nodiscard]] MessageDictionary *message() const noexcept override { return contents.get(); }
    [[nodiscard]] MessagePeer *peer() const noexcept override { return sender.get(); }
    [[nodiscard]] bool wantsReply() const noexcept override { return true; }
    [[nodiscard]] bool isCancelled() override { return false; }
    [[nodiscard]] bool whenUnwanted(Handler<void()> /*work*/) override { return true; }
    void reply(MessageDictionary * /*answer*/) override { isAnswered = true; }
    void replyError(std::string_view /*description*/, std::int64_t /*kind*/) override {}

    std::atomic<bool> isAnswered = false;

private:
    const Ref<MessageDictionary> contents = MessageDictionary::create();
    const Ref<Peer> sender;
};

class WaitingCallsTest : public testing::Test {
protected:
    // Of the timer, and of the log.
    WaitingCallsTest() { test::allowLastingDescriptors(test::folderWatchDescriptors); }

    WaitingCalls calls;

    /// Whether it waits now; otherwise it was busy.
    [[nodiscard]] bool waits(Request *request) {
        const auto kept = calls.answerOrKeep(
            Call(request), 600s, [] { return std::optional<Answer>(); }, Answer());
        EXPECT_TRUE(kept ? !*kept : kept.error().kind == ProblemKind::busy);
        return kept.has_value();
    }
};

TEST_F(WaitingCallsTest, EndTheOldestOfAProcessForItsNext) {
    std::vector<Ref<Request>> requests{makeRef<Request>(1, 2)}; // of another process
    ASSERT_TRUE(waits(requests.back().get()));
    for (std::size_t i = 0; i < WaitingCalls::maxOfProcess; ++i) {
        requests.push_back(makeRef<Request>(1, 1));
        ASSERT_TRUE(waits(requests.back().get()));
    }
    for (const auto &each : requests)
        EXPECT_FALSE(each->isAnswered);
    const auto next = makeRef<Request>(1, 1);
    ASSERT_TRUE(test::waitUntil([&] { return waits(next.get()); })) << "once the oldest has waited enough";
    for (std::size_t i = 0; i < requests.size(); ++i)
        EXPECT_EQ(requests[i]->isAnswered, i == 1) << i;
    EXPECT_FALSE(next->isAnswered);
}

TEST_F(WaitingCallsTest, AreLimitedForAUserAndInAll) {
    constexpr auto perProcess = static_cast<int>(WaitingCalls::maxOfProcess);
    std::size_t all = 0;
    pid_t last = 0;
    for (uid_t user = 1; all < WaitingCalls::maxOfAll; ++user) {
        std::size_t ofUser = 0;
        for (; ofUser < WaitingCalls::maxOfUser; ++ofUser)
            ASSERT_TRUE(waits(makeRef<Request>(user, 1 + last++ / perProcess).get()))
                << user << ' ' << ofUser;
        EXPECT_FALSE(waits(makeRef<Request>(user, 1'000'000).get())) << "a further one of the user";
        all += ofUser;
    }
    EXPECT_FALSE(waits(makeRef<Request>(1'000, 1'000'000).get())) << "one of another user";
}

} // namespace
} // namespace wickerlane::hoardd
