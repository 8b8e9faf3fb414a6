#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "RawSocket.h"
#include "Service.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"
#include "wickerlane/platform/process/ProcessTransaction.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

// Collects what handlers get, and lets a test wait for a number of them.
class Collected {
public:
    Handler<void(MessageValue *)> handler() {
        return [this](MessageValue *value) {
            const std::lock_guard lock(mutex);
            values.emplace_back(value);
            changed.notify_all();
        };
    }
    std::vector<Ref<MessageValue>> wait(std::size_t count) {
        std::unique_lock lock(mutex);
        EXPECT_TRUE(changed.wait_for(lock, longTime, [&] { return values.size() >= count; }));
        return values;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Ref<MessageValue>> values;
};

void waitForBarrier(MessageConnection *connection) {
    std::promise<void> passed;
    connection->sendBarrier([&] { passed.set_value(); });
    resultOf(passed);
}

} // namespace

TEST(Connection, KeepsTheOrderWhateverTheModeOfSending) {
    const auto queue = WorkQueue::create("service");
    std::vector<std::int64_t> arrived;
    for (WorkQueue *used : {static_cast<WorkQueue *>(nullptr), queue.get()}) {
        arrived.clear();
        auto listener = listen(
            [&](ReceivedMessage *received) {
                arrived.push_back(numberOf(received->message()));
                echo(received);
            },
            used);
        const auto connection = connect();
        Collected replies;
        constexpr std::int64_t count = 3000;
        std::size_t asynchronous = 0;
        for (std::int64_t i = 0; i < count; ++i) {
            const auto message = numbered(i);
            if (i % 50 == 49) {
                ASSERT_EQ(numberOf(connection->sendWithReplySync(message.get()).get()), i);
            } else if (i % 3 == 0) {
                connection->send(message.get());
            } else {
                connection->sendWithReply(message.get(), nullptr, replies.handler());
                ++asynchronous;
            }
        }
        const auto last = connection->sendWithReplySync(numbered(count).get());
        ASSERT_EQ(numberOf(last.get()), count);
        std::set<std::int64_t> numbers;
        for (const auto &reply : replies.wait(asynchronous))
            numbers.insert(numberOf(reply.get()));
        EXPECT_EQ(numbers.size(), asynchronous) << "each reply came once";
        ASSERT_EQ(arrived.size(), static_cast<std::size_t>(count + 1));
        for (std::int64_t i = 0; i <= count; ++i)
            ASSERT_EQ(arrived[static_cast<std::size_t>(i)], i);
        listener->cancel();
    }
}

TEST(Connection, ServesManyThreadsAtOnce) {
    const auto listener = listen(echo, WorkQueue::global());
    const auto connection = connect();
    Collected replies;
    constexpr int threads = 8;
    constexpr int each = 300;
    std::atomic<int> wrong{0};
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t)
        running.emplace_back([&, t] {
            for (int i = 0; i < each; ++i) {
                const int number = t * each + i;
                if (i % 2 == 0)
                    connection->sendWithReply(numbered(number).get(), nullptr, replies.handler());
                else if (numberOf(connection->sendWithReplySync(numbered(number).get()).get()) != number)
                    ++wrong;
            }
        });
    for (auto &thread : running)
        thread.join();
    EXPECT_EQ(wrong, 0);
    std::set<std::int64_t> numbers;
    for (const auto &reply : replies.wait(threads * each / 2))
        numbers.insert(numberOf(reply.get()));
    EXPECT_EQ(numbers.size(), static_cast<std::size_t>(threads * each / 2));
}

