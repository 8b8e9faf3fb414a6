// Synchronous and pipelined requests through the message service, beside the same bytes over a bare socket
// and the same work over a peer-to-peer D-Bus connection. Client and service are two processes, bound to one
// processor and to two. Prints one line a measurement: nanoseconds a request, and the ratio to the bare
// floor. Round trips are measured in short batches taken in turn, so that what else the machine does falls on
// all alike: the ratio is the median of the ratios of neighbouring batches, the time that of the best batch.
#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <vector>

#include "bench/InTurn.h"
#include "bench/OtherProcess.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/protocol/Keys.h"

using namespace wickerlane;
using bench::Other;
using bench::readAll;
using bench::writeAll;

namespace {

constexpr const char *serviceName = "org.wickerlane.bench.Service";
constexpr std::size_t requestBytes = 150;
constexpr std::size_t batch = 32;
constexpr int inFlight = 256;

double nanosecondsEach(int usual, const std::function<void(int)> &run) {
    const int count = bench::isQuick() ? 2 * inFlight : usual;
    // The best of several, since whatever disturbs a measurement makes it longer.
    double best = 1e18;
    for (int round = 0; round < bench::rounds(3); ++round) {
        const auto start = std::chrono::steady_clock::now();
        run(count);
        const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count() / count);
    }
    return best;
}

// Sends back whatever comes, in pieces of `size` bytes.
void echoBytes(int fd, std::size_t size) {
    std::vector<char> bytes(size);
    for (;;) {
        readAll(fd, bytes.data(), size);
        writeAll(fd, bytes.data(), size);
    }
}

// The floor: another process that sends back what it gets.
class Bare {
public:
    Bare(int processor, std::size_t size)
        : other(processor, [size](int fd) { echoBytes(fd, size); }), bytes(size) {}
    void run(int count) {
        for (int i = 0; i < count; ++i) {
            writeAll(other.socket, bytes.data(), bytes.size());
            readAll(other.socket, bytes.data(), bytes.size());
        }
    }

private:
    Other other;
    std::vector<char> bytes;
};

Ref<MessageDictionary> request() {
    auto message = MessageDictionary::create();
    message->setInt64("operation", 2);
    message->setString("assetURL", "file:///var/mobile/Media/DCIM/100/IMG_0001.JPG");
    message->setBool("withAdjustments", true);
    message->setUInt64("identifier", 0x123456789ABCDEF);
    message->setReal("scale", 2.0);
    return message;
}

void serve(int ready, const char *name, Handler<void(ReceivedMessage *)> answer) {
    const auto listener = MessageListener::create(name, nullptr, std::move(answer), {});
    if (listener == nullptr)
        _exit(1);
    listener->resume();
    writeAll(ready, "r", 1);
    for (;;)
        pause();
}

void serveMessages(int ready) {
    serve(ready, serviceName, [](ReceivedMessage *received) {
        const MessageDictionary *message = received->message();
        auto reply = MessageDictionary::create();
        reply->setInt64("operation", message->getInt64("operation"));
        reply->setString("fileURL", message->getString("assetURL").value_or(""));
        reply->setBool("authorized", message->getBool("withAdjustments"));
        reply->setUInt64("identifier", message->getUInt64("identifier"));
        reply->setReal("scale", message->getReal("scale"));
        received->reply(reply.get());
    });
}

// A daemon that knows one answer.
void serveOperations(int ready) {
    serve(ready, WickerlaneGatekeeperName, [](ReceivedMessage *received) {
        auto reply = MessageDictionary::create();
        protocol::coding::Int64::write(reply.get(), protocol::keys::version.text, 1);
        received->reply(reply.get());
    });
}

void await(const Other &other) {
    char byte = 0;
    readAll(other.socket, &byte, 1);
}

void sendAndWait(MessageConnection *connection, int count) {
    std::int64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        const auto reply = connection->sendWithReplySync(request().get());
        sum += as<MessageDictionary>(reply.get())->getInt64("operation");
    }
    if (sum != 2 * count)
        bench::fail("replies are missing");
}

void askVersion(JXGatekeeperClient *client, int count) {
    std::int64_t sum = 0;
    for (int i = 0; i < count; ++i)
        sum += client->getCurrentModelVersion();
    if (sum != count)
        bench::fail("versions are missing");
}

double pipelined(MessageConnection *connection) {
    std::int64_t sum = 0;
    const auto replies = WorkQueue::create("replies");
    const double result = nanosecondsEach(200'000, [&](int n) {
        std::promise<void> done;
        int sent = 0;
        int received = 0;
        std::function<void()> sendOne = [&] {
            ++sent;
            connection->sendWithReply(request().get(), replies.get(), [&](MessageValue *reply) {
                sum += as<MessageDictionary>(reply)->getInt64("operation");
                if (sent < n)
                    sendOne();
                if (++received == n)
                    done.set_value();
            });
        };
        replies->sync([&] {
            for (int i = 0; i < inFlight; ++i)
                sendOne();
        });
        done.get_future().wait();
    });
    if (sum == 0)
        bench::fail("no replies");
    return result;
}

