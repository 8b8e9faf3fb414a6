// The request that a thread works for.
#ifndef HOARDD_SERVICE_CURRENTCALL_H
#define HOARDD_SERVICE_CURRENTCALL_H

#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane::hoardd {

/// While it lives, this thread works for one request: long work asks between its steps whether that has been
/// cancelled, however deep it is. Work of the daemon's own accord has none, and is never cancelled.
class CurrentCall {
public:
    explicit CurrentCall(ReceivedMessage *message) noexcept;
    ~CurrentCall();
    CurrentCall(const CurrentCall &) = delete;
    CurrentCall &operator=(const CurrentCall &) = delete;

    [[nodiscard]] static bool isCancelled();

private:
    ReceivedMessage *const outer;
};

} // namespace wickerlane::hoardd

#endif
