// Requests that are cancelled before they are answered.
#include <mutex>
#include <set>
#include <thread>

#include "Codec.h"
#include "Holding.h"
#include "RawSocket.h"
#include "Service.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/message/connection/Cancellation.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"

using namespace wickerlane;
using namespace wickerlane::test;
using namespace std::chrono_literals;

namespace {

bool isCancelled(MessageValue *value) {
    const auto *error = as<MessageError>(value);
    return error != nullptr && error->errorKind() == 15 && error->text() == "The request was cancelled.";
}

using Reply = std::shared_ptr<std::promise<Ref<MessageValue>>>;

// Sends a request of a cancellation, waiting for its reply on a thread or with a handler.
Reply sendUnder(Cancellation *cancellation, MessageConnection *connection, std::int64_t number,
                bool isAwaited) {
    auto reply = std::make_shared<std::promise<Ref<MessageValue>>>();
    const CancellationScope scope(cancellation);
    if (!isAwaited)
        connection->sendWithReply(numbered(number).get(), nullptr,
                                  [reply](MessageValue *value) { reply->set_value(value); });
    else
        std::thread([reply, number, kept = Ref(connection), cancel = Ref(cancellation)] {
            const CancellationScope ofThread(cancel.get());
            reply->set_value(kept->sendWithReplySync(numbered(number).get()));
        }).detach();
    return reply;
}

// A frame that cancels a request.
std::string cancelBytes(std::uint64_t id) {
    MessageEncoder encoder;
    EXPECT_EQ(encoder.encode(FrameKind::message, id, MessageDictionary::create().get()), nullptr);
    return std::string(encoder.gathered());
}

std::string requestBytes(std::uint64_t id, std::int64_t number) {
    MessageEncoder encoder;
    EXPECT_EQ(encoder.encode(FrameKind::request, id, numbered(number).get()), nullptr);
    return std::string(encoder.gathered());
}

} // namespace

TEST(Cancellation, EndsItsRequestsAtOnceAndNoOthers) {
    for (const bool isAwaited : {true, false}) {
        Holding held;
        const auto events = std::make_shared<std::atomic<int>>(0); // threads may outlive the test by a moment
        const auto listener = listen([&](ReceivedMessage *received) { held.take(received); });
        const auto connection = connect([events](MessageValue *) { ++*events; });
        const auto cancellation = Cancellation::create(), other = Cancellation::create();
        std::vector<Reply> replies;
        for (const std::int64_t number : {1, 3, 5})
            replies.push_back(sendUnder(cancellation.get(), connection.get(), number, isAwaited));
        const auto ofOther = sendUnder(other.get(), connection.get(), 7, isAwaited);
        const auto ofNone = sendUnder(nullptr, connection.get(), 9, isAwaited);
        ASSERT_TRUE(waitUntil([&] { return held.total() == 5; }));
        EXPECT_TRUE(held.cancelled().empty());

        cancellation->cancel();
        for (const Reply &each : replies)
            EXPECT_TRUE(isCancelled(resultOf(*each).get())) << isAwaited;
        EXPECT_TRUE(waitUntil([&] {
            return held.cancelled() == std::set<std::int64_t>{1, 3, 5};
        })) << "the service learns of it";
        EXPECT_TRUE(
            isCancelled(resultOf(*sendUnder(cancellation.get(), connection.get(), 11, isAwaited)).get()))
            << "it is not sent";
        cancellation->cancel();

        held.answerAll(); // which nothing waits for, and which does no harm
        EXPECT_EQ(numberOf(resultOf(*ofOther).get()), 7);
        EXPECT_EQ(numberOf(resultOf(*ofNone).get()), 9);
        EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2);
        EXPECT_EQ(held.total(), 5U);
        EXPECT_EQ(*events, 0);
        EXPECT_FALSE(other->isCancelled());
    }
}

TEST(Cancellation, ComesTooLateForWhatHasBeenAnswered) {
    const auto listener = listen(echo);
    const auto connection = connect();
    for (const bool isAwaited : {true, false}) {
        const auto cancellation = Cancellation::create();
        const auto reply = sendUnder(cancellation.get(), connection.get(), 1, isAwaited);
        EXPECT_EQ(numberOf(resultOf(*reply).get()), 1);
        cancellation->cancel();
        EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2);
    }
}

TEST(Cancellation, OfTheInnermostScopeCounts) {
    const auto listener = listen(echo);
    const auto connection = connect();
    const auto ended = Cancellation::create();
    ended->cancel();
    const auto number = [&] { return numberOf(connection->sendWithReplySync(numbered(1).get()).get()); };
    const CancellationScope outer(ended.get());
    EXPECT_EQ(number(), -1);
    {
        const auto live = Cancellation::create();
        const CancellationScope inner(live.get());
        EXPECT_EQ(number(), 1);
        const CancellationScope none(nullptr);
        EXPECT_EQ(number(), 1);
    }
    EXPECT_EQ(number(), -1);
}

