#include "wickerlane/message/JXMsgCollectionCallBacks.h"

using namespace wickerlane;

const ArrayCallBacks JXMsgBaseArrayCallBacks{0, JXMsgBaseRetainCallBack, JXMsgBaseReleaseCallBack,
                                             JXMsgBaseCopyDescriptionCallBack, JXMsgBaseEqualCallBack};
const ArrayCallBacks JXMsgBaseArrayPointerEqualityCallBacks{
    0, JXMsgBaseRetainCallBack, JXMsgBaseReleaseCallBack, JXMsgBaseCopyDescriptionCallBack, nullptr};

const void *JXMsgBaseRetainCallBack(const void *, const void *value) {
    if (value != nullptr)
        static_cast<const MessageValue *>(value)->retain();
    return value;
}

void JXMsgBaseReleaseCallBack(const void *, const void *value) {
    if (value != nullptr)
        static_cast<const MessageValue *>(value)->release();
}

String *JXMsgBaseCopyDescriptionCallBack(const void *value) {
    if (value == nullptr)
        return nullptr;
    return String::createAdopting(static_cast<const MessageValue *>(value)->copyDescription()).leak();
}

bool JXMsgBaseEqualCallBack(const void *a, const void *b) {
    return areEqual(static_cast<const MessageValue *>(a), static_cast<const MessageValue *>(b));
}
