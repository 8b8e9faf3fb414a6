// Large data in a reply, made readable at the client: bytes that the service lends, beside a bare receiver
// that copies as many from a stream socket; shared memory that the service prepared once, beside a bare
// receiver that gets its descriptor and maps it. Every page is touched. Prints one line a measurement:
// microseconds each, and the ratio to the bare floor.
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/InTurn.h"
#include "bench/OtherProcess.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/message/listener/MessageListener.h"

using namespace wickerlane;
using bench::Other;
using bench::readAll;
using bench::writeAll;

namespace {

constexpr const char *serviceName = "org.wickerlane.bench.Bulk";
constexpr std::size_t sizes[] = {std::size_t{1} << 20, std::size_t{12} << 20};
constexpr std::size_t pageBytes = 4096;
constexpr char content = 7;

// Reads a byte of each page, as one who uses the data would.
void touch(const void *bytes, std::size_t length) {
    std::size_t sum = 0;
    for (std::size_t i = 0; i < length; i += pageBytes)
        sum += static_cast<std::size_t>(static_cast<const volatile char *>(bytes)[i]);
    if (length == 0 || sum != static_cast<std::size_t>(content) * (length / pageBytes))
        bench::fail("data is missing");
}

Ref<SharedMemory> prepared(std::size_t length) {
    auto memory = SharedMemory::create(length);
    if (memory == nullptr)
        std::abort();
    std::memset(memory->writableBytes(), content, length);
    if (!memory->seal())
        std::abort();
    return memory;
}

// The floors: a number comes, and the bytes of that size go back, or their descriptor does.

void serveBytes(int fd) {
    const std::vector<char> bytes(sizes[1], content);
    for (std::size_t which = 0;;) {
        readAll(fd, reinterpret_cast<char *>(&which), sizeof which);
        writeAll(fd, bytes.data(), sizes[which]);
    }
}

void serveDescriptors(int fd) {
    const Ref<SharedMemory> memories[] = {prepared(sizes[0]), prepared(sizes[1])};
    for (std::size_t which = 0;;) {
        readAll(fd, reinterpret_cast<char *>(&which), sizeof which);
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))]{};
        iovec part{&which, sizeof which};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        const int descriptor = memories[which]->descriptor();
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
        if (sendmsg(fd, &message, 0) <= 0)
            _exit(0);
    }
}

void ask(int fd, std::size_t which) {
    writeAll(fd, reinterpret_cast<const char *>(&which), sizeof which);
}

void copyBytes(int fd, std::size_t which, char *to) {
    ask(fd, which);
    readAll(fd, to, sizes[which]);
    touch(to, sizes[which]);
}

void mapDescriptor(int fd, std::size_t which) {
    ask(fd, which);
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    std::size_t same = 0;
    iovec part{&same, sizeof same};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(fd, &message, MSG_CMSG_CLOEXEC) <= 0 || CMSG_FIRSTHDR(&message) == nullptr)
        std::abort();
    int descriptor = -1;
    std::memcpy(&descriptor, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof descriptor);
    void *bytes = mmap(nullptr, sizes[which], PROT_READ, MAP_SHARED, descriptor, 0);
    if (bytes == MAP_FAILED)
        std::abort();
    touch(bytes, sizes[which]);
    munmap(bytes, sizes[which]);
    close(descriptor);
}

// The same through the message service.

void serveMessages(int ready) {
    const std::vector<char> bytes(sizes[1], content);
    const Ref<MessageSharedMemory> memories[] = {MessageSharedMemory::create(prepared(sizes[0]).get()),
                                                 MessageSharedMemory::create(prepared(sizes[1]).get())};
    const auto listener = MessageListener::create(
        serviceName, nullptr,
        [&](ReceivedMessage *received) {
            const std::size_t which = received->message()->getUInt64("size") == 0 ? 0 : 1;
            auto reply = MessageDictionary::create();
            if (received->message()->getBool("shared"))
                reply->set("data", memories[which].get());
            else
                reply->set("data",
                           MessageData::createWithRegion(bytes.data(), sizes[which], nullptr, nullptr).get());
            received->reply(reply.get());
        },
        {});
    if (listener == nullptr)
        _exit(1);
    listener->resume();
    writeAll(ready, "r", 1);
    for (;;)
        pause();
}

Ref<MessageValue> request(MessageConnection *connection, std::size_t which, bool shared) {
    auto message = MessageDictionary::create();
    message->setUInt64("size", which);
    message->setBool("shared", shared);
    return connection->sendWithReplySync(message.get());
}

void receiveLent(MessageConnection *connection, std::size_t which) {
    const auto reply = request(connection, which, false);
    const auto *dictionary = as<MessageDictionary>(reply.get());
    const Bytes data = dictionary != nullptr ? dictionary->getData("data") : Bytes();
    touch(data.data(), data.size());
}

void receiveShared(MessageConnection *connection, std::size_t which) {
    const auto reply = request(connection, which, true);
    const auto *dictionary = as<MessageDictionary>(reply.get());
    const auto *memory = dictionary != nullptr ? as<MessageSharedMemory>(dictionary->get("data")) : nullptr;
    std::size_t length = 0;
    void *bytes = memory != nullptr ? memory->map(&length) : nullptr;
    touch(bytes, length);
    munmap(bytes, length);
}

void measure(const char *where, int processor) {
    const Other bytes(processor, serveBytes);
    const Other descriptors(processor, serveDescriptors);
    const Other service(processor, serveMessages);
    char ready = 0;
    readAll(service.socket, &ready, 1);
    const auto connection = MessageConnection::create(serviceName, nullptr);
    connection->resume();
    std::vector<char> kept(sizes[1]);
    for (std::size_t which = 0; which < std::size(sizes); ++which) {
        const auto times = [](int n, const auto &work) {
            for (int i = 0; i < n; ++i)
                work();
        };
        const auto report = [&](const bench::Measured &m) {
            std::printf("%2zu MiB: %-34s %-14s %8.0f us  %6.2f x bare\n", sizes[which] >> 20, m.what, where,
                        m.best / 1000, m.ratio);
        };
        const int rounds = which == 0 ? 100 : 40;
        const int batch = which == 0 ? 10 : 2;
        // Data outlives the next reply, so a receiver that may keep it takes fresh memory each time.
        bench::measureInTurn(
            rounds, batch,
            {{"bare copy into fresh memory",
              [&](int n) {
                  times(n, [&] {
                      const auto to = std::make_unique_for_overwrite<char[]>(sizes[which]);
                      copyBytes(bytes.socket, which, to.get());
                  });
              }},
             {"bare copy into the same memory",
              [&](int n) { times(n, [&] { copyBytes(bytes.socket, which, kept.data()); }); }},
             {"lent in a message", [&](int n) { times(n, [&] { receiveLent(connection.get(), which); }); }}},
            report);
        bench::measureInTurn(rounds, batch,
                             {{"bare descriptor, mapped",
                               [&](int n) { times(n, [&] { mapDescriptor(descriptors.socket, which); }); }},
                              {"shared memory in a message, mapped",
                               [&](int n) { times(n, [&] { receiveShared(connection.get(), which); }); }}},
                             report);
    }
}

} // namespace

int main() {
    return bench::onOneAndTwoProcessors(measure);
}
