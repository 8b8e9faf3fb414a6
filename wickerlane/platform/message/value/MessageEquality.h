// Equality of message values by structure.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEEQUALITY_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEEQUALITY_H

#include <cstddef>

#include "wickerlane/platform/message/value/MessageKind.h"

namespace wickerlane {

/// See MessageValue::isEqual().
[[nodiscard]] bool areEqualMessageValues(const MessageValue *a, const MessageValue *b);
/// Equal values have equal hashes.
[[nodiscard]] std::size_t hashOfMessageValue(const MessageValue *value);

} // namespace wickerlane

#endif
