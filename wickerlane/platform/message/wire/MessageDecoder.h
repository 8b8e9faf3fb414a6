// From bytes to messages. Every byte is hostile until checked here.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEDECODER_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEDECODER_H

#include <span>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/value/MessageDictionary.h"
#include "wickerlane/platform/message/value/MessageError.h"
#include "wickerlane/platform/message/value/MessageSlot.h"

namespace wickerlane {

/// What becomes of data that is lent in a file. Only a client reads it: a file of a client's could keep a
/// listener waiting.
enum class LentFiles { areRefused, areRead };

/// Reads the contents of a frame, which lie in the buffer, as a dictionary, and checks them whole, nested
/// containers included. The dictionary reads them in place. Takes the frame's descriptors. Null when anything
/// is not as it should be. `cost`, unless null, gets what MessageCost makes of it.
[[nodiscard]] WL_EXPORT Ref<MessageDictionary> decodeMessage(const Ref<MessageBuffer> &buffer, Bytes contents,
                                                             std::span<UniqueFd> descriptors,
                                                             LentFiles files = LentFiles::areRefused,
                                                             std::size_t *cost = nullptr);

/// Reads the contents of an error reply or a refusal. Null when they are not as they should be.
[[nodiscard]] WL_EXPORT Ref<MessageError> decodeError(Bytes contents);

/// Reads a nested container that decodeMessage() has checked.
[[nodiscard]] Ref<MessageValue> readContainer(const MessageSlot &slot, const MessageOrigin &origin);

} // namespace wickerlane

#endif
