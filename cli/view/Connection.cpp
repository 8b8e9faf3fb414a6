#include "cli/view/Connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane::cli::view {
namespace {

using namespace std::chrono_literals;

/// For the whole head of a request; between two parts of its body, or of an answer.
constexpr auto headTime = 10s;
constexpr auto idleTime = 20s;
/// What is read of a request that was refused, so that its sender gets the answer.
constexpr auto lingerTime = 1s;
constexpr std::size_t maxLingerBytes = 1 << 20;

template <class Time>
bool waitFor(int descriptor, short events, Time until) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        pollfd polled{descriptor, events, 0};
        const int count = ::poll(&polled, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (count > 0)
            return true;
        if (count == 0 || errno != EINTR)
            return false;
    }
}

} // namespace

bool Connection::fill(Clock::time_point until) {
    if (begin < end)
        return true;
    for (;;) {
        const ssize_t count = retryInterrupted(
            [&] { return ::recv(descriptor, received.data(), received.size(), MSG_DONTWAIT); });
        if (count > 0) {
            begin = 0;
            end = static_cast<std::size_t>(count);
            return true;
        }
        if (count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK) || !waitFor(descriptor, POLLIN, until))
            return false;
    }
}

bool Connection::awaitRequest(std::chrono::milliseconds time) {
    if (!fill(Clock::now() + time))
        return false;
    part = Part::head;
    headUntil = Clock::now() + headTime;
    headBytes = 0;
    hasHead = false;
    return true;
}

void Connection::beginBody(std::uint64_t length) noexcept {
    part = Part::body;
    bodyLeft = length;
}

ssize_t Connection::read(char *to, size_t size) {
    const bool isHead = part == Part::head;
    if (isHead)
        size = std::min(size, maxHeadBytes - headBytes);
    else
        size = static_cast<std::size_t>(std::min<std::uint64_t>(size, bodyLeft));
    if (size == 0 || !fill(isHead ? headUntil : Clock::now() + idleTime))
        return 0; // what is missing keeps another request from following
    size = std::min(size, end - begin);
    std::memcpy(to, received.data() + begin, size);
    begin += size;
    if (isHead)
        headBytes += size;
    else
        bodyLeft -= size;
    return static_cast<ssize_t>(size);
}

bool Connection::send(std::span<const char> first, std::span<const char> second) {
    while (!hasFailed && first.size() + second.size() > 0) {
        std::array<iovec, 2> parts{iovec{const_cast<char *>(first.data()), first.size()},
                                   iovec{const_cast<char *>(second.data()), second.size()}};
        msghdr message = {};
        message.msg_iov = parts.data();
        message.msg_iovlen = parts.size();
        const ssize_t count =
            retryInterrupted([&] { return ::sendmsg(descriptor, &message, MSG_DONTWAIT | MSG_NOSIGNAL); });
        if (count < 0) {
            const bool waits = errno == EAGAIN || errno == EWOULDBLOCK;
            hasFailed = !waits || !waitFor(descriptor, POLLOUT, Clock::now() + idleTime);
            continue;
        }
        const auto sent = static_cast<std::size_t>(count);
        const std::size_t ofFirst = std::min(sent, first.size());
        first = first.subspan(ofFirst);
        second = second.subspan(sent - ofFirst);
    }
    return !hasFailed;
}

ssize_t Connection::write(const char *from, size_t size) {
    if (!hasHead) { // the first write of an answer is its head
        held.assign(from, size);
        hasHead = true;
        return static_cast<ssize_t>(size);
    }
    const bool isSent = send(held, {from, size});
    held.clear();
    return isSent ? static_cast<ssize_t>(size) : -1;
}

bool Connection::endAnswer() {
    const bool isSent = send(held, {});
    held.clear();
    return isSent && part == Part::body && bodyLeft == 0;
}

void Connection::close() {
    ::shutdown(descriptor, SHUT_WR);
    const auto until = Clock::now() + lingerTime;
    for (std::size_t dropped = 0; part != Part::none && dropped < maxLingerBytes; dropped += end) {
        begin = end;
        if (!fill(until))
            break;
    }
}

void Connection::get_remote_ip_and_port(std::string &ip, int &port) const {
    ip.clear();
    port = 0;
}

void Connection::get_local_ip_and_port(std::string &ip, int &port) const {
    ip.clear();
    port = 0;
}

} // namespace wickerlane::cli::view
