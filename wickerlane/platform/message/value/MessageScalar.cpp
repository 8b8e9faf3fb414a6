#include "wickerlane/platform/message/value/MessageScalar.h"

#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {

constinit const Class MessageScalar::classInfo{"MessageScalar", &MessageValue::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageScalar);

Ref<MessageScalar> MessageScalar::createString(std::string_view utf8) {
    if (utf8.size() > MessageLimits::messageBytes || !isUTF8(utf8))
        return nullptr;
    auto made = makeRef<ScalarStorage>(MessageKind::string);
    made->text = utf8;
    return made;
}

Ref<MessageScalar> MessageScalar::createInt64(std::int64_t value) {
    auto made = makeRef<ScalarStorage>(MessageKind::int64);
    made->signedValue = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createUInt64(std::uint64_t value) {
    auto made = makeRef<ScalarStorage>(MessageKind::uint64);
    made->unsignedValue = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createBool(bool value) {
    auto made = makeRef<ScalarStorage>(MessageKind::boolean);
    made->boolean = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createReal(double value) {
    auto made = makeRef<ScalarStorage>(MessageKind::real);
    made->realValue = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createDate(double referenceSeconds) {
    auto made = makeRef<ScalarStorage>(MessageKind::date);
    made->realValue = referenceSeconds;
    return made;
}

Ref<MessageScalar> MessageScalar::createUUID(const unsigned char (&bytes)[16]) {
    auto made = makeRef<ScalarStorage>(MessageKind::uuid);
    made->text.assign(reinterpret_cast<const char *>(bytes), sizeof bytes);
    return made;
}

std::string_view MessageScalar::stringValue() const noexcept {
    return kind() == MessageKind::string ? std::string_view(static_cast<const ScalarStorage *>(this)->text)
                                         : std::string_view();
}

std::int64_t MessageScalar::int64Value() const noexcept {
    return kind() == MessageKind::int64 ? static_cast<const ScalarStorage *>(this)->signedValue : 0;
}

std::uint64_t MessageScalar::uint64Value() const noexcept {
    return kind() == MessageKind::uint64 ? static_cast<const ScalarStorage *>(this)->unsignedValue : 0;
}

bool MessageScalar::boolValue() const noexcept {
    return kind() == MessageKind::boolean && static_cast<const ScalarStorage *>(this)->boolean;
}

double MessageScalar::realValue() const noexcept {
    return kind() == MessageKind::real || kind() == MessageKind::date
               ? static_cast<const ScalarStorage *>(this)->realValue
               : 0;
}

const unsigned char *MessageScalar::uuidBytes() const noexcept {
    return kind() == MessageKind::uuid ? reinterpret_cast<const unsigned char *>(
                                             static_cast<const ScalarStorage *>(this)->text.data())
                                       : nullptr;
}

} // namespace wickerlane