TEST(Connection, CarriesLargeDataAndDescriptorsBothWays) {
    const auto listener = listen(echo);
    const auto connection = connect();
    std::string bytes(5'000'000, 0);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 31 >> 3);
    const auto memory = SharedMemory::create(100);
    static_cast<char *>(memory->writableBytes())[99] = 'z';
    ASSERT_TRUE(memory->seal());
    auto message = MessageDictionary::create();
    message->set("data", MessageData::createWithRegion(bytes.data(), bytes.size(), nullptr, {}).get());
    message->set("memory", MessageSharedMemory::create(memory.get()).get());
    message->setDescriptor("file", memory->descriptor());
    for (int i = 0; i < 3; ++i) {
        const auto reply = connection->sendWithReplySync(message.get());
        ASSERT_TRUE(reply->isEqual(message.get()));
        const UniqueFd file(as<MessageDictionary>(reply.get())->duplicateDescriptor("file"));
        char last = 0;
        EXPECT_EQ(pread(file.get(), &last, 1, 99), 1);
        EXPECT_EQ(last, 'z');
        EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    }
}

TEST(Connection, GetsTheBytesOfALentFileAsItsOwn) {
    const std::string path = rootPath() + "/lent";
    std::ofstream(path) << std::string(300'000, 'l');
    const auto listener = listen([&](ReceivedMessage *received) {
        auto answer = MessageDictionary::create();
        answer->set("data", MessageData::createWithFile(openFile(path, O_RDONLY), 300'000).get());
        received->reply(answer.get());
    });
    const auto reply = connect()->sendWithReplySync(numbered(1).get());
    std::ofstream(path) << "written over";
    const auto *dictionary = as<MessageDictionary>(reply.get());
    ASSERT_NE(dictionary, nullptr) << reply->description()->utf8();
    EXPECT_EQ(dictionary->getData("data").size(), 300'000U);
    EXPECT_EQ(dictionary->getData("data").back(), std::byte{'l'});
}

TEST(Connection, KeepsWhatIsSentBeforeItIsResumed) {
    std::promise<std::int64_t> first;
    const auto listener =
        listen([&](ReceivedMessage *received) { first.set_value(numberOf(received->message())); });
    const auto connection = MessageConnection::create(serviceName, nullptr);
    connection->send(numbered(1).get());
    connection->resume();
    EXPECT_EQ(resultOf(first), 1);
    EXPECT_EQ(MessageConnection::create(serviceName, nullptr, 1), nullptr) << "there are no flags";
}

TEST(Connection, RunsABarrierOnlyWhenAllThatWasSentBeforeHasLeft) {
    const UniqueFd listening = ServiceSocket(serviceName).listen();
    ASSERT_TRUE(listening);
    const auto queue = WorkQueue::create("target"); // what was submitted to it has run after sync()
    const auto connection = MessageConnection::create(serviceName, queue.get());
    const std::string bytes(8'000'000, 'x'); // more than a socket takes at once
    auto message = MessageDictionary::create();
    message->setData("data", bytes.data(), bytes.size());
    connection->send(message.get());
    std::atomic<bool> hasPassed{false};
    std::promise<void> passed;
    connection->sendBarrier([&] {
        hasPassed = true;
        passed.set_value();
    });
    queue->sync([] {});
    EXPECT_FALSE(hasPassed) << "while the connection is suspended";

    connection->resume();
    const UniqueFd client(accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
    MessageEncoder hello;
    hello.encodeHello({}); // so that the client sends its message first
    ASSERT_EQ(::send(client.get(), hello.gathered().data(), hello.gathered().size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(hello.gathered().size()));
    pollfd readable{.fd = client.get(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(poll(&readable, 1, 60'000), 1);
    queue->sync([] {});
    EXPECT_FALSE(hasPassed) << "while the service does not read";

    std::thread reading([&] {
        std::string all;
        readToEnd(client.get(), all);
        EXPECT_GT(all.size(), bytes.size());
    });
    resultOf(passed);
    connection->cancel();
    reading.join();
}

TEST(Connection, IsInvalidForGoodWithoutADescriptionOfTheService) {
    Collected events;
    const auto connection = connect(events.handler(), "org.wickerlane.test.Missing");
    MessageError *const invalid = MessageError::connectionInvalid();
    EXPECT_EQ(connection->sendWithReplySync(numbered(1).get()).get(), invalid);
    Collected replies;
    connection->sendWithReply(numbered(1).get(), nullptr, replies.handler());
    EXPECT_EQ(replies.wait(1)[0].get(), invalid);
    EXPECT_EQ(events.wait(1)[0].get(), invalid);
    waitForBarrier(connection.get());
    const auto listener = listen(echo, nullptr, {}, "org.wickerlane.test.Missing");
    EXPECT_EQ(connection->sendWithReplySync(numbered(1).get()).get(), invalid);
    EXPECT_STREQ(connection->serviceName(), "org.wickerlane.test.Missing");
}

TEST(Connection, FailsWhatIsPendingWhenThePeerGoesAwayAndThenReconnects) {
    std::promise<void> arrived;
    std::vector<Ref<ReceivedMessage>> kept;
    auto listener = listen([&](ReceivedMessage *received) {
        kept.emplace_back(received);
        if (kept.size() == 2)
            arrived.set_value();
    });
    Collected events;
    Collected replies;
    const auto connection = connect(events.handler());
    connection->sendWithReply(numbered(1).get(), nullptr, replies.handler());
    auto waiting =
        std::async(std::launch::async, [&] { return connection->sendWithReplySync(numbered(2).get()); });
    resultOf(arrived);
    listener->cancel();
    MessageError *const interrupted = MessageError::connectionInterrupted();
    EXPECT_EQ(waiting.get().get(), interrupted);
    EXPECT_EQ(replies.wait(1)[0].get(), interrupted);
    EXPECT_EQ(events.wait(1)[0].get(), interrupted);
    kept.clear();
    listener = listen(echo);
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(3).get()).get()), 3);
    EXPECT_EQ(events.wait(1).size(), 1U);
    EXPECT_EQ(replies.wait(1).size(), 1U);
}

TEST(Connection, IsServedInOrderByAListenerThatOrdersEachPeer) {
    constexpr std::int64_t count = 500;
    std::vector<std::int64_t> handled; // by one item of one queue at a time
    std::promise<void> otherIsServed;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            const std::int64_t number = numberOf(received->message());
            if (number < 0)
                return received->reply(received->message());
            if (handled.empty())
                resultOf(otherIsServed); // others are served meanwhile
            handled.push_back(number);
            received->reply(received->message());
        },
        WorkQueue::global(), {.idle = {}, .ordersEachPeer = true});
    const auto connection = connect(), other = connect();
    for (std::int64_t number = 0; number < count; ++number)
        connection->send(numbered(number).get());
    EXPECT_EQ(numberOf(other->sendWithReplySync(numbered(-1).get()).get()), -1);
    otherIsServed.set_value();
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(count).get()).get()), count);
    EXPECT_EQ(handled.size(), static_cast<std::size_t>(count) + 1);
    EXPECT_TRUE(std::ranges::is_sorted(handled));
}

TEST(Connection, GetsAnAnswerWhileTheNextRequestIsStillBeingHandled) {
    std::promise<void> firstIsThere;
    auto first = firstIsThere.get_future();
    const auto queue = WorkQueue::create("service");
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            if (numberOf(received->message()) == 2 && first.wait_for(longTime) != std::future_status::ready)
                ADD_FAILURE() << "the first answer is held up";
            echo(received);
        },
        queue.get());
    const auto connection = MessageConnection::create(serviceName, nullptr);
    connection->sendWithReply(numbered(1).get(), nullptr, [&](MessageValue *) { firstIsThere.set_value(); });
    Collected replies;
    connection->sendWithReply(numbered(2).get(), nullptr, replies.handler());
    connection->resume(); // the two requests leave together
    EXPECT_EQ(numberOf(replies.wait(1)[0].get()), 2);
}

