// Peers that send more than a service can take at once: what it holds of them, and who is served next.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "RawSocket.h"
#include "Service.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

/// What a service holds: its handler keeps every message until it is told to let go of all.
class Keeper {
public:
    void operator()(ReceivedMessage *received) {
        const std::lock_guard lock(mutex);
        kept.emplace_back(received);
        most = std::max(most, kept.size());
        changed.notify_all();
    }
    /// Lets go again and again until that many messages have come; the most that were held at a time.
    std::size_t mostHeldOf(std::size_t count) {
        for (std::size_t seen = 0; seen < count;) {
            std::vector<Ref<ReceivedMessage>> released;
            std::unique_lock lock(mutex);
            if (!changed.wait_for(lock, longTime, [this] { return !kept.empty(); }))
                throw std::runtime_error("nothing came");
            // So that the listener can take all that it takes before something is released.
            changed.wait_for(lock, std::chrono::milliseconds(20), [&] { return kept.size() > count; });
            released.swap(kept);
            lock.unlock();
            seen += released.size();
        }
        return most;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Ref<ReceivedMessage>> kept;
    std::size_t most = 0;
};

Ref<MessageDictionary> withEmptyValues(std::size_t count) {
    const auto array = MessageArray::create();
    for (std::size_t i = 0; i < count; ++i)
        array->append(MessageDictionary::create().get());
    const auto message = MessageDictionary::create();
    message->set("values", array.get());
    return message;
}

Ref<MessageDictionary> withNumbers(std::size_t count) {
    const auto array = MessageArray::create();
    for (std::size_t i = 0; i < count; ++i)
        array->appendUInt64(i);
    const auto message = MessageDictionary::create();
    message->set("values", array.get());
    return message;
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

Ref<MessageDictionary> withDescriptors(std::size_t count) {
    const auto message = MessageDictionary::create();
    const UniqueFd file(open("/dev/null", O_RDONLY | O_CLOEXEC));
    for (std::size_t i = 0; i < count; ++i)
        message->setDescriptor(std::to_string(i).c_str(), file.get());
    return message;
}

} // namespace

// None of these has a body worth mentioning.
TEST(Listener, HoldsFewMessagesOfASenderWhateverTheyAreMadeOf) {
    constexpr std::size_t mebibyte = 1 << 20;
    const struct {
        const char *name;
        Ref<MessageDictionary> message;
        std::size_t sent, heldMessages, queuedBytes, bytesOfProcess, most;
    } cases[] = {
        {"empty", MessageDictionary::create(), 6000, 16, 64 * mebibyte, 64 * mebibyte, 3000},
        {"empty, and few bytes allowed", MessageDictionary::create(), 6000, 10'000, mebibyte / 2,
         64 * mebibyte, 3000},
        {"of empty values", withEmptyValues(2000), 100, 1000, 4 * mebibyte, 64 * mebibyte, 10},
        {"of numbers", withNumbers(2000), 100, 1000, 4 * mebibyte, 64 * mebibyte, 30},
        {"with descriptors", withDescriptors(8), 40, 1000, 8 * mebibyte, 64 * mebibyte, 5},
        {"and few bytes allowed to the process", withNumbers(2000), 100, 1000, 64 * mebibyte, 4 * mebibyte,
         30},
    };
    for (const auto &[name, message, sent, heldMessages, queuedBytes, bytesOfProcess, most] : cases) {
        SCOPED_TRACE(name);
        MessageListener::Options options;
        options.limits.heldMessages = heldMessages;
        options.limits.queuedBytes = queuedBytes;
        options.limits.queuedBytesOfProcess = bytesOfProcess;
        Keeper keeper;
        const auto listener = listen([&](ReceivedMessage *received) { keeper(received); }, nullptr, options);
        const auto connection = connect();
        for (std::size_t i = 0; i < sent; ++i)
            connection->send(message.get());
        EXPECT_LE(keeper.mostHeldOf(sent), most);
        listener->cancel();
    }
}

// Requests that were begun may still be answered, but not without end.
TEST(Listener, EndsTheConnectionOfAPeerThatLeavesFarTooMuchUnread) {
    constexpr std::size_t requests = 64, answerBytes = 100'000;
    MessageListener::Options options;
    options.limits.unreadBytes = 1 << 20;
    std::mutex mutex;
    std::vector<Ref<ReceivedMessage>> kept;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            const std::lock_guard lock(mutex);
            kept.emplace_back(received);
        },
        nullptr, options);
    const UniqueFd deaf = ServiceSocket(serviceName).connect();
    MessageEncoder request;
    ASSERT_EQ(request.encode(FrameKind::request, 1, numbered(1).get()), nullptr);
    for (std::size_t i = 0; i < requests; ++i)
        ASSERT_GT(send(deaf.get(), request.gathered().data(), request.gathered().size(), MSG_NOSIGNAL), 0);
    ASSERT_TRUE(waitUntil([&] {
        const std::lock_guard lock(mutex);
        return kept.size() == requests;
    }));
    const auto answer = MessageDictionary::create();
    answer->setData("bytes", std::string(answerBytes, 'b').data(), answerBytes);
    for (const auto &each : kept)
        each->reply(answer.get());
    kept.clear();
    std::size_t read = 0;
    std::string piece(answerBytes, 0);
    for (ssize_t count = 1; count > 0 && read < requests * answerBytes;) {
        count = recv(deaf.get(), piece.data(), piece.size(), 0);
        read += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    EXPECT_LT(read, requests * answerBytes / 2);
}

