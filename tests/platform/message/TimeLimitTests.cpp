// Requests that have only so long to be answered.
#include <set>
#include <thread>

#include "Holding.h"
#include "Service.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/message/connection/ReplyTimeLimit.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"

using namespace wickerlane;
using namespace wickerlane::test;
using namespace std::chrono_literals;

namespace {

bool isLate(MessageValue *value) {
    const auto *error = as<MessageError>(value);
    return error != nullptr && error->errorKind() == 14 &&
           error->text().find("Ask again") != std::string::npos;
}

Ref<MessageValue> awaitReply(MessageConnection *connection, MessageDictionary *message) {
    std::promise<Ref<MessageValue>> reply;
    connection->sendWithReply(message, nullptr, [&](MessageValue *value) { reply.set_value(value); });
    return resultOf(reply);
}

} // namespace

TEST(TimeLimit, EndsLateRequestsAndDropsTheirReplies) {
    struct Case {
        const char *name;
        std::chrono::nanoseconds ofConnection;
        std::optional<std::chrono::nanoseconds> ofThread;
        bool isAwaited;
    };
    for (const Case &each :
         {Case{"connection, sync", 20ms, {}, true}, Case{"thread, sync", 0ns, 20ms, true},
          Case{"thread over connection, sync", 1h, 20ms, true}, Case{"connection, async", 20ms, {}, false},
          Case{"thread, async", 0ns, 20ms, false}}) {
        Holding held;
        std::atomic<int> events{0};
        const auto listener = listen([&](ReceivedMessage *received) { held.take(received); });
        const auto connection = connect([&](MessageValue *) { ++events; });
        // Without a limit: what it takes to connect must not count on a slow machine.
        ASSERT_EQ(numberOf(connection->sendWithReplySync(numbered(0).get()).get()), 0);
        connection->setReplyTimeLimit(each.ofConnection);
        {
            std::optional<ReplyTimeLimit> limit;
            if (each.ofThread)
                limit.emplace(*each.ofThread);
            for (const std::int64_t number : {1, 3, 5}) {
                const auto ask = numbered(number);
                const auto reply = each.isAwaited ? connection->sendWithReplySync(ask.get())
                                                  : awaitReply(connection.get(), ask.get());
                EXPECT_TRUE(isLate(reply.get())) << each.name;
            }
        }
        connection->setReplyTimeLimit(0ns);
        EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2) << each.name;
        EXPECT_TRUE(waitUntil([&] {
            return held.cancelled() == std::set<std::int64_t>{1, 3, 5};
        })) << each.name
            << ": the service learns of it";
        held.answerAll();
        EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(4).get()).get()), 4) << each.name;
        EXPECT_EQ(numberOf(awaitReply(connection.get(), numbered(6).get()).get()), 6) << each.name;
        EXPECT_EQ(events, 0) << each.name;
    }
}

TEST(TimeLimit, OfTheThreadCanLiftThatOfTheConnection) {
    Holding held;
    const auto listener = listen([&](ReceivedMessage *received) { held.take(received); });
    const auto connection = connect();
    ASSERT_EQ(numberOf(connection->sendWithReplySync(numbered(0).get()).get()), 0);
    connection->setReplyTimeLimit(1ms);
    std::jthread answering([&] {
        EXPECT_TRUE(waitUntil([&] { return held.total() != 0; }));
        std::this_thread::sleep_for(20ms);
        held.answerAll();
    });
    const ReplyTimeLimit none(0ns);
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
}

TEST(TimeLimit, HoldsWhileTheServiceNeitherGreetsNorReads) {
    ServiceSocket place(serviceName);
    const UniqueFd lock = place.lock();
    const UniqueFd listening = place.listen();
    ASSERT_TRUE(listening);
    const auto connection = connect();
    connection->setReplyTimeLimit(20ms);
    EXPECT_TRUE(isLate(connection->sendWithReplySync(numbered(1).get()).get()));
    EXPECT_TRUE(isLate(awaitReply(connection.get(), numbered(2).get()).get()));
    EXPECT_TRUE(isLate(connection->sendWithReplySync(numbered(3).get()).get()));
}

// More than a socket takes, to a service that is busy with the first message.
TEST(TimeLimit, HoldsWhileTheSocketIsFull) {
    std::promise<void> mayGoOn;
    std::shared_future<void> goOn = mayGoOn.get_future().share();
    const auto queue = WorkQueue::create("service");
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            if (numberOf(received->message()) == 1)
                goOn.wait();
            echo(received);
        },
        queue.get());
    const auto connection = connect();
    ASSERT_EQ(numberOf(connection->sendWithReplySync(numbered(0).get()).get()), 0);
    {
        const ReplyTimeLimit limit(20ms);
        const std::string text(1 << 20, 'x');
        for (std::int64_t number = 1; number < 40; ++number) {
            const auto large = numbered(number);
            large->setString("text", text);
            const auto reply = connection->sendWithReplySync(large.get());
            ASSERT_EQ(reply->kind(), MessageKind::error) << number;
        }
    }
    mayGoOn.set_value();
    // The connection may have been given up for what waited.
    Ref<MessageValue> reply = connection->sendWithReplySync(numbered(50).get());
    if (reply == MessageError::connectionInterrupted())
        reply = connection->sendWithReplySync(numbered(50).get());
    EXPECT_EQ(numberOf(reply.get()), 50);
}

// A thread that stops reading because it is late lets another read.
TEST(TimeLimit, LeavesRequestsOfOtherThreadsAlone) {
    const auto listener = listen([](ReceivedMessage *received) {
        const std::int64_t number = numberOf(received->message());
        WorkQueue::global()->after(std::chrono::microseconds(number * 37 % 3000),
                                   [kept = Ref(received)] { echo(kept.get()); });
    });
    std::atomic<int> events{0};
    const auto connection = connect([&](MessageValue *) { ++events; });
    ASSERT_EQ(numberOf(connection->sendWithReplySync(numbered(0).get()).get()), 0);
    std::atomic<int> wrong{0};
    std::atomic<int> late{0};
    {
        std::vector<std::jthread> threads;
        for (std::int64_t thread = 0; thread < 8; ++thread)
            threads.emplace_back([&, thread] {
                for (std::int64_t i = 0; i < 300; ++i) {
                    const std::int64_t number = i * 8 + thread;
                    const bool isLimited = thread < 4;
                    std::optional<ReplyTimeLimit> limit;
                    if (isLimited)
                        limit.emplace(std::chrono::microseconds(1500));
                    const auto message = numbered(number);
                    const auto reply = thread % 2 == 0 ? connection->sendWithReplySync(message.get())
                                                       : awaitReply(connection.get(), message.get());
                    if (isLimited && isLate(reply.get()))
                        ++late;
                    else if (numberOf(reply.get()) != number)
                        ++wrong;
                }
            });
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(late, 0);
    EXPECT_EQ(events, 0);
}