TEST(Connection, NoticesThatAnIdlePeerWentAway) {
    auto listener = listen(echo);
    Collected events;
    const auto connection = connect(events.handler());
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    listener->cancel();
    EXPECT_EQ(events.wait(1)[0].get(), MessageError::connectionInterrupted());
}

TEST(Connection, EndsForGoodWhenCancelled) {
    std::vector<Ref<ReceivedMessage>> kept;
    std::promise<void> arrived;
    const auto listener = listen([&](ReceivedMessage *received) {
        kept.emplace_back(received);
        if (kept.size() == 2)
            arrived.set_value();
    });
    Collected events;
    Collected replies;
    const auto connection = connect(events.handler());
    connection->sendWithReply(numbered(1).get(), nullptr, replies.handler());
    auto waiting =
        std::async(std::launch::async, [&] { return connection->sendWithReplySync(numbered(2).get()); });
    resultOf(arrived);
    connection->cancel();
    connection->cancel();
    MessageError *const invalid = MessageError::connectionInvalid();
    EXPECT_EQ(waiting.get().get(), invalid);
    EXPECT_EQ(replies.wait(1)[0].get(), invalid);
    EXPECT_EQ(events.wait(1)[0].get(), invalid);
    connection->send(numbered(3).get());
    EXPECT_EQ(connection->sendWithReplySync(numbered(3).get()).get(), invalid);
    waitForBarrier(connection.get());
    EXPECT_EQ(events.wait(1).size(), 1U);
    listener->cancel();
    kept.clear();
}