// A small message keeps all of the buffer that it came in.
TEST(Listener, ChargesTheBufferOfAMessageThatIsKept) {
    constexpr std::size_t inBuffer = 15, buffers = 200;
    MessageListener::Options options;
    options.limits.heldMessages = 10'000;
    options.limits.queuedBytes = 1 << 20;
    Keeper keeper;
    std::size_t come = 0;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            if (++come % inBuffer == 0)
                keeper(received);
        },
        nullptr, options);
    const auto connection = connect();
    const auto message = MessageDictionary::create();
    message->setData("bytes", std::string(2'048, 'x').data(), 2'048);
    for (std::size_t i = 0; i < inBuffer * buffers; ++i)
        connection->send(message.get());
    EXPECT_LE(keeper.mostHeldOf(buffers), 60U);
    listener->cancel();
}

// All there before any of them is handled.
TEST(Listener, HandsOutOneCostlyMessageAtATimeWhereTwoAreAboveTheShare) {
    constexpr std::size_t connections = 6;
    const auto withData = [](const char *key, std::size_t length) {
        const auto message = MessageDictionary::create();
        message->setData(key, std::string(length, 'x').data(), length);
        return message;
    };
    const struct {
        const char *name;
        Ref<MessageDictionary> message;
    } cases[] = {{"a short frame of many values", withEmptyValues(900)},
                 {"a list that is large when it is read", withData("list", 30'000)},
                 {"a list that is above the share", withData("list", 60'000)},
                 {"bytes above the share", withData("bytes", 1'500'000)}};
    for (const auto &[name, message] : cases) {
        SCOPED_TRACE(name);
        MessageListener::Options options{
            .idle = {}, .weight = [](std::string_view key) { return key == "list" ? 24U : 0U; }};
        options.limits.queuedBytes = 1 << 20;
        Keeper keeper;
        const auto listener = listen([&](ReceivedMessage *received) { keeper(received); }, nullptr, options);
        std::vector<Ref<MessageConnection>> senders;
        for (std::size_t i = 0; i < connections; ++i) {
            senders.push_back(connect());
            senders.back()->send(message.get());
            senders.back()->send(withEmptyValues(1).get());
        }
        // The short one behind it waits for its turn too.
        EXPECT_LE(keeper.mostHeldOf(2 * connections), 1 + connections);
        listener->cancel();
    }
}

TEST(Listener, RefusesAMessageWhoseValuesAreAboveTheShareByThemselves) {
    MessageListener::Options options;
    options.limits.queuedBytes = 1 << 20;
    std::atomic<int> handled{0};
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            ++handled;
            echo(received);
        },
        nullptr, options);
    const auto interruptions = std::make_shared<std::atomic<int>>(0); // the handler may outlive the test
    const auto connection = connect([interruptions](MessageValue *) { ++*interruptions; });
    const auto tooMany = withEmptyValues(2000);
    const auto manyKeys = MessageDictionary::create();
    for (int i = 0; i < 1025; ++i)
        manyKeys->setBool(std::to_string(i).c_str(), true);
    for (int i = 0; i < 20; ++i) { // what it reserved is free again
        const auto reply = connection->sendWithReplySync(i == 0 ? manyKeys.get() : tooMany.get());
        const auto *error = as<MessageError>(reply.get());
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->text(), "The message has more values than the service takes at once.");
    }
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    EXPECT_EQ(handled, 1);
    // Without a reply the end of the connection says so.
    EXPECT_EQ(*interruptions, 0);
    connection->send(tooMany.get());
    EXPECT_TRUE(waitUntil([&] { return *interruptions != 0; }));
    connection->cancel();
    listener->cancel();
}

// What begins a message and never ends it.
TEST(Listener, ReceivesFewDescriptorsOfMessagesThatAreNotWhole) {
    MessageListener::Options options;
    options.limits.begunDescriptors = 20;
    const auto listener = listen(
        [](ReceivedMessage *received) { received->reply(numbered(numberOf(received->message())).get()); },
        nullptr, options);
    const auto good = connect();
    EXPECT_EQ(numberOf(good->sendWithReplySync(numbered(1).get()).get()), 1);
    const int passed[8] = {STDIN_FILENO, STDIN_FILENO, STDIN_FILENO, STDIN_FILENO,
                           STDIN_FILENO, STDIN_FILENO, STDIN_FILENO, STDIN_FILENO};
    MessageEncoder whole;
    ASSERT_EQ(whole.encode(FrameKind::request, 1, withDescriptors(8).get()), nullptr);
    const std::size_t before = openDescriptors();
    constexpr std::size_t peers = 30;
    std::vector<UniqueFd> raw;
    for (std::size_t i = 0; i < peers; ++i) {
        raw.push_back(ServiceSocket(serviceName).connect());
        sendBytes(raw.back().get(), whole.gathered().substr(0, 20), passed);
        // Each has its turn before the next.
        EXPECT_EQ(numberOf(good->sendWithReplySync(numbered(2).get()).get()), 2);
    }
    const std::size_t ofConnections = 3 * peers; // two sockets, and the process of the peer
    EXPECT_LE(openDescriptors(), before + ofConnections + 24);
    std::atomic<bool> isAnswered{false};
    good->sendWithReply(withDescriptors(1).get(), nullptr, [&](MessageValue *reply) {
        EXPECT_EQ(reply->kind(), MessageKind::dictionary);
        isAnswered = true;
    });
    // The rest of those that were begun is read, and lets the others in.
    for (const UniqueFd &each : raw)
        sendBytes(each.get(), whole.gathered().substr(20));
    EXPECT_TRUE(waitUntil([&] { return isAnswered.load(); }));
    for (const UniqueFd &each : raw) {
        pollfd answer{.fd = each.get(), .events = POLLIN, .revents = 0};
        EXPECT_EQ(poll(&answer, 1, 60'000), 1);
    }
    listener->cancel();
}

TEST(Listener, TakesAShortRequestBesideASenderThatHasFilledTheShareOfItsUser) {
    MessageListener::Options options;
    options.limits.queuedBytes = 256 * 1024;
    std::mutex mutex;
    std::vector<Ref<ReceivedMessage>> kept;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            if (received->wantsReply())
                return received->reply(received->message());
            const std::lock_guard lock(mutex);
            kept.emplace_back(received);
        },
        nullptr, options);
    const auto flooding = connect();
    const auto large = MessageDictionary::create();
    large->setData("bytes", std::string(200 * 1024, 'x').data(), 200 * 1024);
    for (int i = 0; i < 4; ++i)
        flooding->send(large.get());
    const auto other = connect();
    ASSERT_TRUE(waitUntil([&] {
        const std::lock_guard lock(mutex);
        return !kept.empty();
    }));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(numberOf(other->sendWithReplySync(numbered(i).get()).get()), i);
    const std::lock_guard lock(mutex);
    EXPECT_EQ(kept.size(), 1U) << "the share holds no two";
    kept.clear();
}

TEST(Listener, ServesAFewPeersOfAProcessAtATime) {
    MessageListener::Options options{.idle = {}, .ordersEachPeer = true};
    options.limits.turns = 3;
    options.limits.turnsOfProcess = 2;
    std::mutex mutex;
    std::condition_variable changed;
    int running = 0, most = 0, handled = 0;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            std::unique_lock lock(mutex);
            most = std::max(most, ++running);
            // Long enough for a third to come, were it let in.
            changed.wait_for(lock, std::chrono::milliseconds(20), [&] { return running > 2; });
            --running;
            ++handled;
            lock.unlock();
            received->reply(received->message());
        },
        WorkQueue::global(), options);
    constexpr int peers = 8, requests = 3;
    std::vector<Ref<MessageConnection>> connections;
    std::atomic<int> replies{0};
    for (int i = 0; i < peers; ++i)
        connections.push_back(connect());
    for (int i = 0; i < requests; ++i)
        for (const auto &connection : connections)
            connection->sendWithReply(numbered(i).get(), nullptr, [&](MessageValue *) { ++replies; });
    EXPECT_TRUE(waitUntil([&] { return replies == peers * requests; }));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(handled, peers * requests);
    EXPECT_EQ(most, 2);
}

