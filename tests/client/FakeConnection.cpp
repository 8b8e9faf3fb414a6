#include "tests/client/FakeConnection.h"

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::test {

std::string onOneLine(const Object *object) {
    if (object == nullptr)
        return "null";
    std::string line;
    for (const char c : object->description()->utf8())
        if (c != '\n' && (c != ' ' || !line.ends_with(' ')))
            line += c;
    return line;
}

namespace {

std::string describeValue(const MessageValue *value) {
    const auto *scalar = as<MessageScalar>(value);
    switch (value->kind()) {
    case MessageKind::string:
        return "string=" + std::string(scalar->stringValue());
    case MessageKind::int64:
        return "int64=" + std::to_string(scalar->int64Value());
    case MessageKind::uint64:
        return "uint64=" + std::to_string(scalar->uint64Value());
    case MessageKind::boolean:
        return scalar->boolValue() ? "bool=true" : "bool=false";
    case MessageKind::data: {
        const auto *data = as<MessageData>(value);
        const Bytes bytes(static_cast<const std::byte *>(data->bytes()), data->length());
        if (std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size())
                .starts_with("bplist"))
            return "list=" + onOneLine(createPropertyListObject(bytes, nullptr).get());
        return "data=" + std::string(static_cast<const char *>(data->bytes()), data->length());
    }
    case MessageKind::dictionary:
        return "dictionary={" + describe(as<MessageDictionary>(value)) + "}";
    case MessageKind::array: {
        const auto *array = as<MessageArray>(value);
        std::string text = "array=[";
        for (std::size_t i = 0; i < array->count(); ++i)
            text += (i == 0 ? "" : ", ") + describeValue(array->at(i));
        return text + "]";
    }
    default:
        return "kind " + std::to_string(static_cast<int>(value->kind()));
    }
}

} // namespace

std::string describe(const MessageDictionary *message) {
    std::string text;
    message->forEach([&text](const char *key, MessageValue *value) {
        text += (text.empty() ? "" : " ") + std::string(key) + ":" + describeValue(value);
        return true;
    });
    return text;
}

} // namespace wickerlane::test
