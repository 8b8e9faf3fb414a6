#include "wickerlane/platform/message/service/ServiceConnector.h"

#include <poll.h>

#include <cerrno>
#include <optional>

#include "wickerlane/platform/message/service/ServiceDescription.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/wire/FrameReader.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {
namespace {

using Clock = std::chrono::steady_clock;

// What the service said first; nothing when it went away before it said anything.
std::optional<ConnectOutcome> awaitHello(int socket) {
    // Nothing follows the hello before the client has sent something, so reading exactly its bytes is enough.
    char bytes[sizeof(FrameHeader) + sizeof(std::uint32_t)];
    std::size_t count = 0;
    std::size_t wanted = sizeof(FrameHeader);
    const auto deadline = Clock::now() + MessageLimits::startTime;
    while (count < wanted) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
        const int ready = left <= 0 ? 0 : poll(&readable, 1, static_cast<int>(left));
        if (ready == 0)
            return ConnectOutcome::interrupted;
        if (ready < 0)
            continue;
        const ssize_t got = recv(socket, bytes + count, wanted - count, MSG_DONTWAIT);
        if (got < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (got <= 0)
            return std::nullopt;
        count += static_cast<std::size_t>(got);
        if (count != sizeof(FrameHeader))
            continue;
        const auto header = loadUnaligned<FrameHeader>(bytes);
        if (header.mark != FrameHeader::expectedMark || header.kind != FrameKind::hello ||
            header.length != sizeof(std::uint32_t))
            return ConnectOutcome::interrupted;
        wanted = sizeof bytes;
    }
    return loadUnaligned<std::uint32_t>(bytes + sizeof(FrameHeader)) == FrameHeader::version
               ? ConnectOutcome::connected
               : ConnectOutcome::interrupted;
}

// Starts the service unless another process has done so meanwhile. False when it can't be started.
bool start(const char *name, const ServiceSocket &place, const ServiceDescription &description) {
    const UniqueFd lock = place.lock();
    if (!lock)
        return false;
    if (place.connect())
        return true;
    // The starter listens before the service runs: whoever connects from now on stands in its queue.
    const UniqueFd listening = place.listen();
    return listening && startService(name, description, listening.get());
}

} // namespace

Connected connectToService(const char *name, const Handler<bool(int)> &watch) {
    if (!isServiceName(name))
        return {ConnectOutcome::invalid, {}};
    const ServiceSocket place(name);
    // Between starts the service may come and go for good reasons; that many times in a row it does not.
    constexpr int mostRounds = 16;
    int starts = 0;
    for (int round = 0; round < mostRounds; ++round) {
        UniqueFd socket = place.connect();
        if (socket) {
            if (!watch(socket.get()))
                return {ConnectOutcome::interrupted, {}};
            const auto said = awaitHello(socket.get());
            if (!watch(-1))
                return {ConnectOutcome::interrupted, {}};
            if (said)
                return {*said, *said == ConnectOutcome::connected ? std::move(socket) : UniqueFd()};
            continue;
        }
        if (errno != ENOENT && errno != ECONNREFUSED)
            return {ConnectOutcome::interrupted, {}};
        const auto description = findServiceDescription(name);
        if (!description || starts++ == MessageLimits::startAttempts)
            return {ConnectOutcome::invalid, {}};
        if (!start(name, place, *description))
            continue;
    }
    return {ConnectOutcome::invalid, {}};
}

} // namespace wickerlane
