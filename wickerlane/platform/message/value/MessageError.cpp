#include "wickerlane/platform/message/value/MessageError.h"

#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/object/NeverDestroyed.h"

namespace wickerlane {

constinit const Class MessageError::classInfo{"MessageError", &MessageValue::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageError);

Ref<MessageError> MessageError::create(std::string_view description, std::int64_t errorKind) {
    return makeRef<ErrorStorage>(description, errorKind);
}

MessageError *MessageError::connectionInterrupted() noexcept {
    static NeverDestroyed<ErrorStorage> error("Connection interrupted");
    return &error.get();
}

MessageError *MessageError::connectionInvalid() noexcept {
    static NeverDestroyed<ErrorStorage> error("Connection invalid");
    return &error.get();
}

std::string_view MessageError::text() const noexcept {
    return ErrorStorage::of(this)->shown;
}

std::int64_t MessageError::errorKind() const noexcept {
    return ErrorStorage::of(this)->number;
}

void MessageError::setService(const PeerVersion &version) {
    static_cast<ErrorStorage *>(this)->service = version;
}

PeerVersion MessageError::service() const noexcept {
    return ErrorStorage::of(this)->service.value_or(PeerVersion::own());
}

} // namespace wickerlane
