// A connection of a browser.
#ifndef CLI_VIEW_CONNECTION_H
#define CLI_VIEW_CONNECTION_H

#include <httplib.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>

namespace wickerlane::cli::view {

/// Bytes of a request's line and headers.
inline constexpr std::size_t maxHeadBytes = 16 << 10;

/// Reads and writes with limits that a slow or hostile client can't get past: the head of a request has a
/// size and a time, and nothing waits for long without a byte. Used by one thread.
class Connection final : public httplib::Stream {
public:
    /// Borrows the socket.
    explicit Connection(int borrowed) noexcept : descriptor(borrowed) {}

    /// Waits for the first byte of the next request. False when none comes in that time.
    [[nodiscard]] bool awaitRequest(std::chrono::milliseconds time);
    /// The head has been read; a body of that length follows.
    void beginBody(std::uint64_t length) noexcept;
    /// Sends what is left of the answer. Whether another request can follow: this one was read whole, and
    /// nothing has failed.
    [[nodiscard]] bool endAnswer();
    /// Ends the connection so that the client gets the answer even if the rest of its request was not read.
    void close();

    [[nodiscard]] bool is_readable() const override { return true; }
    [[nodiscard]] bool is_writable() const override { return !hasFailed; }
    ssize_t read(char *to, size_t size) override;
    ssize_t write(const char *from, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    [[nodiscard]] socket_t socket() const override { return descriptor; }

private:
    using Clock = std::chrono::steady_clock;
    enum class Part { none, head, body };

    [[nodiscard]] bool fill(Clock::time_point until);
    [[nodiscard]] bool send(std::span<const char> first, std::span<const char> second);

    int descriptor;
    std::array<char, maxHeadBytes> received; // NOLINT(*-member-init): read as far as it is filled
    std::size_t begin = 0, end = 0;          // of what was received and not read
    Part part = Part::none;
    Clock::time_point headUntil;
    std::size_t headBytes = 0;
    std::uint64_t bodyLeft = 0;
    std::string held; // the head of the answer, which is sent with what follows
    bool hasHead = false;
    bool hasFailed = false;
};

} // namespace wickerlane::cli::view

#endif
