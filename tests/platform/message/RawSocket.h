// Reading a socket of the message service without the library.
#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <string>

namespace wickerlane::test {

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