TEST(Cancellation, MayComeFromAHandler) {
    Holding held;
    const auto listener = listen([&](ReceivedMessage *received) { held.take(received); });
    const auto queue = WorkQueue::create("replies");
    const auto connection = connect();
    const auto cancellation = Cancellation::create();
    const auto reply = sendUnder(cancellation.get(), connection.get(), 1, false);
    std::promise<void> done;
    connection->sendWithReply(numbered(2).get(), queue.get(), [&](MessageValue *) {
        cancellation->cancel();
        done.set_value();
    });
    done.get_future().wait();
    EXPECT_TRUE(isCancelled(resultOf(*reply).get()));
}

TEST(Cancellation, FindsNothingWhenTheConnectionIsLost) {
    Holding held;
    auto listener = listen([&](ReceivedMessage *received) { held.take(received); });
    auto connection = connect();
    const auto cancellation = Cancellation::create();
    for (const bool isAwaited : {true, false}) {
        const auto reply = sendUnder(cancellation.get(), connection.get(), 1, isAwaited);
        ASSERT_TRUE(waitUntil([&] { return held.total() == (isAwaited ? 1 : 2); }));
        listener->cancel();
        EXPECT_EQ(resultOf(*reply), MessageError::connectionInterrupted());
        listener = nullptr;
        held.answerAll();
        listener = listen([&](ReceivedMessage *received) { held.take(received); });
    }
    connection = nullptr;
    cancellation->cancel();
}

// Neither a service that does not greet its clients nor a full socket keeps a thread.
TEST(Cancellation, DoesNotWaitForTheService) {
    ServiceSocket place(serviceName);
    const UniqueFd lock = place.lock();
    const UniqueFd listening = place.listen();
    ASSERT_TRUE(listening);
    const auto connection = connect();
    const auto cancellation = Cancellation::create();
    std::vector<Reply> replies;
    for (const bool isAwaited : {true, false, true})
        replies.push_back(sendUnder(cancellation.get(), connection.get(), 1, isAwaited));
    cancellation->cancel();
    for (const Reply &each : replies)
        EXPECT_TRUE(isCancelled(resultOf(*each).get()));
}

TEST(Cancellation, HoldsWhileTheSocketIsFull) {
    std::promise<void> mayGoOn;
    std::shared_future<void> goOn = mayGoOn.get_future().share();
    const auto queue = WorkQueue::create("service");
    std::atomic<int> received{0};
    const auto listener = listen(
        [&](ReceivedMessage *message) {
            ++received;
            goOn.wait();
            echo(message);
        },
        queue.get());
    const auto connection = connect();
    const auto cancellation = Cancellation::create();
    const auto large = numbered(1);
    large->setString("text", std::string(4 << 20, 'x'));
    std::vector<std::future<Ref<MessageValue>>> replies;
    for (int i = 0; i < 8; ++i)
        replies.push_back(std::async(std::launch::async, [&] {
            const CancellationScope scope(cancellation.get());
            return connection->sendWithReplySync(large.get());
        }));
    EXPECT_TRUE(waitUntil([&] { return received > 0; }));
    cancellation->cancel();
    for (auto &each : replies) {
        ASSERT_EQ(each.wait_for(longTime), std::future_status::ready);
        EXPECT_EQ(each.get()->kind(), MessageKind::error);
    }
    mayGoOn.set_value();
    Ref<MessageValue> reply = connection->sendWithReplySync(numbered(50).get());
    if (reply == MessageError::connectionInterrupted()) // given up for what waited
        reply = connection->sendWithReplySync(numbered(50).get());
    EXPECT_EQ(numberOf(reply.get()), 50);
}

// A peer's messages are handled one at a time; a cancellation is noticed before the turn of the request.
TEST(Cancellation, OvertakesTheRequestsThatWait) {
    std::promise<void> mayGoOn;
    std::shared_future<void> goOn = mayGoOn.get_future().share();
    std::promise<Ref<ReceivedMessage>> first;
    std::atomic<int> cancelled{0}, wanted{0};
    MessageListener::Options options;
    options.ordersEachPeer = true;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            if (numberOf(received->message()) == 1) {
                first.set_value(received);
                goOn.wait();
            }
            ++(received->isCancelled() ? cancelled : wanted);
            echo(received);
        },
        nullptr, std::move(options));
    const auto connection = connect();
    const auto cancellation = Cancellation::create();
    const auto busy = sendUnder(cancellation.get(), connection.get(), 1, false);
    const Ref<ReceivedMessage> under = resultOf(first);
    const auto queued = sendUnder(cancellation.get(), connection.get(), 3, false);
    const auto other = sendUnder(nullptr, connection.get(), 5, false);
    cancellation->cancel();
    EXPECT_TRUE(waitUntil([&] { return under->isCancelled(); }));
    mayGoOn.set_value();
    EXPECT_EQ(numberOf(resultOf(*other).get()), 5);
    EXPECT_EQ(cancelled, 2);
    EXPECT_EQ(wanted, 1);
}

