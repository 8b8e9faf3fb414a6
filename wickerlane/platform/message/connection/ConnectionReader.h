// What a connection receives.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONREADER_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_CONNECTIONREADER_H

#include "wickerlane/platform/message/value/MessageError.h"
#include "wickerlane/platform/message/wire/FrameReader.h"
#include "wickerlane/platform/message/wire/PeerVersion.h"

namespace wickerlane {

/// Receives and decodes. It belongs to the one thread that reads, which does not hold the connection's mutex
/// meanwhile.
class ConnectionReader {
public:
    struct Received {
        FrameKind kind; // message, reply or errorReply
        std::uint64_t id;
        Ref<MessageValue> value;
    };
    struct Result {
        bool isSound;     // false: the peer went away, or broke the rules
        bool mayHaveMore; // there may be more to read
    };

    /// The version of the service at the other end. Before reading.
    void setService(const PeerVersion &version) noexcept { service = version; }
    /// Receives once, with the flags of recvmsg(2), and puts what has come whole into `received`.
    [[nodiscard]] Result read(int socket, int flags, std::vector<Received> &received);
    /// A frame has begun and is not whole.
    [[nodiscard]] bool isMidFrame() const noexcept { return frames.isMidFrame(); }

private:
    [[nodiscard]] bool decode(std::vector<Received> &received);
    [[nodiscard]] Ref<MessageError> decodeReplyError(Bytes contents) const;
    FrameReader frames;
    PeerVersion service;
};

} // namespace wickerlane

#endif
