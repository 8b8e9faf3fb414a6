#include "wickerlane/testing/PlainValues.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/value/MessageConversion.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/protocol/Keys.h"

namespace wickerlane {

namespace {

using protocol::Field;
namespace coding = protocol::coding;

/// What people would say a value is. Texts and URLs, arrays and dictionaries as data, and the contents of
/// dictionaries are not told apart: rows don't say more.
enum class ValueForm {
    text,
    integer,
    unsignedInteger,
    boolean,
    bytes,
    collection,
    objectID,
    job,
    jobs,
    other,
    descriptor
};

ValueForm formOf(const Field &field) {
    if (field.isList)
        return ValueForm::collection;
    if (field.kinds.size() > 1)
        return field.kinds[0] == MessageKind::data ? ValueForm::bytes : ValueForm::other;
    switch (field.kinds[0]) {
    case MessageKind::string:
        return ValueForm::text;
    case MessageKind::int64:
        return ValueForm::integer;
    case MessageKind::uint64:
        return ValueForm::unsignedInteger;
    case MessageKind::boolean:
        return ValueForm::boolean;
    case MessageKind::data:
        return ValueForm::objectID;
    case MessageKind::dictionary:
        return ValueForm::job;
    case MessageKind::array:
        return ValueForm::jobs;
    case MessageKind::fileDescriptor:
        return ValueForm::descriptor;
    default:
        return ValueForm::other;
    }
}

const Field *fieldOf(const protocol::Row *row, std::string_view key) {
    if (row == nullptr)
        return nullptr;
    const auto fields = row->requestKeys.all();
    const auto found = std::ranges::find_if(fields, [&](const Field &each) { return key == each.key; });
    return found != fields.end() ? &*found : nullptr;
}

/// What was received may be a view of it, whose bytes count as the sender's.
Ref<Object> copied(const Data *data) {
    return data != nullptr ? Data::create(data->span()) : nullptr;
}

/// Null for what has no plain form.
Ref<Object> plainValue(MessageValue *value, const Field *field, MessageDictionary *holder, const char *key) {
    const ValueForm form = field != nullptr ? formOf(*field) : ValueForm::other;
    if (form == ValueForm::collection)
        return Ref<Object>(JXDictionaryFromMsgDictionary(holder, key));
    if (value->kind() != MessageKind::data && value->kind() != MessageKind::sharedMemory)
        return createObject(value);
    const auto bytes = copied(JXDataFromMsgDictionary(holder, key));
    if (form != ValueForm::objectID || bytes == nullptr)
        return bytes;
    const auto *data = as<Data>(bytes.get());
    return String::create({static_cast<const char *>(data->bytes()), data->length()});
}

[[noreturn]] void refuse(const Field &field, const char *needed) {
    throw std::invalid_argument(std::string("\"") + field.key + "\" needs " + needed);
}

template <class T>
T *needed(Object *value, const Field &field, const char *what) {
    auto *object = as<T>(value);
    if (object == nullptr)
        refuse(field, what);
    return object;
}

const Number *neededInteger(Object *value, const Field &field, const char *what) {
    const auto *number = needed<Number>(value, field, what);
    if (number->kind() == Number::Kind::boolean || number->kind() == Number::Kind::real)
        refuse(field, what);
    return number;
}

/// A text, or a URL.
const String *neededText(Object *value, const Field &field) {
    if (const auto *url = as<URL>(value))
        return url->absoluteString();
    return needed<String>(value, field, "a text");
}

void setPropertyList(MessageDictionary *reply, const Field &field, const Object *value) {
    const auto data = createPropertyListData(value);
    if (data == nullptr)
        refuse(field, "what a property list can hold");
    coding::ByteData::write(reply, field.key, data.get());
}

void setJobs(MessageDictionary *reply, const Field &field, Array *jobs) {
    const bool areJobs = jobs->holdsObjects() && std::all_of(jobs->begin(), jobs->end(), [](Object *each) {
                             return Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(
                                        as<Dictionary>(each))) != nullptr;
                         });
    if (!areJobs)
        refuse(field, "an array of dictionaries of what a property list can hold");
    coding::Jobs::write(reply, field.key, jobs);
}

void setOpenFile(MessageDictionary *reply, const Field &field, const String *path) {
    const UniqueFd file(open(path->UTF8String(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file)
        throw std::invalid_argument("can't open " + std::string(path->utf8()) + ": " + std::strerror(errno));
    reply->setDescriptor(field.key, file.get());
}

} // namespace

Ref<Dictionary> plainValues(MessageDictionary *request, const protocol::Row *row) {
    const ReleaseScope scope;
    auto values = MutableDictionary::create();
    request->forEach([&](const char *key, MessageValue *value) {
        if (std::string_view(key) == protocol::keys::operation.text)
            return true;
        const auto plain = plainValue(value, fieldOf(row, key), request, key);
        values->set(key, plain != nullptr ? plain.get() : value->description());
        return true;
    });
    return values;
}

void setPlainValue(MessageDictionary *reply, const Field &field, Object *value) {
    const ReleaseScope scope;
    switch (formOf(field)) {
    case ValueForm::text:
        return reply->setString(field.key, neededText(value, field)->utf8());
    case ValueForm::objectID: {
        const std::string_view uri = neededText(value, field)->utf8();
        return reply->setData(field.key, uri.data(), uri.size());
    }
    case ValueForm::integer:
        return reply->setInt64(field.key, neededInteger(value, field, "a whole number")->int64Value());
    case ValueForm::unsignedInteger: {
        const Number *number = neededInteger(value, field, "a whole number of 0 or more");
        if (number->kind() == Number::Kind::signedInteger && number->int64Value() < 0)
            refuse(field, "a whole number of 0 or more");
        return reply->setUInt64(field.key, number->uint64Value());
    }
    case ValueForm::boolean: {
        const auto *number = needed<Number>(value, field, "true or false");
        if (number->kind() != Number::Kind::boolean)
            refuse(field, "true or false");
        return reply->setBool(field.key, number->boolValue());
    }
    case ValueForm::bytes:
        return coding::ByteData::write(reply, field.key, needed<Data>(value, field, "data"));
    case ValueForm::collection:
        if (as<Array>(value) == nullptr && as<Dictionary>(value) == nullptr)
            refuse(field, "an array or a dictionary");
        return setPropertyList(reply, field, value);
    case ValueForm::job: {
        auto *job = needed<Dictionary>(value, field, "a dictionary");
        coding::Job::write(reply, field.key, job);
        if (!reply->contains(field.key))
            refuse(field, "what a property list can hold");
        return;
    }
    case ValueForm::jobs:
        return setJobs(reply, field, needed<Array>(value, field, "an array"));
    case ValueForm::other: {
        const auto converted = createMessageValue(value);
        if (converted == nullptr)
            refuse(field, "what a property list can hold");
        return reply->set(field.key, converted.get());
    }
    case ValueForm::descriptor:
        return setOpenFile(reply, field, needed<String>(value, field, "the path of a file"));
    }
}

} // namespace wickerlane