TEST(Cancellation, TellsTheKeeperOfTheRequest) {
    std::mutex mutex;
    std::vector<Ref<ReceivedMessage>> kept;
    std::atomic<int> calls[2] = {0, 0};
    const auto listener = listen([&](ReceivedMessage *received) {
        const auto number = static_cast<std::size_t>(numberOf(received->message()));
        EXPECT_TRUE(received->whenUnwanted([&calls, number] { ++calls[number]; }));
        const std::lock_guard lock(mutex);
        kept.emplace_back(received);
    });
    const auto connection = connect();
    const auto cancellation = Cancellation::create();
    const auto reply = sendUnder(cancellation.get(), connection.get(), 1, false);
    const auto other = sendUnder(nullptr, connection.get(), 0, false);
    const auto count = [&] {
        const std::lock_guard lock(mutex);
        return kept.size();
    };
    ASSERT_TRUE(waitUntil([&] { return count() == 2; }));
    cancellation->cancel();
    EXPECT_TRUE(waitUntil([&] { return calls[1] == 1; }));
    EXPECT_EQ(calls[0], 0);
    const std::lock_guard lock(mutex);
    for (const auto &each : kept) {
        const bool wasCancelled = numberOf(each->message()) == 1;
        EXPECT_EQ(each->isCancelled(), wasCancelled);
        EXPECT_NE(each->whenUnwanted([] {}), wasCancelled) << "it has happened already";
    }
    kept.clear();
}

// They may name requests of others, none, or more than there can be.
TEST(Cancellation, ByAHostilePeerHarmsOnlyItself) {
    Holding held;
    const auto listener = listen([&](ReceivedMessage *received) { held.take(received); });
    const auto connection = connect();
    const auto cancellation = Cancellation::create();
    const auto reply = sendUnder(cancellation.get(), connection.get(), 1, false);
    ASSERT_TRUE(waitUntil([&] { return held.total() == 1; }));

    const UniqueFd peer = ServiceSocket(serviceName).connect();
    ASSERT_TRUE(peer);
    sendBytes(peer.get(), requestBytes(1, 3) + requestBytes(2, 5));
    ASSERT_TRUE(waitUntil([&] { return held.total() == 3; }));
    std::string flood;
    for (std::uint64_t i = 0; i < 20'000; ++i)
        flood += cancelBytes(i < 5'000 ? (i + 1) << 32 : ~i);
    std::thread sending([&] {
        for (std::string_view left = flood; !left.empty();) {
            const ssize_t count = send(peer.get(), left.data(), left.size(), MSG_NOSIGNAL);
            if (count <= 0)
                break;
            left.remove_prefix(static_cast<std::size_t>(count));
        }
        sendBytes(peer.get(), cancelBytes(1) + requestBytes(1, 7)); // two with one id, both cancelled
    });
    EXPECT_TRUE(waitUntil([&] { return held.total() == 4; }));
    sending.join();
    EXPECT_FALSE(held.cancelled().contains(1));

    cancellation->cancel();
    EXPECT_TRUE(isCancelled(resultOf(*reply).get()));
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2);
    held.answerAll();
}

TEST(Cancellation, LeavesRequestsOfOtherThreadsAlone) {
    const auto listener = listen([](ReceivedMessage *received) {
        const std::int64_t number = numberOf(received->message());
        WorkQueue::global()->after(std::chrono::microseconds(number * 37 % 3000),
                                   [kept = Ref(received)] { echo(kept.get()); });
    });
    std::atomic<int> wrong{0}, ended{0};
    const auto events = std::make_shared<std::atomic<int>>(0);
    const auto connection = connect([events](MessageValue *) { ++*events; });
    {
        std::vector<std::jthread> threads;
        for (std::int64_t thread = 0; thread < 8; ++thread)
            threads.emplace_back([&, thread] {
                const bool isCancelling = thread < 4;
                for (std::int64_t i = 0; i < 200; ++i) {
                    const std::int64_t number = i * 8 + thread;
                    const auto cancellation = isCancelling ? Cancellation::create() : nullptr;
                    if (isCancelling)
                        WorkQueue::global()->after(std::chrono::microseconds(number * 53 % 3000),
                                                   [cancellation] { cancellation->cancel(); });
                    const auto reply =
                        resultOf(*sendUnder(cancellation.get(), connection.get(), number, thread % 2 == 0));
                    if (isCancelling && isCancelled(reply.get()))
                        ++ended;
                    else if (numberOf(reply.get()) != number)
                        ++wrong;
                }
            });
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(ended, 0);
    EXPECT_EQ(*events, 0);
}
