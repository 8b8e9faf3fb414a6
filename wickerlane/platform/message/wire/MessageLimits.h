// The limits of the message service.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGELIMITS_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGELIMITS_H

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace wickerlane {

/// Every limit of the message service, with its reason. Both ends keep them; a listener's can be lowered.
struct MessageLimits {
    /// Bytes of a message. Room for several of the largest pictures; received piece by piece, so that a
    /// claimed length costs nothing until the bytes arrive.
    static constexpr std::size_t messageBytes = std::size_t{256} << 20;
    /// Containers inside each other, the message itself included. Keeps every recursion short.
    static constexpr unsigned nesting = 64;
    /// Values in a message, the message itself included: bounds what a few bytes can make a receiver
    /// allocate.
    static constexpr std::size_t values = 1'048'576;
    /// Descriptors in a message: a request needs one or two, and a process can open only a limited number.
    static constexpr std::size_t descriptors = 8;
    /// Bytes of a key. Keys are names.
    static constexpr std::size_t keyBytes = 65'535;

    /// Bytes of the text of an error reply or a refusal. Longer texts are cut.
    static constexpr std::size_t errorTextBytes = 4'096;

    /// Shared memory that a receiver maps: a picture of 300 megapixels at four bytes fits.
    static constexpr std::size_t sharedMemoryBytes = std::size_t{2} << 30;

    /// Connections of one user to one service. A further one is refused at once, not left waiting.
    std::size_t connections = 64;
    /// Requests of one connection that wait for their reply: past it the listener stops reading that sender.
    std::size_t unanswered = 1'024;
    /// Bytes of one user that a listener holds, each way: past it the listener begins no further message of
    /// that user. One message is always let through.
    std::size_t queuedBytes = std::size_t{64} << 20;
    /// Bytes of answers that a listener keeps for a user who does not read them. Requests that were read
    /// before the limit above was met may still be answered; past this one the connection ends.
    std::size_t unreadBytes = std::size_t{512} << 20;
    /// How long a listener waits for the next piece of a message that was begun, so that a stalled peer does
    /// not keep its user's share indefinitely.
    std::chrono::milliseconds stalledMessage{10'000};

    /// Bytes that a connection gathers for a peer which does not read (bytes that are lent cost nothing and
    /// do not count): past it the connection is interrupted.
    static constexpr std::size_t gatheredBytes = std::size_t{64} << 20;
    /// How long a client waits for a service that was started to say that it runs.
    static constexpr std::chrono::milliseconds startTime{30'000};
    /// How often a client starts a service that dies before it says that it runs.
    static constexpr int startAttempts = 3;
};

} // namespace wickerlane

#endif
