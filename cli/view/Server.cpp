#include "cli/view/Server.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <limits>
#include <system_error>
#include <thread>

#include "cli/view/Answers.h"
#include "cli/view/Connection.h"
#include "cli/view/PeerUser.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::cli::view {
namespace {

using namespace std::chrono_literals;

/// Connections from which on the least useful one gives way, and the most that there can be. A browser opens
/// six.
constexpr std::size_t fewConnections = 32;
constexpr std::size_t maxConnections = 48;
/// Until a connection's first request, and between requests.
constexpr auto firstTime = 10s;
constexpr auto idleTime = 60s;

constexpr std::string_view busyAnswer =
    "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";

} // namespace

struct Server::Client {
    explicit Client(socket_t owned) noexcept : socket(owned), connection(owned) {}

    const socket_t socket;
    Connection connection;
    // Of the server's mutex.
    bool isKnown = false;
    bool isWaiting = true; // for a request
};

/// A thread for each connection. One for which there is none is answered by the thread that accepts.
class Server::Threads final : public httplib::TaskQueue {
public:
    void enqueue(std::function<void()> serve) override {
        {
            const MutexLock lock(mutex);
            if (count < maxConnections) {
                ++count;
                try {
                    std::thread([this, serve] {
                        serve();
                        const MutexLock ended(mutex);
                        --count;
                        changed.notifyAll();
                    }).detach();
                    return;
                } catch (const std::system_error &) {
                    --count; // the system has no thread left
                }
            }
        }
        isAccepting = true;
        serve();
        isAccepting = false;
    }
    void shutdown() override {
        const MutexLock lock(mutex);
        while (count > 0)
            changed.wait(mutex);
    }
    /// Whether this thread accepts connections, so that it can't serve one.
    [[nodiscard]] static bool isAcceptingThread() noexcept { return isAccepting; }

private:
    static thread_local constinit bool isAccepting;
    Mutex mutex;
    Condition changed;
    std::size_t count WL_GUARDED_BY(mutex) = 0;
};

thread_local constinit bool Server::Threads::isAccepting = false;

Server::Server(Delegate &asked) : delegate(asked) {
    new_task_queue = [] { return new Threads; };
    set_default_headers(commonHeaders());
    set_socket_options([](socket_t socket) { // a port is never shared with another process
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    set_tcp_nodelay(true);
    set_keep_alive_max_count(std::numeric_limits<int>::max()); // which browsers are told
    set_keep_alive_timeout(static_cast<time_t>(std::chrono::seconds(idleTime).count()));
    set_pre_routing_handler([this](const Request &request, Response &response) {
        const ReleaseScope scope;
        if (!delegate.admits(request, response))
            return HandlerResponse::Handled;
        if (request.method != "GET")
            return HandlerResponse::Unhandled;
        delegate.answerQuestion(request, response);
        return HandlerResponse::Handled;
    });
    Post(".*", [this](const Request &request, Response &response, const httplib::ContentReader &body) {
        const ReleaseScope scope;
        delegate.answerChange(request, response, body);
    });
    set_exception_handler([](const Request &, Response &response, std::exception_ptr) {
        answerError(response, 500, "failed", "the server had no memory left, or another unexpected problem");
    });
}

Server::~Server() = default;

Result<int> Server::bind(std::uint64_t port) {
    constexpr const char *host = "127.0.0.1";
    const int given = static_cast<int>(port);
    const int bound = given == 0 ? bind_to_any_port(host) : bind_to_port(host, given) ? given : -1;
    if (bound < 0)
        return fail(ProblemKind::failed,
                    given == 0 ? fmt::format("can't listen on {}: {}", host, std::strerror(errno))
                               : fmt::format("port {} can't be used: another program may have it. Choose "
                                             "another, or none for any that is free",
                                             given));
    ::listen(svr_sock_, static_cast<int>(maxConnections)); // longer than the queue that it has
    return bound;
}

void Server::serve() {
    listen_after_bind();
    hasServed = true;
}

void Server::stop() {
    while (!is_running() && !hasServed) // before it runs, it can't be stopped
        std::this_thread::sleep_for(1ms);
    httplib::Server::stop();
    const MutexLock lock(mutex);
    isStopping = true;
    for (const Client *each : clients)
        ::shutdown(each->socket, SHUT_RDWR);
}

bool Server::enter(Client &client) {
    const MutexLock lock(mutex);
    if (isStopping)
        return false;
    if (clients.size() >= fewConnections) {
        auto leaving = std::ranges::find(clients, false, &Client::isKnown);
        if (leaving == clients.end())
            leaving = std::ranges::find(clients, true, &Client::isWaiting);
        if (leaving != clients.end())
            ::shutdown((*leaving)->socket, SHUT_RDWR);
    }
    clients.push_back(&client);
    return true;
}

void Server::leave(Client &client) {
    const MutexLock lock(mutex);
    std::erase(clients, &client);
}

void Server::serveClient(Client &client) {
    const auto setWaiting = [&](bool waits) {
        const MutexLock lock(mutex);
        client.isWaiting = waits;
    };
    for (auto time = std::chrono::milliseconds(firstTime); client.connection.awaitRequest(time);
         time = idleTime) {
        setWaiting(false);
        bool ends = false;
        const bool isAnswered = process_request(client.connection, false, ends, [&](Request &request) {
            // Answers are never compressed, bodies never announced, and only files have ranges.
            for (const char *each : {"Accept-Encoding", "Expect"})
                request.headers.erase(each);
            request.ranges.clear();
            const std::string length = request.get_header_value("Content-Length");
            client.connection.beginBody(std::strtoull(length.c_str(), nullptr, 10));
            const bool isKnown = delegate.isKnown(request);
            const MutexLock lock(mutex);
            client.isKnown = isKnown;
        });
        const bool mayFollow = client.connection.endAnswer();
        {
            const MutexLock lock(mutex);
            ends = ends || isStopping || !client.isKnown;
        }
        if (!isAnswered || !mayFollow || ends)
            return;
        setWaiting(true);
    }
}

bool Server::process_and_close_socket(socket_t socket) {
    ::fcntl(socket, F_SETFD, FD_CLOEXEC); // the daemon may be started meanwhile
    if (Threads::isAcceptingThread()) {
        static_cast<void>(::send(socket, busyAnswer.data(), busyAnswer.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
    } else if (isOfThisUser(socket)) {
        Client client(socket);
        if (enter(client)) {
            try {
                serveClient(client);
            } catch (const std::exception &) { // no memory, while an answer was sent: it ends here
            }
            client.connection.close();
            leave(client);
        }
    }
    ::close(socket);
    return true;
}

} // namespace wickerlane::cli::view
