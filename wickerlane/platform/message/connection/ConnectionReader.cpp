#include "wickerlane/platform/message/connection/ConnectionReader.h"

#include "wickerlane/platform/message/wire/MessageDecoder.h"

namespace wickerlane {

ConnectionReader::Result ConnectionReader::read(int socket, int flags, std::vector<Received> &received) {
    switch (frames.receive(socket, flags)) {
    case FrameReader::Outcome::bytes:
        return {.isSound = decode(received), .mayHaveMore = frames.wasFilled()};
    case FrameReader::Outcome::nothing:
        return {.isSound = true, .mayHaveMore = false};
    case FrameReader::Outcome::ended:
    case FrameReader::Outcome::malformed:
        break;
    }
    return {.isSound = false, .mayHaveMore = false};
}

Ref<MessageError> ConnectionReader::decodeReplyError(Bytes contents) const {
    auto error = decodeError(contents);
    if (error != nullptr)
        error->setService(service);
    return error;
}

bool ConnectionReader::decode(std::vector<Received> &received) {
    FrameReader::Frame frame;
    for (;;) {
        const auto next = frames.next(frame);
        if (next != FrameReader::Next::frame)
            return next == FrameReader::Next::incomplete;
        const FrameKind kind = frame.header.kind;
        Ref<MessageValue> value;
        if (kind == FrameKind::reply || kind == FrameKind::message)
            value = decodeMessage(frame.buffer, frame.contents, frame.descriptors, LentFiles::areRead);
        else if (kind == FrameKind::errorReply && frame.descriptors.empty())
            value = decodeReplyError(frame.contents);
        if (value == nullptr)
            return false;
        received.push_back({kind, frame.header.id, std::move(value)});
    }
}

} // namespace wickerlane
