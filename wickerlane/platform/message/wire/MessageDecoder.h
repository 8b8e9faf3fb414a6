// From bytes to messages. Every byte is hostile until checked here.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEDECODER_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEDECODER_H

#include <span>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/value/MessageDictionary.h"
#include "wickerlane/platform/message/value/MessageError.h"
#include "wickerlane/platform/message/value/MessageSlot.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {

/// What becomes of data that is lent in a file. Only a client reads it: a file of a client's could keep a
/// listener waiting.
enum class LentFiles { areRefused, areRead };

/// Reads the contents of a frame, which lie in the buffer, as a dictionary, and checks them whole, nested
/// containers included. The dictionary reads them in place. Takes the frame's descriptors. Null when anything
/// is not as it should be.
[[nodiscard]] WL_EXPORT Ref<MessageDictionary> decodeMessage(const Ref<MessageBuffer> &buffer, Bytes contents,
                                                             std::span<UniqueFd> descriptors,
                                                             LentFiles files = LentFiles::areRefused);

/// What a message will cost.
struct MessageMeasure {
    bool isSound = false;   ///< As far as can be told without its descriptors.
    bool isTooMuch = false; ///< It has too many keys, or its values cost too much: the rest is not measured.
    std::size_t cost = 0;   ///< As MessageCost reckons it, and by the weights of its keys.
};

/// What is too much.
struct MessageMeasureLimits {
    std::size_t keys;   ///< Of the message itself.
    std::size_t values; ///< What MessageCost makes of the values, without their bytes.
};

/// Checks the contents of a frame and reckons what they will cost, without making objects of them.
/// `descriptors` is the number that came with the frame. `weight` may be null.
[[nodiscard]] WL_EXPORT MessageMeasure measureMessage(Bytes contents, std::size_t descriptors,
                                                      const MessageWeight &weight,
                                                      MessageMeasureLimits limits);

/// Reads the contents of an error reply or a refusal. Null when they are not as they should be.
[[nodiscard]] WL_EXPORT Ref<MessageError> decodeError(Bytes contents);

/// Reads a nested container that decodeMessage() has checked.
[[nodiscard]] Ref<MessageValue> readContainer(const MessageSlot &slot, const MessageOrigin &origin);

} // namespace wickerlane

#endif