TEST(Listener, LetsAPeerThatReadsNothingWaitForItsTurn) {
    constexpr int requests = 200;
    for (const bool isGone : {false, true}) {
        SCOPED_TRACE(isGone ? "and goes away" : "and reads at last");
        MessageListener::Options options{.idle = {}, .ordersEachPeer = true};
        options.limits.queuedBytes = 1 << 20;
        options.limits.unreadBytesOfProcess = 16 << 20;
        std::atomic<int> handled{0};
        std::atomic<int> postponed{0}, ran{0};
        const auto listener = listen(
            [&](ReceivedMessage *received) {
                ++handled;
                const std::string bytes(100'000, 'b');
                auto answer = MessageDictionary::create();
                answer->setData("bytes", bytes.data(), bytes.size());
                received->reply(answer.get());
                if (received->peer()->postponeUntilRead([&ran] { ++ran; }))
                    ++postponed;
            },
            WorkQueue::global(), options);
        UniqueFd deaf = ServiceSocket(serviceName).connect();
        MessageEncoder request;
        ASSERT_EQ(request.encode(FrameKind::request, 1, numbered(1).get()), nullptr);
        // At once, so that they are read at once: what is not read before the peer goes away is lost.
        std::string all;
        for (int i = 0; i < requests; ++i)
            all += request.gathered();
        ASSERT_EQ(send(deaf.get(), all.data(), all.size(), MSG_NOSIGNAL), static_cast<ssize_t>(all.size()));
        ASSERT_TRUE(waitUntil([&] { return postponed != 0; }));
        EXPECT_EQ(ran, 0);
        const auto other = connect();
        EXPECT_EQ(other->sendWithReplySync(numbered(1).get())->kind(), MessageKind::dictionary);
        EXPECT_LT(handled, 50) << "ten answers are the limit";
        if (isGone) {
            deaf.reset();
        } else {
            shutdown(deaf.get(), SHUT_WR);
            std::string answers;
            EXPECT_TRUE(readToEnd(deaf.get(), answers));
        }
        EXPECT_TRUE(waitUntil([&] { return handled == requests + 1; })) << "what was sent is handled";
        EXPECT_TRUE(waitUntil([&] { return ran == postponed; }));
        listener->cancel();
    }
}

// What memory is sent stays in the socket, unseen by those who count bytes, until it is read.
TEST(Listener, CountsMemoryThatWasSentUntilItIsRead) {
    constexpr std::size_t memoryBytes = 1 << 20, requests = 12, atMost = 4;
    MessageListener::Options options{.idle = {}, .ordersEachPeer = true};
    options.limits.queuedBytes = 3 * memoryBytes;
    options.limits.unreadBytesOfProcess = requests * memoryBytes;
    std::atomic<std::size_t> handled{0};
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            const auto memory = SharedMemory::create(memoryBytes);
            EXPECT_TRUE(memory->seal());
            auto answer = MessageDictionary::create();
            answer->set("memory", MessageSharedMemory::create(memory.get()).get());
            ++handled;
            received->reply(answer.get());
        },
        WorkQueue::global(), options);
    const UniqueFd deaf = ServiceSocket(serviceName).connect();
    MessageEncoder request;
    ASSERT_EQ(request.encode(FrameKind::request, 1, numbered(1).get()), nullptr);
    for (std::size_t i = 0; i < requests; ++i)
        sendBytes(deaf.get(), request.gathered());
    ASSERT_TRUE(waitUntil([&] { return handled >= 3; }));
    const auto other = connect();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(other->sendWithReplySync(numbered(1).get())->kind(), MessageKind::dictionary);
    EXPECT_LE(handled, atMost + 3);
    EXPECT_TRUE(waitUntil([&] {
        char piece[4096];
        static_cast<void>(recv(deaf.get(), piece, sizeof piece, MSG_DONTWAIT));
        return handled == requests + 3;
    }));
    listener->cancel();
}

