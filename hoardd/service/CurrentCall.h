// The request that a thread works for.
#ifndef HOARDD_SERVICE_CURRENTCALL_H
#define HOARDD_SERVICE_CURRENTCALL_H

#include <cstdint>

#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane::hoardd {

/// How much of a request is done.
struct WorkDone {
    std::uint64_t done = 0;
    std::uint64_t total = 0; ///< 0 when it is not known.
};

/// While it lives, this thread works for one request: long work asks between its steps whether that has been
/// cancelled, and says how far it is, however deep it is. Work of the daemon's own accord has none, and is
/// never cancelled.
class CurrentCall {
public:
    explicit CurrentCall(ReceivedMessage *message) noexcept;
    ~CurrentCall();
    CurrentCall(const CurrentCall &) = delete;
    CurrentCall &operator=(const CurrentCall &) = delete;

    [[nodiscard]] static bool isCancelled();
    /// Notes how much of it is done. To be called a thousand times a second at most.
    static void report(WorkDone done);
    /// What was noted last of a request of this connection that is being worked for. Any thread.
    [[nodiscard]] static WorkDone doneFor(const MessagePeer *peer);

private:
    ReceivedMessage *const message;
    CurrentCall *const outer;
    bool isReported = false;
};

} // namespace wickerlane::hoardd

#endif
