// How much of the log one client may fill.
#ifndef HOARDD_SERVICE_PEERLOG_H
#define HOARDD_SERVICE_PEERLOG_H

#include <sys/types.h>

#include <string>
#include <string_view>

namespace wickerlane::hoardd {

/// As long as it lives, what the thread that made it logs is due to a request of a process. Scopes nest.
class PeerLogScope {
public:
    explicit PeerLogScope(pid_t process) noexcept;
    PeerLogScope(const PeerLogScope &) = delete;
    PeerLogScope &operator=(const PeerLogScope &) = delete;
    ~PeerLogScope();

private:
    pid_t outer;
};

/// From now on, at most 20 lines in 10 seconds are logged for each process. How many were left out is logged
/// at the end of the 10 seconds.
void limitLinesOfPeers();
/// Logs at once what has been left out so far.
void sayWhatWasLeftOut();

/// A text from outside, as it is logged: at most 1 KiB of it.
[[nodiscard]] std::string shownInLog(std::string_view text);

} // namespace wickerlane::hoardd

#endif
