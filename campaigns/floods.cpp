// One client of the campaign of floods: it floods hoardd in one way, or stands by and counts photos.
//   campaign_floods KIND SECONDS [OBJECT-ID]
#include <sys/socket.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/surface/ImageSurface.h"
#include "wickerlane/protocol/ServiceName.h"

using namespace wickerlane;

namespace {

using Clock = std::chrono::steady_clock;

Ref<MessageConnection> connect() {
    auto connection = MessageConnection::create(WickerlaneGatekeeperName, nullptr);
    connection->setEventHandler([](MessageValue *) {});
    connection->resume();
    return connection;
}

Ref<MessageDictionary> request(std::int64_t code) {
    auto message = MessageDictionary::create();
    message->setInt64("operation", code);
    return message;
}

Ref<MessageDictionary> saveRequest(std::uint32_t side, std::uint32_t seed) {
    const auto surface = ImageSurface::create(side, side, PixelFormat::rgba8);
    auto *bytes = static_cast<std::uint8_t *>(surface->writableBytes());
    for (std::size_t i = 0; i < surface->bytesPerRow() * side; ++i)
        bytes[i] = static_cast<std::uint8_t>((seed = seed * 1664525 + 1013904223) >> 27U);
    auto message = request(8);
    JXMsgDictionarySetImageSurface(message.get(), "imagePort", surface.get());
    return message;
}

/// A client that keeps to no limit of its own: it writes copies of a frame to its socket as far as it takes
/// them, and reads only if it is to.
class RawClient {
public:
    RawClient(FrameKind kind, const MessageDictionary *message)
        : socket(ServiceSocket(WickerlaneGatekeeperName).connect()) {
        MessageEncoder frame;
        if (const char *reason = frame.encode(kind, 1, message)) {
            std::fprintf(stderr, "%s\n", reason);
            std::exit(1);
        }
        constexpr std::size_t copies = 64, enoughBytes = 1 << 20;
        for (std::size_t i = 0; i < copies && bytes.size() < enoughBytes; ++i)
            bytes.append(frame.gathered());
    }
    /// False when the socket takes nothing now.
    [[nodiscard]] bool send() {
        const ssize_t count =
            ::send(socket.get(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0)
            done = (done + static_cast<std::size_t>(count)) % bytes.size();
        return count > 0;
    }
    /// False when nothing is there to be read.
    [[nodiscard]] bool read() {
        static std::vector<char> discarded(1 << 20);
        return recv(socket.get(), discarded.data(), discarded.size(), MSG_DONTWAIT) > 0;
    }

private:
    UniqueFd socket;
    std::string bytes;
    std::size_t done = 0;
};

/// Counts again and again, and prints how long each count took, in microseconds.
void standBy(Clock::time_point end) {
    const auto connection = connect();
    const auto message = request(16);
    while (Clock::now() < end) {
        const ReleaseScope scope;
        const auto start = Clock::now();
        const auto reply = connection->sendWithReplySync(message.get());
        const std::chrono::duration<double, std::micro> taken = Clock::now() - start;
        if (as<MessageDictionary>(reply.get()) == nullptr)
            std::fprintf(stderr, "%s\n", std::string(reply->description()->utf8()).c_str());
        std::printf("%.0f\n", taken.count());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

/// Sends copies of a message as fast as they are taken, and reads the answers or leaves them. One thread, so
/// that it is the daemon that is measured and not a herd of busy clients.
void flood(const MessageDictionary *message, FrameKind kind, std::size_t count, bool reads,
           Clock::time_point end) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (std::size_t i = 0; i < count; ++i)
        clients.push_back(std::make_unique<RawClient>(kind, message));
    while (Clock::now() < end) {
        bool anyWork = false;
        for (const auto &client : clients) {
            anyWork = client->send() || anyWork;
            anyWork = (reads && client->read()) || anyWork;
        }
        if (!anyWork)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// Messages that are dense: as many objects as few bytes can make.

Ref<MessageArray> emptyDictionaries(std::size_t count) {
    const auto array = MessageArray::create();
    const auto empty = MessageDictionary::create();
    for (std::size_t i = 0; i < count; ++i)
        array->append(empty.get());
    return array;
}

Ref<MessageDictionary> ofValues(std::size_t count) {
    const auto dictionary = MessageDictionary::create();
    dictionary->set("values", emptyDictionaries(count).get());
    const auto message = request(60);
    message->setString("personID", "flood");
    message->set("personInfoDictionary", dictionary.get());
    return message;
}

Ref<MessageDictionary> ofBooleans(std::size_t count) {
    const auto message = request(16);
    for (std::size_t i = 0; i < count; ++i)
        message->setBool(std::to_string(i).c_str(), true);
    return message;
}

Ref<MessageDictionary> ofJobs(std::size_t jobs, std::size_t keys) {
    const auto job = MessageDictionary::create();
    for (std::size_t i = 0; i < keys; ++i)
        job->setBool(std::to_string(i).c_str(), true);
    const auto array = MessageArray::create();
    for (std::size_t i = 0; i < jobs; ++i)
        array->append(job.get());
    const auto message = request(9);
    message->set("jobDictionaries", array.get());
    return message;
}

Ref<MessageDictionary> ofList(std::int64_t count) {
    const auto list = MutableArray::create();
    for (std::int64_t i = 0; i < count; ++i)
        list->append(Number::create(i).get());
    const auto message = request(18);
    JXMsgDictionarySetArray(message.get(), "photoUUIDs", list.get());
    message->setBool("assignNewIndex", false);
    message->setBool("forceRefresh", false);
    message->setBool("waitingForReply", true);
    return message;
}

/// Sets what answers of a mebibyte are made of, and gives the request for one.
Ref<MessageDictionary> ofLargeAnswer() {
    const auto dictionary = MessageDictionary::create();
    const std::string bytes(1'000'000, 'b');
    dictionary->setData("bytes", bytes.data(), bytes.size());
    const auto message = request(60);
    message->setString("personID", "flood");
    message->set("personInfoDictionary", dictionary.get());
    const auto connection = connect();
    static_cast<void>(connection->sendWithReplySync(message.get()));
    const auto asked = request(59);
    asked->setString("personID", "flood");
    return asked;
}

/// Begins a message with descriptors on each of many connections, and ends none.
void beginMessages(std::size_t connections, Clock::time_point end) {
    MessageEncoder frame;
    const auto message = MessageDictionary::create();
    for (int i = 0; i < 8; ++i)
        message->setDescriptor(std::to_string(i).c_str(), STDERR_FILENO);
    if (frame.encode(FrameKind::message, 1, message.get()) != nullptr)
        std::exit(1);
    std::vector<UniqueFd> sockets;
    for (std::size_t i = 0; i < connections && Clock::now() < end; ++i) {
        sockets.push_back(ServiceSocket(WickerlaneGatekeeperName).connect());
        std::string bytes(frame.gathered().substr(0, 20));
        iovec part{bytes.data(), bytes.size()};
        alignas(cmsghdr) char control[CMSG_SPACE(8 * sizeof(int))] = {};
        msghdr header{};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        cmsghdr *rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(8 * sizeof(int));
        const int passed[8] = {2, 2, 2, 2, 2, 2, 2, 2};
        std::memcpy(CMSG_DATA(rights), passed, sizeof passed);
        static_cast<void>(sendmsg(sockets.back().get(), &header, MSG_NOSIGNAL));
    }
    std::this_thread::sleep_until(end);
}

void sendBatch(std::size_t jobs) {
    const auto array = MessageArray::create();
    const auto job = MessageDictionary::create();
    for (std::size_t i = 0; i < jobs; ++i)
        array->append(job.get());
    const auto message = request(9);
    message->set("jobDictionaries", array.get());
    const auto reply = connect()->sendWithReplySync(message.get());
    if (const auto *error = as<MessageError>(reply.get()))
        std::printf("%s\n", std::string(error->text()).c_str());
    else
        std::printf("%zu results\n",
                    as<MessageDictionary>(reply.get())->getArray("resultJobDictionaries")->count());
}

/// Saves small pictures, `atOnce` at a time, and prints the milliseconds that each took.
void save(std::size_t atOnce, Clock::time_point end) {
    std::vector<std::thread> threads;
    const auto connection = connect();
    for (std::size_t i = 0; i < atOnce; ++i)
        threads.emplace_back([=] {
            for (auto seed = static_cast<std::uint32_t>(i + 1); Clock::now() < end; seed += 1000) {
                const ReleaseScope scope;
                const auto message = saveRequest(64, seed);
                const auto start = Clock::now();
                const auto reply = connection->sendWithReplySync(message.get());
                const std::chrono::duration<double, std::milli> taken = Clock::now() - start;
                if (as<MessageDictionary>(reply.get()) != nullptr)
                    std::printf("%.1f\n", taken.count());
            }
        });
    for (auto &thread : threads)
        thread.join();
}

/// Saves one large picture and prints its object ID.
void prepare() {
    const auto reply = connect()->sendWithReplySync(saveRequest(2000, 7).get());
    const auto *result = as<MessageDictionary>(reply.get())->getDictionary("resultJobDictionary");
    std::printf("%s\n", std::string(result->getString("objectIDURI").value_or("")).c_str());
}

/// Holds as many connections as are given, and prints how many those are.
void hold(std::size_t wanted, Clock::time_point end) {
    std::vector<Ref<MessageConnection>> held;
    std::size_t given = 0;
    std::string refusal;
    for (std::size_t i = 0; i < wanted; ++i) {
        held.push_back(connect());
        held.back()->setIdleTime(std::chrono::minutes(10));
        const auto reply = held.back()->sendWithReplySync(request(16).get());
        given += as<MessageDictionary>(reply.get()) != nullptr ? 1 : 0;
        if (const auto *error = as<MessageError>(reply.get()))
            refusal = error->text();
    }
    std::printf("%zu %s\n", given, refusal.c_str());
    std::fflush(stdout);
    std::this_thread::sleep_until(end);
}

void spin(Clock::time_point end) {
    while (Clock::now() < end)
        ;
}

} // namespace

int main(int argc, char **argv) {
    const std::string kind = argc > 1 ? argv[1] : "";
    const auto end = Clock::now() + std::chrono::milliseconds(
                                        argc > 2 ? std::lround(std::strtod(argv[2], nullptr) * 1000) : 0);
    const auto picture = request(6);
    if (argc > 3)
        picture->setData("objectID", argv[3], std::strlen(argv[3]));
    picture->setUInt64("format", kind == "unread" ? 2 : kind == "unread-memory" ? 4 : 3);
    const auto empty = MessageDictionary::create();
    constexpr std::size_t manyClients = 4;
    if (kind == "stand-by")
        standBy(end);
    else if (kind == "spin")
        spin(end);
    else if (kind == "prepare")
        prepare();
    else if (kind == "one-way")
        flood(empty.get(), FrameKind::message, 1, true, end);
    else if (kind == "empty-requests")
        flood(empty.get(), FrameKind::request, 1, true, end);
    else if (kind == "sizes")
        flood(request(56).get(), FrameKind::request, manyClients, true, end);
    else if (kind == "decodes")
        flood(picture.get(), FrameKind::request, manyClients, true, end);
    else if (kind == "unread")
        flood(picture.get(), FrameKind::request, 64, false, end);
    else if (kind == "unread-memory")
        flood(picture.get(), FrameKind::request, 60, false, end);
    else if (kind == "unread-answers")
        flood(ofLargeAnswer().get(), FrameKind::request, 60, false, end);
    else if (kind == "begun")
        beginMessages(60, end);
    else if (kind == "values")
        flood(ofValues(40'000).get(), FrameKind::request, manyClients, true, end);
    else if (kind == "too-many-values")
        flood(ofValues(500'000).get(), FrameKind::request, manyClients, true, end);
    else if (kind == "booleans")
        flood(ofBooleans(400'000).get(), FrameKind::request, manyClients, true, end);
    else if (kind == "jobs")
        flood(ofJobs(4'096, 24).get(), FrameKind::request, manyClients, true, end);
    else if (kind == "lists")
        flood(ofList(400'000).get(), FrameKind::request, 6, true, end);
    else if (kind == "long-lists")
        flood(ofList(1'000'000).get(), FrameKind::request, 6, true, end);
    else if (kind == "batch")
        sendBatch(900'000);
    else if (kind == "saves")
        save(100, end);
    else if (kind == "one-save")
        save(1, end);
    else if (kind == "hold")
        hold(70, end);
    else
        return 2;
    return 0;
}
