#include "wickerlane/platform/message/value/MessageArray.h"

#include "wickerlane/platform/message/value/MessageStorage.h"

namespace wickerlane {

constinit const Class MessageArray::classInfo{"MessageArray", &MessageValue::classInfo, [] {
                                                  return static_cast<Object *>(MessageArray::create().leak());
                                              }};
WL_BUILT_IN_CLASS(MessageArray);

ArrayStorage::~ArrayStorage() {
    for (const MessageSlot &slot : slots)
        if (slot.object != nullptr)
            slot.object->release();
}

Ref<MessageArray> MessageArray::create() {
    return makeRef<ArrayStorage>();
}

std::size_t MessageArray::count() const noexcept {
    return ArrayStorage::of(this)->slots.size();
}

MessageValue *MessageArray::at(std::size_t index) const {
    const auto *self = ArrayStorage::of(this);
    return materialise(self->slots[index], self->origin);
}

std::uint64_t MessageArray::uint64At(std::size_t index) const noexcept {
    const MessageSlot &slot = ArrayStorage::of(this)->slots[index];
    return slot.kind == MessageKind::uint64 ? slot.unsignedValue : 0;
}

void MessageArray::append(MessageValue *value) {
    if (value == nullptr)
        return;
    ArrayStorage::of(this)->slots.append(makeSlot(value));
    value->retain();
}

void MessageArray::appendUInt64(std::uint64_t value) {
    ArrayStorage::of(this)->slots.append({MessageKind::uint64, 0, {.unsignedValue = value}, nullptr});
}

void MessageArray::appendData(const void *copied, std::size_t length) {
    append(MessageData::create(copied, length).get());
}

} // namespace wickerlane
