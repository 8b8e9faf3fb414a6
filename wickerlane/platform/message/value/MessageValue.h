// The values that messages are made of: all of them.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEVALUE_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEVALUE_H

#include "wickerlane/platform/message/value/MessageArray.h"
#include "wickerlane/platform/message/value/MessageConversion.h"
#include "wickerlane/platform/message/value/MessageData.h"
#include "wickerlane/platform/message/value/MessageDescriptors.h"
#include "wickerlane/platform/message/value/MessageDictionary.h"
#include "wickerlane/platform/message/value/MessageError.h"
#include "wickerlane/platform/message/value/MessageKind.h"
#include "wickerlane/platform/message/value/MessageScalar.h"

#endif
