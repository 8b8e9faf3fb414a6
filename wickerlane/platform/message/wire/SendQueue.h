// What waits to be sent on a socket.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_SENDQUEUE_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_SENDQUEUE_H

#include <vector>

#include "wickerlane/platform/message/wire/MessageEncoder.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane {

/// Frames in the order of sending. Many threads append; one at a time sends all that waits. Guarded by its
/// owner's mutex, which is released while the kernel works.
class SendQueue {
public:
    enum class Outcome {
        sent,    ///< What was asked for.
        blocked, ///< The socket takes no more at present.
        failed,  ///< The socket takes nothing any more.
    };

    void append(const MessageEncoder &frame);
    [[nodiscard]] bool isEmpty() const noexcept { return sentBytes == appendedBytes; }
    /// A thread is in flush().
    [[nodiscard]] bool isBeingSent() const noexcept { return isFlushing; }
    [[nodiscard]] std::uint64_t appended() const noexcept { return appendedBytes; } ///< Bytes, ever.
    [[nodiscard]] std::uint64_t sent() const noexcept { return sentBytes; }         ///< Bytes, ever.
    [[nodiscard]] std::size_t queuedBytes() const noexcept { return appendedBytes - sentBytes; }
    /// What MessageCost makes of all that waits.
    [[nodiscard]] std::size_t cost() const noexcept {
        return queuedBytes() + waiting.descriptorCost + currentDescriptorCost;
    }
    /// What MessageCost makes of the descriptors that have been sent, ever.
    [[nodiscard]] std::uint64_t sentDescriptorCost() const noexcept { return sentDescriptors; }
    /// Bytes that are kept here, without those that are lent.
    [[nodiscard]] std::size_t gatheredBytes() const noexcept {
        return waiting.gathered.size() + currentBytes;
    }

    /// Sends until `upTo` bytes, ever, have been sent. `mutex` is the owner's, `flags` are those of
    /// sendmsg(2). To be called while no other thread is in it.
    [[nodiscard]] Outcome flush(Mutex &mutex, int socket, int flags, std::uint64_t upTo) WL_REQUIRES(mutex);

private:
    // A stretch of the stream: of the gathered bytes, or lent. Descriptors go with its first byte.
    struct Piece {
        Ref<MessageData> lent; // null: gathered
        std::size_t start;     // in the gathered bytes
        std::size_t length;
        std::size_t firstDescriptor;
        std::size_t descriptorCount;
    };
    struct Batch {
        std::vector<char> gathered;
        std::vector<Piece> pieces;
        std::vector<Ref<MessageValue>> descriptors;
        std::size_t descriptorCost = 0;
        std::size_t nextPiece = 0;
        std::size_t sentOfPiece = 0;

        [[nodiscard]] bool isEmpty() const noexcept { return nextPiece == pieces.size(); }
        void addGathered(std::string_view bytes, bool begins);
        [[nodiscard]] ssize_t send(int socket, int flags);
        void advance(std::size_t sent);
        void clear();
    };

    Batch waiting;
    Batch current; // belongs to the thread in flush()
    std::size_t currentBytes = 0;
    std::size_t currentDescriptorCost = 0;
    bool isFlushing = false;
    std::uint64_t appendedBytes = 0;
    std::uint64_t sentBytes = 0;
    std::uint64_t sentDescriptors = 0;
};

} // namespace wickerlane

#endif
