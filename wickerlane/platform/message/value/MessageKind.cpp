#include "wickerlane/platform/message/value/MessageKind.h"

#include <cstdlib>
#include <cstring>

#include "wickerlane/platform/message/value/MessageDescription.h"
#include "wickerlane/platform/message/value/MessageEquality.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class MessageValue::classInfo{"MessageValue", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageValue);

char *MessageValue::copyDescription() const {
    // A text cannot hold a NUL, which may stand in a string.
    char *copy = strdup(describeMessageValue(this).c_str());
    if (copy == nullptr)
        throw std::bad_alloc();
    return copy;
}

String *MessageValue::description() const {
    return autorelease(String::createAdopting(copyDescription()));
}

bool MessageValue::isEqual(const Object *other) const {
    const auto *value = as<MessageValue>(other);
    return value != nullptr && areEqualMessageValues(this, value);
}

std::size_t MessageValue::hash() const {
    return hashOfMessageValue(this);
}

} // namespace wickerlane
