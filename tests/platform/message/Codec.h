// Encoding and decoding without a connection.
#pragma once

#include <algorithm>
#include <string>

#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane::test {

inline Ref<MessageDictionary> decode(std::string_view bytes, std::span<UniqueFd> descriptors = {},
                                     LentFiles files = LentFiles::areRefused) {
    const auto buffer = MessageBuffer::create(std::max<std::size_t>(bytes.size(), 1));
    std::memcpy(buffer->bytes(), bytes.data(), bytes.size());
    return decodeMessage(buffer, {buffer->bytes(), bytes.size()}, descriptors, files);
}

// The contents of the frame, its lent parts included.
inline std::string contentsOf(const MessageEncoder &encoder) {
    std::string bytes;
    std::size_t done = 0;
    for (const auto &lent : encoder.lent()) {
        bytes += encoder.gathered().substr(done, lent.position - done);
        bytes.append(static_cast<const char *>(lent.data->bytes()), lent.data->length());
        done = lent.position;
    }
    bytes += encoder.gathered().substr(done);
    return bytes.substr(sizeof(FrameHeader));
}

inline Ref<MessageDictionary> roundTrip(const MessageDictionary *message) {
    MessageEncoder encoder;
    if (encoder.encode(FrameKind::message, 0, message) != nullptr)
        return nullptr;
    return decode(contentsOf(encoder));
}

} // namespace wickerlane::test
