#include "hoardd/media/Protocol.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cstring>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane::hoardd::media {

namespace {

struct ControlBuffer {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * maxDescriptors)> bytes{};
};

} // namespace

Result<> sendPacket(int socket, std::span<const std::byte> packet, std::span<const int> descriptors) {
    iovec part{const_cast<std::byte *>(packet.data()), packet.size()};
    ControlBuffer control;
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
    }
    const ssize_t sent = retryInterrupted([&] { return sendmsg(socket, &message, MSG_NOSIGNAL); });
    if (sent != static_cast<ssize_t>(packet.size()))
        return failSystem("send", "a packet");
    return {};
}

Result<> receivePacket(int socket, std::span<std::byte> packet, std::vector<UniqueFd> &descriptors) {
    iovec part{packet.data(), packet.size()};
    ControlBuffer control;
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    const ssize_t received = retryInterrupted([&] { return recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
    if (received < 0)
        return failSystem("receive", "a packet");
    for (cmsghdr *header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t index = 0; index < count; ++index) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(header) + index * sizeof(int), sizeof descriptor);
            descriptors.emplace_back(descriptor);
        }
    }
    if (received != static_cast<ssize_t>(packet.size()) ||
        (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0)
        return fail(ProblemKind::failed, "the other end hung up, or sent something else");
    return {};
}

} // namespace wickerlane::hoardd::media