// The same five entries and their reply over a peer-to-peer connection of the system's message bus library.
int answerCall(sd_bus_message *call, void *, sd_bus_error *) {
    std::int64_t operation = 0;
    const char *url = nullptr;
    int adjusted = 0;
    std::uint64_t identifier = 0;
    double scale = 0;
    if (sd_bus_message_read(call, "xsbtd", &operation, &url, &adjusted, &identifier, &scale) < 0)
        return -1;
    return sd_bus_reply_method_return(call, "xsbtd", operation, url, adjusted, identifier, scale);
}

sd_bus *openBus(int fd, bool server) {
    sd_bus *bus = nullptr;
    sd_id128_t id{};
    if (sd_bus_new(&bus) < 0 || sd_bus_set_fd(bus, fd, fd) < 0 ||
        (server ? sd_bus_set_server(bus, 1, id) : 0) < 0 || sd_bus_set_anonymous(bus, 1) < 0 ||
        sd_bus_start(bus) < 0)
        std::abort();
    return bus;
}

void serveBus(int fd) {
    sd_bus *bus = openBus(fd, true);
    sd_bus_add_filter(
        bus, nullptr,
        [](sd_bus_message *m, void *, sd_bus_error *) {
            return sd_bus_message_is_method_call(m, nullptr, "Call") > 0 ? answerCall(m, nullptr, nullptr)
                                                                         : 0;
        },
        nullptr);
    for (;;) {
        int did = 0;
        while ((did = sd_bus_process(bus, nullptr)) > 0) {
        }
        if (did < 0)
            _exit(0);
        sd_bus_wait(bus, UINT64_MAX);
    }
}

sd_bus_message *busCall(sd_bus *bus) {
    sd_bus_message *call = nullptr;
    if (sd_bus_message_new_method_call(bus, &call, nullptr, "/a", "org.wickerlane.Bench", "Call") < 0 ||
        sd_bus_message_append(call, "xsbtd", std::int64_t{2},
                              "file:///var/mobile/Media/DCIM/100/IMG_0001.JPG", 1,
                              std::uint64_t{0x123456789ABCDEF}, 2.0) < 0)
        std::abort();
    return call;
}

void callBus(sd_bus *client, int count) {
    for (int i = 0; i < count; ++i) {
        sd_bus_message *call = busCall(client);
        sd_bus_message *reply = nullptr;
        if (sd_bus_call(client, call, 0, nullptr, &reply) < 0)
            std::abort();
        sd_bus_message_unref(call);
        sd_bus_message_unref(reply);
    }
}

double pipelinedBus(sd_bus *client) {
    return nanosecondsEach(20'000, [&](int n) {
        int sent = 0;
        static int received = 0;
        received = 0;
        while (received < n) {
            while (sent < n && sent - received < inFlight) {
                sd_bus_message *call = busCall(client);
                sd_bus_call_async(
                    client, nullptr, call,
                    [](sd_bus_message *, void *, sd_bus_error *) { return ++received, 1; }, nullptr, 0);
                sd_bus_message_unref(call);
                ++sent;
            }
            int did = 0;
            while ((did = sd_bus_process(client, nullptr)) > 0) {
            }
            if (did < 0)
                std::abort();
            if (received < n && received + inFlight <= sent)
                sd_bus_wait(client, UINT64_MAX);
        }
    });
}

void print(const char *what, const char *where, double nanoseconds, double ratio) {
    std::printf("%-24s %-14s %10.0f ns  %6.2f x bare\n", what, where, nanoseconds, ratio);
}

void measure(const char *where, int processor) {
    Bare floor(processor, requestBytes);
    const Other service(processor, serveMessages);
    const Other daemon(processor, serveOperations);
    const Other busService(processor, serveBus);
    await(service);
    await(daemon);
    const auto connection = MessageConnection::create(serviceName, nullptr);
    connection->resume();
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    sd_bus *bus = openBus(dup(busService.socket), false);

    bench::measureInTurn(100, 200,
                         {{"round trip: bare", [&](int n) { floor.run(n); }},
                          {"round trip: messages", [&](int n) { sendAndWait(connection.get(), n); }},
                          {"round trip: operation", [&](int n) { askVersion(client, n); }},
                          {"round trip: sd-bus", [&](int n) { callBus(bus, n); }}},
                         [&](const bench::Measured &m) { print(m.what, where, m.best, m.ratio); });

    Bare batches(processor, requestBytes * batch);
    const double bare = nanosecondsEach(3'000, [&](int n) { batches.run(n); }) / batch;
    const double ours = pipelined(connection.get());
    const double theirs = pipelinedBus(bus);
    print("pipelined: bare", where, bare, 1);
    print("pipelined: messages", where, ours, ours / bare);
    print("pipelined: sd-bus", where, theirs, theirs / bare);
    std::printf("pipelined %s: %.2f of the bare rate, %.1f times sd-bus\n", where, bare / ours,
                theirs / ours);
    sd_bus_unref(bus);
}

} // namespace

int main() {
    return bench::onOneAndTwoProcessors(measure);
}
