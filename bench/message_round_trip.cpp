// Synchronous and pipelined requests through the message service, beside the same bytes over a bare socket
// and the same work over a peer-to-peer D-Bus connection. Client and service are two processes, bound to one
// processor and to two. Prints one line a measurement: nanoseconds a request, and the ratio to the bare
// floor.
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "wickerlane/platform/message/MessageConnection.h"
#include "wickerlane/platform/message/MessageListener.h"

using namespace wickerlane;

namespace {

constexpr const char *serviceName = "org.wickerlane.bench.Service";
constexpr std::size_t requestBytes = 150;
constexpr std::size_t batch = 32;
constexpr int inFlight = 256;

void bindTo(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(processor), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0)
        std::perror("sched_setaffinity");
}

double nanosecondsEach(int count, const std::function<void(int)> &run) {
    // The best of several, since whatever disturbs a measurement makes it longer.
    double best = 1e18;
    for (int round = 0; round < 3; ++round) {
        const auto start = std::chrono::steady_clock::now();
        run(count);
        const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count() / count);
    }
    return best;
}

// Runs a service in another process until the measurement is over.
class Other {
public:
    Other(int processor, const std::function<void(int)> &serve) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            std::abort();
        process = fork();
        if (process == 0) {
            close(ends[0]);
            bindTo(processor);
            serve(ends[1]);
            _exit(0);
        }
        close(ends[1]);
        socket = ends[0];
    }
    ~Other() {
        close(socket);
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    int socket = -1;

private:
    pid_t process = -1;
};

void readAll(int fd, char *bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const ssize_t got = read(fd, bytes + done, count - done);
        if (got <= 0)
            _exit(0);
        done += static_cast<std::size_t>(got);
    }
}

void writeAll(int fd, const char *bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const ssize_t put = write(fd, bytes + done, count - done);
        if (put <= 0)
            _exit(0);
        done += static_cast<std::size_t>(put);
    }
}

// Sends back whatever comes, in pieces of `size` bytes.
void echoBytes(int fd, std::size_t size) {
    std::vector<char> bytes(size);
    for (;;) {
        readAll(fd, bytes.data(), size);
        writeAll(fd, bytes.data(), size);
    }
}

double bare(int processor, std::size_t size, int count) {
    const Other other(processor, [size](int fd) { echoBytes(fd, size); });
    std::vector<char> bytes(size);
    return nanosecondsEach(count, [&](int n) {
        for (int i = 0; i < n; ++i) {
            writeAll(other.socket, bytes.data(), size);
            readAll(other.socket, bytes.data(), size);
        }
    });
}

Ref<MessageDictionary> request() {
    auto message = MessageDictionary::create();
    message->setInt64("operation", 2);
    message->setString("assetURL", "file:///var/mobile/Media/DCIM/100/IMG_0001.JPG");
    message->setBool("withAdjustments", true);
    message->setUInt64("identifier", 0x123456789ABCDEF);
    message->setReal("scale", 2.0);
    return message;
}

void serveMessages(int ready) {
    const auto listener =
        MessageListener::create(serviceName, nullptr,
                                [](ReceivedMessage *received) {
                                    const MessageDictionary *message = received->message();
                                    auto reply = MessageDictionary::create();
                                    reply->setInt64("operation", message->getInt64("operation"));
                                    reply->setString("fileURL", message->getString("assetURL").value_or(""));
                                    reply->setBool("authorized", message->getBool("withAdjustments"));
                                    reply->setUInt64("identifier", message->getUInt64("identifier"));
                                    reply->setReal("scale", message->getReal("scale"));
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

struct Messages {
    double synchronous;
    double pipelined;
};

Messages messages(int processor) {
    const Other other(processor, serveMessages);
    char byte = 0;
    readAll(other.socket, &byte, 1);
    const auto connection = MessageConnection::create(serviceName, nullptr);
    connection->resume();
    Messages result{};
    std::int64_t sum = 0;
    result.synchronous = nanosecondsEach(20'000, [&](int n) {
        for (int i = 0; i < n; ++i) {
            const auto reply = connection->sendWithReplySync(request().get());
            sum += as<MessageDictionary>(reply.get())->getInt64("operation");
        }
    });
    const auto replies = WorkQueue::create("replies");
    result.pipelined = nanosecondsEach(200'000, [&](int n) {
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
        std::puts("no replies");
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

Messages bus(int processor) {
    const Other other(processor, serveBus);
    sd_bus *client = openBus(dup(other.socket), false);
    Messages result{};
    result.synchronous = nanosecondsEach(5'000, [&](int n) {
        for (int i = 0; i < n; ++i) {
            sd_bus_message *call = busCall(client);
            sd_bus_message *reply = nullptr;
            if (sd_bus_call(client, call, 0, nullptr, &reply) < 0)
                std::abort();
            sd_bus_message_unref(call);
            sd_bus_message_unref(reply);
        }
    });
    result.pipelined = nanosecondsEach(20'000, [&](int n) {
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
    sd_bus_unref(client);
    return result;
}

void measure(const char *where, int processor) {
    const double floor = bare(processor, requestBytes, 5'000);
    const double batched = bare(processor, requestBytes * batch, 3'000) / batch;
    const Messages ours = messages(processor);
    const Messages theirs = bus(processor);
    const auto line = [&](const char *what, double value, double to) {
        std::printf("%-24s %-14s %10.0f ns  %6.2f x bare\n", what, where, value, value / to);
    };
    line("round trip: bare", floor, floor);
    line("round trip: messages", ours.synchronous, floor);
    line("round trip: sd-bus", theirs.synchronous, floor);
    line("pipelined: bare", batched, batched);
    line("pipelined: messages", ours.pipelined, batched);
    line("pipelined: sd-bus", theirs.pipelined, batched);
    std::printf("pipelined %s: %.2f of the bare rate, %.1f times sd-bus\n", where, batched / ours.pipelined,
                theirs.pipelined / ours.pipelined);
}

} // namespace

int main() {
    std::string root = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    // Each placement in a process of its own: threads of the library stay where they were started.
    for (const int other : {0, 1}) {
        std::fflush(stdout);
        const pid_t measuring = fork();
        if (measuring == 0) {
            bindTo(0);
            measure(other == 0 ? "one processor" : "two processors", other);
            std::fflush(stdout);
            _exit(0);
        }
        waitpid(measuring, nullptr, 0);
    }
    std::filesystem::remove_all(root);
}
