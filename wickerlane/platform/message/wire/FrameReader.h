// Frames out of a socket.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_FRAMEREADER_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_FRAMEREADER_H

#include <vector>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/wire/MessageBuffer.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/message/wire/MessageWire.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane {

/// Cuts what arrives on a socket into frames. Small frames share a buffer; a long one gets a buffer of its
/// own, which grows with what arrives and in which its data stays. One thread at a time.
class WL_EXPORT FrameReader {
public:
    /// Gives what lives as long as a shared buffer of that many bytes which the reader leaves to the messages
    /// in it. A single one of them may keep all of it.
    using Charge = Handler<Ref<Object>(std::size_t bytes)>;

    static constexpr std::size_t sharedBytes = 32 * 1024; ///< Of a buffer for small frames.

    enum class Outcome { bytes, nothing, ended, malformed };
    enum class Next { frame, incomplete, malformed };

    struct Frame {
        FrameHeader header;
        Ref<MessageBuffer> buffer;
        Bytes contents;
        std::vector<UniqueFd> descriptors;
    };

    void setCharge(Charge chosen) { charge = std::move(chosen); }

    /// Receives once. `flags` are those of recvmsg(2). With MSG_DONTWAIT `nothing` means that nothing is
    /// there. Unless a long frame is being received, at most `smallBytes` bytes are.
    [[nodiscard]] Outcome receive(int socket, int flags, std::size_t smallBytes = sharedBytes);
    /// The next frame of what was received, if it is whole.
    [[nodiscard]] Next next(Frame &frame);
    /// A frame has begun and is not whole.
    [[nodiscard]] bool isMidFrame() const noexcept { return first != last; }
    /// Length of the frame that has begun, with its header; 0 until its header is there.
    [[nodiscard]] std::size_t currentFrameLength() const noexcept { return frameLength; }
    /// How many descriptors came with what was received and is not given out.
    [[nodiscard]] std::size_t heldDescriptors() const noexcept { return descriptors.size(); }
    /// Whether the next bytes of a socket bring descriptors. Leaves both where they are.
    [[nodiscard]] static bool nextBringsDescriptors(int socket);
    /// Whether the last receive() filled all the room it had, so that more may be waiting.
    [[nodiscard]] bool wasFilled() const noexcept { return filled; }

private:
    [[nodiscard]] bool makeRoom();
    void replaceBuffer(Ref<MessageBuffer> fresh);

    // Only what arrives is touched, and takes memory.
    static constexpr std::size_t firstBytesOfLongFrame = 32 * 1024 * 1024;
    Ref<MessageBuffer> buffer;
    std::size_t first = 0; // of the bytes not yet given out
    std::size_t last = 0;
    std::size_t frameLength = 0;
    bool filled = false;
    Charge charge;
    std::vector<UniqueFd> descriptors; // not yet given out
};

} // namespace wickerlane

#endif
