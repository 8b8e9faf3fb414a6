// How a container stores a value.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESLOT_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESLOT_H

#include <vector>

#include "wickerlane/platform/message/value/MessageData.h"
#include "wickerlane/platform/message/wire/MessageBuffer.h"

namespace wickerlane {

/// One value where it lies in a container: numbers in place, text and bytes by reference into the container's
/// arena or the receive buffer. `object` is the value as an object of its own: owned by the container, given
/// by who set it, or made on first use.
struct MessageSlot {
    MessageKind kind;
    std::uint32_t length; ///< Of text or bytes; of the encoding of a received container.
    union {
        std::int64_t signedValue;
        std::uint64_t unsignedValue;
        double realValue; ///< Also dates.
        bool boolean;
        const char *text;         ///< NUL-terminated. Strings; errors, whose kind follows the NUL.
        const std::byte *place;   ///< Bytes of data, of a UUID, or the encoding of a received container.
        std::uint64_t descriptor; ///< Of what was received: which of the message's descriptors.
    };
    MessageValue *object;
};

/// A slot that refers to a value; the container retains it.
[[nodiscard]] MessageSlot makeSlot(MessageValue *value) noexcept;

/// The values made of a received message's descriptors.
class ReceivedDescriptors final : public Object {
public:
    std::vector<Ref<MessageValue>> values;
};

/// Where the contents of a received container live: in the buffer, with the descriptors of its message if
/// there are any.
struct MessageOrigin {
    Ref<MessageBuffer> buffer;
    Ref<ReceivedDescriptors> descriptors;
};

/// The slot's value as an object; made and kept on first use, by whichever thread comes first.
[[nodiscard]] MessageValue *materialise(MessageSlot &slot, const MessageOrigin &origin);

/// The bytes of a slot of kind data, wherever they are; the length of `slot.length` bounds only those in
/// place.
[[nodiscard]] inline Bytes bytesOf(const MessageSlot &slot) noexcept {
    if (slot.place != nullptr || slot.object == nullptr)
        return {slot.place, slot.length};
    const auto *data = static_cast<const MessageData *>(slot.object);
    return {static_cast<const std::byte *>(data->bytes()), data->length()};
}

} // namespace wickerlane

#endif
