// Message values as text.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDESCRIPTION_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDESCRIPTION_H

#include <string>

#include "wickerlane/platform/message/value/MessageKind.h"

namespace wickerlane {

/// The text that describes a value and what it holds. A cut ends what is too long or nested too deeply.
[[nodiscard]] std::string describeMessageValue(const MessageValue *value);

} // namespace wickerlane

#endif