// Each has read all, but for one answer: many connections of a process count as one.
TEST(Listener, HoldsAProcessBackThatLeavesUnreadOnManyConnections) {
    constexpr std::size_t peers = 40, answerBytes = 2'000'000; // of which a socket takes a part
    for (const bool waitsLong : {true, false}) {
        MessageListener::Options options{.idle = {}, .ordersEachPeer = true};
        options.limits.queuedBytes = options.limits.unreadBytesOfProcess = 8'000'000;
        options.limits.stalledMessage = waitsLong ? std::chrono::minutes(10) : std::chrono::milliseconds(50);
        std::atomic<std::size_t> handled{0};
        const auto listener = listen(
            [&](ReceivedMessage *received) {
                ++handled;
                auto answer = MessageDictionary::create();
                answer->setData("bytes", std::string(answerBytes, 'b').data(), answerBytes);
                received->reply(answer.get());
            },
            WorkQueue::global(), options);
        MessageEncoder request;
        ASSERT_EQ(request.encode(FrameKind::request, 1, numbered(1).get()), nullptr);
        std::vector<UniqueFd> deaf;
        for (std::size_t i = 0; i < peers; ++i) {
            deaf.push_back(ServiceSocket(serviceName).connect());
            sendBytes(deaf.back().get(), request.gathered());
        }
        if (waitsLong) {
            EXPECT_TRUE(waitUntil([&] { return handled >= 4; }));
            std::this_thread::sleep_for(std::chrono::milliseconds(20)); // for more, were they let in
            EXPECT_LE(handled, 20U);
            deaf.clear();
        }
        // Those who read nothing for long lose their connections, and the others have their turn.
        EXPECT_TRUE(waitUntil([&] { return handled == peers; }));
        listener->cancel();
    }
}
