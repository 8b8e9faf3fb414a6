#include "wickerlane/platform/message/value/MessageSlot.h"

#include <atomic>

#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageWire.h"

namespace wickerlane {

MessageSlot makeSlot(MessageValue *value) noexcept {
    MessageSlot slot{value->kind(), 0, {}, value};
    switch (value->kind()) {
    case MessageKind::string: {
        const std::string_view text = static_cast<MessageScalar *>(value)->stringValue();
        slot.text = text.data();
        slot.length = static_cast<std::uint32_t>(text.size());
        break;
    }
    case MessageKind::int64:
        slot.signedValue = static_cast<MessageScalar *>(value)->int64Value();
        break;
    case MessageKind::uint64:
        slot.unsignedValue = static_cast<MessageScalar *>(value)->uint64Value();
        break;
    case MessageKind::boolean:
        slot.boolean = static_cast<MessageScalar *>(value)->boolValue();
        break;
    case MessageKind::real:
    case MessageKind::date:
        slot.realValue = static_cast<MessageScalar *>(value)->realValue();
        break;
    case MessageKind::uuid:
        slot.place = reinterpret_cast<const std::byte *>(static_cast<MessageScalar *>(value)->uuidBytes());
        slot.length = 16;
        break;
    case MessageKind::data:
    case MessageKind::sharedMemory:
    case MessageKind::fileDescriptor:
    case MessageKind::dictionary:
    case MessageKind::array:
    case MessageKind::error:
        break; // read through the object
    }
    return slot;
}

namespace {

// An object for a slot that has none yet.
Ref<MessageValue> makeObject(const MessageSlot &slot, const MessageOrigin &origin) {
    switch (slot.kind) {
    case MessageKind::string: {
        auto made = makeRef<ScalarStorage>(MessageKind::string);
        made->text.assign(slot.text, slot.length);
        return made;
    }
    case MessageKind::int64:
        return MessageScalar::createInt64(slot.signedValue);
    case MessageKind::uint64:
        return MessageScalar::createUInt64(slot.unsignedValue);
    case MessageKind::boolean:
        return MessageScalar::createBool(slot.boolean);
    case MessageKind::real:
        return MessageScalar::createReal(slot.realValue);
    case MessageKind::date:
        return MessageScalar::createDate(slot.realValue);
    case MessageKind::uuid: {
        auto made = makeRef<ScalarStorage>(MessageKind::uuid);
        made->text.assign(reinterpret_cast<const char *>(slot.place), 16);
        return made;
    }
    case MessageKind::data: {
        if (origin.buffer == nullptr)
            return MessageData::create(slot.place, slot.length);
        auto made = makeRef<DataStorage>(slot.place, slot.length);
        made->keeper = origin.buffer;
        return made;
    }
    case MessageKind::sharedMemory:
    case MessageKind::fileDescriptor:
        return origin.descriptors->values[slot.descriptor];
    case MessageKind::dictionary:
    case MessageKind::array:
        return readContainer(slot, origin);
    case MessageKind::error:
        return MessageError::create({slot.text, slot.length},
                                    loadUnaligned<std::int64_t>(slot.text + slot.length + 1));
    }
    return nullptr;
}

} // namespace

MessageValue *materialise(MessageSlot &slot, const MessageOrigin &origin) {
    const std::atomic_ref<MessageValue *> object(slot.object);
    MessageValue *known = object.load(std::memory_order_acquire);
    if (known != nullptr)
        return known;
    MessageValue *made = makeObject(slot, origin).leak();
    if (object.compare_exchange_strong(known, made, std::memory_order_acq_rel))
        return made;
    made->release();
    return known;
}

} // namespace wickerlane
