// Arrays that hold raw message values.
#ifndef WICKERLANE_MESSAGE_JXMSGCOLLECTIONCALLBACKS_H
#define WICKERLANE_MESSAGE_JXMSGCOLLECTIONCALLBACKS_H

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Array.h"

/// Callbacks of arrays of message values that compare them by structure.
WL_EXPORT extern const wickerlane::ArrayCallBacks JXMsgBaseArrayCallBacks;
/// Callbacks of arrays of message values that compare them by identity.
WL_EXPORT extern const wickerlane::ArrayCallBacks JXMsgBaseArrayPointerEqualityCallBacks;

// The functions of both. `allocator` is ignored, values may be null. Thread-safe.

WL_EXTERN_C const void *JXMsgBaseRetainCallBack(const void *allocator, const void *value);
WL_EXTERN_C void JXMsgBaseReleaseCallBack(const void *allocator, const void *value);
/// The message service's description of the value, owned by the caller; null for null.
WL_EXTERN_C wickerlane::String *JXMsgBaseCopyDescriptionCallBack(const void *value);
WL_EXTERN_C bool JXMsgBaseEqualCallBack(const void *a, const void *b);

#endif
