// The server of the page.
#ifndef CLI_VIEW_SERVER_H
#define CLI_VIEW_SERVER_H

#include <httplib.h>

#include <atomic>
#include <cstdint>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::cli::view {

class Connection;

/// HTTP on the loopback interface. Each connection has a thread, and there is a bounded number of them: when
/// there are many, those that wait longest for a request, or whose browser is not known, give way.
class Server : private httplib::Server {
public:
    using Request = httplib::Request;
    using Response = httplib::Response;

    /// Who asks and who answers. Called on the threads of connections.
    class Delegate {
    public:
        virtual ~Delegate() = default;
        /// Whether the connection's browser is known.
        virtual bool isKnown(const Request &request) = 0;
        /// Whether the request is one to be answered; answers it if not.
        virtual bool admits(const Request &request, Response &response) = 0;
        virtual void answerQuestion(const Request &request, Response &response) = 0;
        virtual void answerChange(const Request &request, Response &response,
                                  const httplib::ContentReader &body) = 0;
    };

    explicit Server(Delegate &asked);
    ~Server() override;

    /// Begins to listen on a port; 0 for any. Gives the port.
    [[nodiscard]] Result<int> bind(std::uint64_t port);
    /// Serves until stop() is called, or the system takes the socket away. Returns when no connection is
    /// left.
    void serve();
    /// Once, from another thread than serve(), which is called before or soon.
    void stop();

private:
    class Threads;
    struct Client;

    bool process_and_close_socket(socket_t socket) override;
    void serveClient(Client &client);
    [[nodiscard]] bool enter(Client &client);
    void leave(Client &client);

    Delegate &delegate;
    std::atomic<bool> hasServed{false};
    Mutex mutex;
    std::vector<Client *> clients WL_GUARDED_BY(mutex); // in the order in which they came
    bool isStopping WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane::cli::view

#endif
