// A socket of the message service without the library.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace wickerlane::test {

inline void sendBytes(int socket, std::string_view bytes, std::span<const int> descriptors = {}) {
    iovec part{const_cast<char *>(bytes.data()), bytes.size()};
    char control[CMSG_SPACE(64 * sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(descriptors.size_bytes());
        std::memcpy(CMSG_DATA(header), descriptors.data(), descriptors.size_bytes());
    }
    EXPECT_EQ(sendmsg(socket, &message, MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

// All that comes until the other end closes; false when that takes too long.
inline bool readToEnd(int socket, std::string &bytes) {
    char piece[4096];
    for (;;) {
        pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
        if (poll(&readable, 1, 60'000) != 1)
            return false;
        const ssize_t count = recv(socket, piece, sizeof piece, 0);
        if (count <= 0)
            return true;
        bytes.append(piece, static_cast<std::size_t>(count));
    }
}

} // namespace wickerlane::test
