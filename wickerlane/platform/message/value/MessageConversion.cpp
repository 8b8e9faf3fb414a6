#include "wickerlane/platform/message/value/MessageConversion.h"

#include "wickerlane/platform/message/value/DictionaryStorage.h"
#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {
namespace {

Ref<MessageValue> toValue(Object *object, unsigned depth);

Ref<MessageValue> toScalar(const Number *number) {
    switch (number->kind()) {
    case Number::Kind::boolean:
        return MessageScalar::createBool(number->boolValue());
    case Number::Kind::signedInteger:
        return MessageScalar::createInt64(number->int64Value());
    case Number::Kind::unsignedInteger:
        return MessageScalar::createUInt64(number->uint64Value());
    case Number::Kind::real:
        return MessageScalar::createReal(number->doubleValue());
    }
    return nullptr;
}

Ref<MessageValue> toDictionary(const Dictionary *dictionary, unsigned depth) {
    auto made = MessageDictionary::create();
    for (const auto &[key, value] : *dictionary) {
        const auto *text = as<String>(key);
        if (text == nullptr)
            return nullptr;
        const std::string_view name = text->utf8();
        const auto converted = toValue(value, depth);
        // A key of a message ends at its first NUL, and has a limit: one that does not fit would be lost.
        if (converted == nullptr || name.find('\0') != name.npos || name.size() > MessageLimits::keyBytes)
            return nullptr;
        made->set(name.data(), converted.get());
    }
    return made;
}

Ref<MessageValue> toArray(const Array *array, unsigned depth) {
    auto made = MessageArray::create();
    for (Object *element : *array) {
        const auto converted = toValue(element, depth);
        if (converted == nullptr)
            return nullptr;
        made->append(converted.get());
    }
    return made;
}

// `depth` counts the container that the object would be.
Ref<MessageValue> toValue(Object *object, unsigned depth) {
    if (object == nullptr || depth > MessageLimits::nesting)
        return nullptr;
    if (auto *value = as<MessageValue>(object))
        return value;
    if (const auto *text = as<String>(object))
        return MessageScalar::createString(text->utf8());
    if (const auto *number = as<Number>(object))
        return toScalar(number);
    if (const auto *date = as<Date>(object))
        return MessageScalar::createDate(date->referenceSeconds());
    if (const auto *uuid = as<UUID>(object))
        return MessageScalar::createUUID(uuid->bytes());
    if (auto *data = as<Data>(object))
        return MessageData::create(data->bytes(), data->length());
    if (const auto *dictionary = as<Dictionary>(object))
        return toDictionary(dictionary, depth + 1);
    if (const auto *array = as<Array>(object))
        return toArray(array, depth + 1);
    return nullptr;
}

Ref<Object> toObject(MessageValue *value, unsigned depth);

Ref<Object> toObject(const MessageScalar &scalar) {
    switch (scalar.kind()) {
    case MessageKind::string:
        return String::create(scalar.stringValue());
    case MessageKind::int64:
        return Number::create(scalar.int64Value());
    case MessageKind::uint64:
        return Number::create(scalar.uint64Value());
    case MessageKind::boolean:
        return Number::create(scalar.boolValue());
    case MessageKind::real:
        return Number::create(scalar.realValue());
    case MessageKind::date:
        return Date::createWithReferenceSeconds(scalar.realValue());
    case MessageKind::uuid: {
        UUID::Raw raw;
        std::memcpy(raw, scalar.uuidBytes(), sizeof raw);
        return UUID::createWithBytes(raw);
    }
    default:
        return nullptr;
    }
}

Ref<Object> toObject(const DictionaryStorage &dictionary, unsigned depth) {
    auto made = MutableDictionary::create();
    for (auto &entry : dictionary.entries) {
        const auto value = toObject(materialise(entry.slot, dictionary.origin), depth);
        if (value == nullptr)
            return nullptr;
        made->set({entry.key, entry.keyLength}, value.get());
    }
    return made;
}

Ref<Object> toObject(const MessageArray &array, unsigned depth) {
    auto made = MutableArray::create();
    for (std::size_t i = 0; i < array.count(); ++i) {
        const auto element = toObject(array.at(i), depth);
        if (element == nullptr)
            return nullptr;
        made->append(element.get());
    }
    return made;
}

Ref<Object> toObject(MessageValue *value, unsigned depth) {
    if (depth > MessageLimits::nesting)
        return nullptr;
    switch (value->kind()) {
    case MessageKind::data: {
        // A view: the bytes stay where they are.
        const Ref<MessageData> data(static_cast<MessageData *>(value));
        return Data::createLending({static_cast<const std::byte *>(data->bytes()), data->length()},
                                   [data] {});
    }
    case MessageKind::dictionary:
        return toObject(*static_cast<DictionaryStorage *>(value), depth + 1);
    case MessageKind::array:
        return toObject(*static_cast<MessageArray *>(value), depth + 1);
    case MessageKind::sharedMemory:
    case MessageKind::fileDescriptor:
    case MessageKind::error:
        return nullptr;
    default:
        return toObject(*static_cast<MessageScalar *>(value));
    }
}

} // namespace

Ref<MessageValue> createMessageValue(const Object *object) {
    return toValue(const_cast<Object *>(object), 0);
}

Ref<Object> createObject(const MessageValue *value) {
    return value == nullptr ? nullptr : toObject(const_cast<MessageValue *>(value), 0);
}

} // namespace wickerlane
