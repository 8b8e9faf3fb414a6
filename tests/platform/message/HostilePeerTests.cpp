// Peers that break the rules: they harm only themselves.
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <thread>

#include "Codec.h"
#include "RawSocket.h"
#include "Service.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

std::string bytesOf(const FrameHeader &header) {
    return {reinterpret_cast<const char *>(&header), sizeof header};
}

std::string requestBytes(std::uint64_t id = 1) {
    MessageEncoder encoder;
    EXPECT_EQ(encoder.encode(FrameKind::request, id, numbered(1).get()), nullptr);
    return std::string(encoder.gathered());
}

} // namespace

TEST(Listener, EndsTheConnectionOfAPeerThatSendsGarbageAndServesTheOthers) {
    const auto listener = listen(echo);
    const auto good = connect();
    ASSERT_EQ(numberOf(good->sendWithReplySync(numbered(1).get()).get()), 1);
    constexpr auto mark = FrameHeader::expectedMark;
    const auto withHeader = [](std::uint32_t length, std::uint16_t m, FrameKind kind,
                               std::uint8_t descriptors) {
        return bytesOf({length, m, kind, descriptors, 1});
    };
    const int null = STDIN_FILENO;
    const int many[9] = {};
    const struct {
        const char *name;
        std::string bytes;
        std::span<const int> descriptors;
    } cases[] = {
        {"noise", std::string(1000, 'n'), {}},
        {"a wrong mark", withHeader(4, 7, FrameKind::request, 0) + std::string(4, 0), {}},
        {"a message too long", withHeader(0xFFFFFFFF, mark, FrameKind::request, 0), {}},
        {"a kind of the listener's", withHeader(4, mark, FrameKind::reply, 0) + std::string(4, 0), {}},
        {"a hello", withHeader(4, mark, FrameKind::hello, 0) + std::string(4, 0), {}},
        {"no kind", withHeader(4, mark, FrameKind{0}, 0) + std::string(4, 0), {}},
        {"a body that is no message", withHeader(3, mark, FrameKind::request, 0) + "abc", {}},
        {"a descriptor that is missing", withHeader(4, mark, FrameKind::request, 1) + std::string(4, 0), {}},
        {"a descriptor too many", requestBytes(), {&null, 1}},
        {"descriptors in heaps", requestBytes().substr(0, 10), many},
    };
    for (const auto &[name, bytes, descriptors] : cases) {
        const UniqueFd peer = ServiceSocket(serviceName).connect();
        ASSERT_TRUE(peer);
        sendBytes(peer.get(), bytes, descriptors);
        std::string answer;
        EXPECT_TRUE(readToEnd(peer.get(), answer)) << name;
    }
    EXPECT_EQ(numberOf(good->sendWithReplySync(numbered(2).get()).get()), 2);
}

TEST(Listener, DropsAPeerThatStallsWithinAMessageAndTakesWhatComesInPieces) {
    MessageListener::Options options;
    options.limits.stalledMessage = std::chrono::milliseconds(20);
    const auto listener = listen(echo, nullptr, options);
    const UniqueFd stalled = ServiceSocket(serviceName).connect();
    sendBytes(stalled.get(), bytesOf({100'000'000, FrameHeader::expectedMark, FrameKind::request, 0, 1}));
    std::string answer;
    EXPECT_TRUE(readToEnd(stalled.get(), answer));

    const auto patient = listen(echo, nullptr, {}, "org.wickerlane.test.Patient");
    const UniqueFd slow = ServiceSocket("org.wickerlane.test.Patient").connect();
    for (const char c : requestBytes())
        sendBytes(slow.get(), {&c, 1});
    shutdown(slow.get(), SHUT_WR);
    answer.clear();
    EXPECT_TRUE(readToEnd(slow.get(), answer));
    EXPECT_GT(answer.size(), 2 * sizeof(FrameHeader)) << "the hello and the reply";
}

