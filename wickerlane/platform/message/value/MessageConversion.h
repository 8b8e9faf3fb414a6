// Property-list objects as message values, and back.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGECONVERSION_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGECONVERSION_H

#include "wickerlane/platform/message/value/MessageKind.h"

namespace wickerlane {

/// Converts a property-list object, or any tree of strings, numbers, dates, data, UUIDs, arrays and
/// dictionaries with text keys, into the message value of the same kinds; the message-service objects that an
/// array holds are taken as they are. Null when the tree holds anything else, or is nested too deeply.
[[nodiscard]] WL_EXPORT Ref<MessageValue> createMessageValue(const Object *object);

/// The way back: every kind survives the round trip, and reads as the property-list object of that kind (a
/// boolean as a boolean, an unsigned number as an unsigned one, a date as a date). Null for kinds that have
/// no such object (descriptors, errors, shared memory).
[[nodiscard]] WL_EXPORT Ref<Object> createObject(const MessageValue *value);

} // namespace wickerlane

#endif
