#include "wickerlane/platform/message/service/ServiceConnector.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/TrustedPath.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/service/ServiceStart.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/message/wire/MessageWire.h"

namespace wickerlane {
namespace {

using Clock = std::chrono::steady_clock;

enum class Received { all, tooLate, ended };

// Receives exactly that many bytes. Nothing follows the first frame before the client has sent something.
Received receive(int socket, void *into, std::size_t wanted, Clock::time_point deadline) {
    for (std::size_t count = 0; count < wanted;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
        const int ready = left <= 0 ? 0 : poll(&readable, 1, static_cast<int>(left));
        if (ready == 0)
            return Received::tooLate;
        if (ready < 0)
            continue;
        const ssize_t got = recv(socket, static_cast<char *>(into) + count, wanted - count, MSG_DONTWAIT);
        if (got < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (got <= 0)
            return Received::ended;
        count += static_cast<std::size_t>(got);
    }
    return Received::all;
}

// Tells the service what this client is. The socket has room for it: nothing was sent before.
bool sayHello(int socket) {
    MessageEncoder frame;
    frame.encodeHello();
    const std::string_view bytes = frame.gathered();
    return retryInterrupted([&] { return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL); }) ==
           static_cast<ssize_t>(bytes.size());
}

// What the service says first, without the socket; nothing when it went away before it said anything.
std::optional<Connected> awaitHello(int socket) {
    const auto deadline = Clock::now() + MessageLimits::startTime;
    FrameHeader header{};
    std::byte contents[sizeof(std::int64_t) + MessageLimits::errorTextBytes]; // of the longest refusal
    Received received = receive(socket, &header, sizeof header, deadline);
    if (received == Received::all) {
        if (header.mark != FrameHeader::expectedMark || header.length > sizeof contents)
            return Connected{};
        received = receive(socket, contents, header.length, deadline);
    }
    if (received == Received::ended)
        return std::nullopt;
    if (received == Received::tooLate)
        return Connected{};
    if (header.kind == FrameKind::refusal)
        return Connected{.refusal = decodeError({contents, header.length})};
    const bool isOurs = header.kind == FrameKind::hello && header.length >= sizeof FrameHeader::version &&
                        loadUnaligned<std::uint32_t>(contents) == FrameHeader::version;
    if (!isOurs)
        return Connected{};
    if (header.id != 0 && !sayHello(socket))
        return std::nullopt;
    return Connected{.outcome = ConnectOutcome::connected, .version = PeerVersion::fromNumber(header.id)};
}

bool isForbidden(int error) {
    return error == EACCES || error == EPERM || error == EROFS;
}

// Starts the service unless another process has done so meanwhile. False when it can't be started; errno says
// whether this user is kept out.
bool start(const char *name, const ServiceSocket &place, const ServiceDescription &description) {
    const UniqueFd lock = place.lock();
    if (!lock)
        return false;
    if (place.connect())
        return true;
    // This process listens before the service runs, so that clients can connect from now on.
    const UniqueFd listening = place.listen();
    const bool isStarted = listening && startService(name, description, listening.get());
    errno = 0;
    return isStarted;
}

// For a user whom the permissions of files keep out.
Connected forbidden(ConnectOutcome outcome, const std::string &why, int error) {
    constexpr std::int64_t kindNotWritable = 9; // as the model numbers the kinds of problems
    return {.outcome = outcome,
            .refusal = MessageError::create(why + ": " + strerrordesc_np(error), kindNotWritable)};
}

// A client that would be served by what another user has put there.
Connected refused(std::string_view why) {
    constexpr std::int64_t kindRefused = 3; // as the model numbers the kinds of problems
    return {.outcome = ConnectOutcome::invalid,
            .refusal = why.empty() ? nullptr : MessageError::create(why, kindRefused)};
}

} // namespace

Connected connectToService(const char *name, const Handler<bool(int)> &watch) {
    if (!isServiceName(name))
        return {.outcome = ConnectOutcome::invalid};
    const std::string root = rootPath();
    if (const std::string why = whyUntrusted(root); !why.empty())
        return refused("the root " + root + " is not used: " + why);
    const ServiceSocket place(name);
    // Between starts the service may come and go for good reasons; that many times in a row it does not.
    constexpr int maxRounds = 16;
    int starts = 0;
    for (int round = 0; round < maxRounds; ++round) {
        UniqueFd socket = place.connect();
        if (socket) {
            if (!watch(socket.get()))
                return {};
            auto said = awaitHello(socket.get());
            if (!watch(-1))
                return {};
            if (!said)
                continue;
            if (said->outcome == ConnectOutcome::connected)
                said->socket = std::move(socket);
            return std::move(*said);
        }
        if (isForbidden(errno))
            return forbidden(ConnectOutcome::interrupted,
                             std::string("this user may not reach ") + name + " below " + root, errno);
        if (errno != ENOENT && errno != ECONNREFUSED)
            return {};
        std::string whyNot;
        const auto description = findServiceDescription(name, &whyNot);
        if (!description)
            return refused(whyNot);
        if (starts++ == MessageLimits::startAttempts)
            return {.outcome = ConnectOutcome::invalid};
        if (!start(name, place, *description) && isForbidden(errno))
            return forbidden(
                ConnectOutcome::invalid,
                std::string(name) + " does not run, and this user may not start it below " + root, errno);
    }
    return {.outcome = ConnectOutcome::invalid};
}

} // namespace wickerlane