TEST(Listener, StopsReadingAPeerThatLeavesItsAnswersUnread) {
    MessageListener::Options options;
    options.limits.heldMessages = 8;
    options.limits.queuedBytes = 64 * 1024;
    const auto listener = listen(
        [](ReceivedMessage *received) {
            auto answer = MessageDictionary::create();
            answer->setData("bytes", std::string(50'000, 'b').data(), 50'000);
            received->reply(answer.get());
        },
        nullptr, options);
    const UniqueFd deaf = ServiceSocket(serviceName).connect();
    const std::string request = requestBytes();
    // Until the listener takes no more: a reader of everything would get them all.
    constexpr int plenty = 20'000;
    int sent = 0;
    for (; sent < plenty; ++sent) {
        pollfd writable{.fd = deaf.get(), .events = POLLOUT, .revents = 0};
        if (poll(&writable, 1, 300) != 1)
            break;
        sendBytes(deaf.get(), request);
    }
    EXPECT_LT(sent, plenty);
    const auto good = connect();
    EXPECT_EQ(good->sendWithReplySync(numbered(1).get())->kind(), MessageKind::dictionary);
}

// Else its thread would be woken for each that is done, and have no time for others.
TEST(Listener, ReadsOnWhenAQuarterOfTooManyMessagesIsDone) {
    constexpr std::size_t limit = 1000, fewEnough = 750;
    MessageListener::Options options;
    options.limits.heldMessages = limit;
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
    const auto keptNow = [&] {
        const std::lock_guard lock(mutex);
        return kept.size();
    };
    const auto release = [&](std::size_t count) {
        const std::lock_guard lock(mutex);
        kept.resize(kept.size() - count);
    };
    MessageEncoder frame;
    ASSERT_EQ(frame.encode(FrameKind::message, 0, numbered(1).get()), nullptr);
    const UniqueFd flooding = ServiceSocket(serviceName).connect();
    const auto hasRoom = [&] {
        return send(flooding.get(), frame.gathered().data(), frame.gathered().size(),
                    MSG_DONTWAIT | MSG_NOSIGNAL) > 0;
    };
    const auto other = connect();
    const auto letItTurn = [&] {
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(numberOf(other->sendWithReplySync(numbered(i).get()).get()), i);
    };
    do {
        while (hasRoom())
            ;
        letItTurn();
    } while (keptNow() < limit || hasRoom());
    release(keptNow() - fewEnough - 1);
    letItTurn();
    EXPECT_FALSE(hasRoom());
    EXPECT_EQ(keptNow(), fewEnough + 1);
    release(1);
    EXPECT_TRUE(waitUntil(hasRoom));
    EXPECT_TRUE(waitUntil([&] { return keptNow() > fewEnough; }));
    const std::lock_guard lock(mutex);
    kept.clear();
}

TEST(Listener, ReadsNoFurtherWhileTooManyRequestsWait) {
    MessageListener::Options options;
    options.limits.heldMessages = 4;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Ref<ReceivedMessage>> kept;
    const auto listener = listen(
        [&](ReceivedMessage *received) {
            const std::lock_guard lock(mutex);
            kept.emplace_back(received);
            changed.notify_all();
        },
        nullptr, options);
    const auto connection = connect();
    constexpr int count = 4000; // more than one read brings
    std::atomic<int> replies{0};
    std::promise<void> all;
    for (int i = 0; i < count; ++i)
        connection->sendWithReply(numbered(i).get(), nullptr, [&](MessageValue *value) {
            EXPECT_EQ(value->kind(), MessageKind::dictionary);
            if (++replies == count)
                all.set_value();
        });
    std::size_t maxKept = 0;
    for (int answered = 0; answered < count;) {
        std::unique_lock lock(mutex);
        ASSERT_TRUE(changed.wait_for(lock, longTime, [&] { return !kept.empty(); }));
        maxKept = std::max(maxKept, kept.size());
        const auto taken = std::exchange(kept, {});
        lock.unlock();
        for (const auto &message : taken)
            message->reply(message->message());
        answered += static_cast<int>(taken.size());
    }
    resultOf(all);
    EXPECT_LT(maxKept, 1500U);
}

TEST(Connection, IsOnlyInterruptedByAServiceThatBreaksTheRules) {
    const UniqueFd listening = ServiceSocket(serviceName).listen();
    ASSERT_TRUE(listening);
    MessageEncoder hello;
    hello.encodeHello({}); // so that the client sends its request first
    const auto reply = [](std::uint64_t id) {
        MessageEncoder encoder;
        EXPECT_EQ(encoder.encode(FrameKind::reply, id, numbered(1).get()), nullptr);
        return std::string(encoder.gathered());
    };
    const auto answer = [&](const std::string &request, int kind) -> std::string {
        const auto header = loadUnaligned<FrameHeader>(request.data());
        switch (kind) {
        case 0:
            return std::string(500, 'n');
        case 1:
            return reply(header.id + 1); // of no request
        case 2:
            return reply(header.id).substr(0, 20); // half
        case 3:
            return request; // a client's kind
        case 4:             // too short to hold its kind
            return bytesOf({7, FrameHeader::expectedMark, FrameKind::errorReply, 0, header.id}) +
                   std::string(7, 0);
        default:
            return reply(header.id) + reply(header.id); // twice
        }
    };
    constexpr int kinds = 6;
    std::thread service([&] {
        for (int kind = 0; kind < kinds; ++kind) {
            const UniqueFd client(accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
            sendBytes(client.get(), hello.gathered());
            char request[4096];
            const ssize_t count = recv(client.get(), request, sizeof request, 0);
            if (count > 0)
                sendBytes(client.get(), answer({request, static_cast<std::size_t>(count)}, kind));
            shutdown(client.get(), SHUT_WR);
            std::string rest;
            readToEnd(client.get(), rest);
        }
    });
    const auto connection =
        connect([](MessageValue *event) { EXPECT_EQ(event, MessageError::connectionInterrupted()); });
    for (int kind = 0; kind < kinds - 1; ++kind)
        EXPECT_EQ(connection->sendWithReplySync(numbered(1).get()).get(),
                  MessageError::connectionInterrupted())
            << kind;
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1)
        << "the first of two replies";
    service.join();
}
