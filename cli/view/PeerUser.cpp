#include "cli/view/PeerUser.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <optional>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::cli::view {
namespace {

struct Question {
    nlmsghdr header{};
    inet_diag_req_v2 request{};
};

bool isIPv4(const sockaddr_in &address, socklen_t length) {
    return length == sizeof address && address.sin_family == AF_INET;
}

/// Asks the kernel for the socket that is the other end of this one.
std::optional<Question> questionAbout(int socket) {
    sockaddr_in own{}, peer{};
    socklen_t ownLength = sizeof own, peerLength = sizeof peer;
    if (::getsockname(socket, reinterpret_cast<sockaddr *>(&own), &ownLength) != 0 ||
        ::getpeername(socket, reinterpret_cast<sockaddr *>(&peer), &peerLength) != 0 ||
        !isIPv4(own, ownLength) || !isIPv4(peer, peerLength))
        return std::nullopt;
    Question question;
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.request.sdiag_family = AF_INET;
    question.request.sdiag_protocol = IPPROTO_TCP;
    question.request.idiag_states = ~0U;
    question.request.id.idiag_sport = peer.sin_port;
    question.request.id.idiag_dport = own.sin_port;
    question.request.id.idiag_src[0] = peer.sin_addr.s_addr;
    question.request.id.idiag_dst[0] = own.sin_addr.s_addr;
    question.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    question.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return question;
}

std::optional<uid_t> userOfPeer(int socket) {
    const auto question = questionAbout(socket);
    const UniqueFd kernel(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!question || !kernel ||
        ::send(kernel.get(), &*question, sizeof *question, 0) != static_cast<ssize_t>(sizeof *question))
        return std::nullopt;
    alignas(nlmsghdr) std::array<char, 4096> answer{};
    const ssize_t count =
        retryInterrupted([&] { return ::recv(kernel.get(), answer.data(), answer.size(), MSG_DONTWAIT); });
    nlmsghdr header{};
    inet_diag_msg message{};
    if (count < static_cast<ssize_t>(NLMSG_HDRLEN + sizeof message))
        return std::nullopt;
    std::memcpy(&header, answer.data(), sizeof header);
    if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY)
        return std::nullopt;
    std::memcpy(&message, answer.data() + NLMSG_HDRLEN, sizeof message);
    return message.idiag_uid;
}

} // namespace

bool isOfThisUser(int socket) {
    const auto user = userOfPeer(socket);
    return !user || *user == ::geteuid() || *user == 0;
}

} // namespace wickerlane::cli::view
