// The limits of the message service.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGELIMITS_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGELIMITS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "wickerlane/platform/object/Handler.h"

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

    /// Connections of one process to one service. A further one is refused at once, not left waiting.
    std::size_t connections = 64;
    /// Connections of all processes of one user: many programs, and one that misbehaves, find room.
    std::size_t connectionsOfUser = 1'024;
    /// Keys of a message itself that a listener takes, since it reads them before others have their turn:
    /// requests have few.
    std::size_t keys = 1'024;
    /// Messages of one connection that a listener holds, those without reply too: past it the listener stops
    /// reading that sender.
    std::size_t heldMessages = 1'024;
    /// Bytes of one user that a listener holds, each way, as MessageCost reckons them: past it the listener
    /// begins no further message of that user, and handles none of those who leave answers unread. One
    /// message is always let through, if what it costs beyond its bytes stays within this too. Both ways
    /// together stay below 128 MiB with what is not reckoned.
    std::size_t queuedBytes = std::size_t{36} << 20;
    /// The same for what one process sends, so that it leaves room to others of its user.
    std::size_t queuedBytesOfProcess = std::size_t{24} << 20;
    /// Bytes of a message that is let through past these limits when its sender has no other in hand, so that
    /// short requests of a program go on beside another program of its user that floods.
    std::size_t shortMessage = 16 * 1'024;
    /// Bytes of answers that a process leaves unread on some of its connections before, past the user's
    /// limit, its others wait with them.
    std::size_t unreadBytesOfProcess = std::size_t{1} << 20;
    /// Bytes of answers that a listener keeps for a user who does not read them. Requests that were begun
    /// before the limit above was met may still be answered; past this one the connection ends.
    std::size_t unreadBytes = std::size_t{80} << 20;
    /// Descriptors of messages that one user, and one process, has begun to send and whose turn has not come.
    /// Past it no message with descriptors is begun.
    std::size_t begunDescriptors = 96;
    std::size_t begunDescriptorsOfProcess = 32;
    /// Peers whose messages are handled at a time where each has its own order, and those of one process:
    /// bounds the threads of a listener without letting one process take them all.
    std::size_t turns = 24;
    std::size_t turnsOfProcess = 4;
    /// How long a listener waits for the next piece of a message that was begun, and, where the unread
    /// answers of a user are above the limit, for a peer to read some more of them, so that a stalled peer
    /// does not keep its user's share indefinitely.
    std::chrono::milliseconds stalledMessage{10'000};

    /// Bytes that a connection gathers for a peer which does not read (bytes that are lent cost nothing and
    /// do not count): past it the connection is interrupted.
    static constexpr std::size_t gatheredBytes = std::size_t{64} << 20;
    /// How long a client waits for a service that was started to say that it runs.
    static constexpr std::chrono::milliseconds startTime{30'000};
    /// How often a client starts a service that dies before it says that it runs.
    static constexpr int startAttempts = 3;
};

/// What is charged for what is held, in bytes: the memory that it takes at most, in the small parts of which
/// a hostile peer would send many.
struct MessageCost {
    /// Of any message: its objects, with room for a few values.
    static constexpr std::size_t message = 1'024;
    /// Of a value, besides its bytes: its place, and the object that is made when it is asked for.
    static constexpr std::size_t value = 96;
    /// Of an entry of a dictionary within a message, besides its value: its key becomes an object too.
    static constexpr std::size_t entry = 224;
    /// Of a dictionary or an array within a message, likewise.
    static constexpr std::size_t container = 768;
    /// Of a descriptor, of which a process has few: a user's share is 72 of them each way. Of shared memory
    /// at least this.
    static constexpr std::size_t descriptor = 512 * 1'024;
};

/// How many times its bytes the data under a key takes at most when it is read; 0 where it stays as it is.
using MessageWeight = Handler<std::size_t(std::string_view key)>;

} // namespace wickerlane

#endif
