#include "wickerlane/message/JXMsgTransaction.h"

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessTransaction.h"

using namespace wickerlane;

constinit const Class JXMsgTransaction::classInfo{"JXMsgTransaction", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(JXMsgTransaction);

JXMsgTransaction *JXMsgTransaction::transaction(const char *identifier) {
    return autorelease(initWithIdentifier(identifier));
}

Ref<JXMsgTransaction> JXMsgTransaction::initWithIdentifier(const char *identifier) {
    return Ref<JXMsgTransaction>::adopt(new JXMsgTransaction(identifier));
}

JXMsgTransaction::JXMsgTransaction(const char *identifier) noexcept : _identifier(identifier) {
    beginProcessTransaction();
}

JXMsgTransaction::~JXMsgTransaction() {
    endProcessTransaction();
}

String *JXMsgTransaction::description() const {
    return String::format("%@: %s", Object::description(), _identifier);
}