TEST(Connection, MayBeReleasedAndCancelledInItsOwnHandlers) {
    const auto listener = listen(echo);
    for (int i = 0; i < 50; ++i) {
        auto connection = connect();
        std::promise<void> replied;
        MessageConnection *const handle = connection.get();
        handle->sendWithReply(numbered(i).get(), nullptr,
                              [&, connection = std::move(connection)](MessageValue *) mutable {
                                  if (i % 2 == 0)
                                      connection->cancel();
                                  connection = nullptr;
                                  replied.set_value();
                              });
        resultOf(replied);
    }
}

TEST(Connection, LetsWhatWasSentLeaveAfterTheLastRelease) {
    constexpr int count = 300;
    std::promise<void> all;
    int arrived = 0;
    const auto listener = listen([&](ReceivedMessage *) {
        if (++arrived == count)
            all.set_value();
    });
    const std::string bytes(20'000, 'x');
    auto connection = connect();
    for (int i = 0; i < count; ++i) {
        auto message = numbered(i);
        message->setData("data", bytes.data(), bytes.size());
        connection->send(message.get());
    }
    connection = nullptr;
    resultOf(all);
}

TEST(Connection, ClosesItselfWhenIdleUnseen) {
    std::promise<void> gone;
    Ref<MessagePeer> peer;
    MessageListener::Options options;
    options.idleTime = std::chrono::milliseconds(1);
    options.idle = [&] { gone.set_value(); };
    beginProcessTransaction(); // until the client has been there
    const auto listener = listen(echo, nullptr, options);
    Collected events;
    const auto connection = connect(events.handler());
    connection->setIdleTime(std::chrono::milliseconds(1));
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    endProcessTransaction();
    // The service ends only when it has no connection.
    resultOf(gone);
    const auto next = listen(echo);
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2);
    waitForBarrier(connection.get());
    connection->cancel();
    EXPECT_EQ(events.wait(1)[0].get(), MessageError::connectionInvalid()) << "the first event there is";
}

TEST(Connection, ReportsWhatCannotBeSentToTheOneWhoSentIt) {
    const auto listener = listen(echo);
    const auto connection = connect();
    auto message = MessageDictionary::create();
    for (int i = 0; i < 9; ++i)
        message->setDescriptor(std::to_string(i).c_str(), STDIN_FILENO);
    const auto reply = connection->sendWithReplySync(message.get());
    ASSERT_EQ(reply->kind(), MessageKind::error);
    EXPECT_EQ(static_cast<MessageError *>(reply.get())->text(), "The message holds too many descriptors.");
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1)
        << "the connection goes on";
}

TEST(Connection, HandsOnMessagesOfTheServiceItself) {
    const auto listener = listen([](ReceivedMessage *received) {
        received->peer()->send(numbered(5).get());
        echo(received);
    });
    Collected events;
    const auto connection = connect(events.handler());
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    EXPECT_EQ(numberOf(events.wait(1)[0].get()), 5);
}
