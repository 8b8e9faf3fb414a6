#include "cli/ObjectJSON.h"

#include <nlohmann/json.hpp>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::cli {
namespace {

constexpr const char *dateKey = "date", *uuidKey = "uuid", *bytesKey = "bytes";

JSON jsonOfNumber(const Number &number) {
    switch (number.kind()) {
    case Number::Kind::boolean:
        return number.boolValue();
    case Number::Kind::signedInteger:
        return number.int64Value();
    case Number::Kind::unsignedInteger:
        return number.uint64Value();
    case Number::Kind::real:
        return number.doubleValue();
    }
    return nullptr;
}

Ref<Object> arrayOf(const JSON &json) {
    auto array = MutableArray::create();
    for (const JSON &each : json) {
        const auto element = objectOf(each);
        if (!element)
            return nullptr;
        array->append(element.get());
    }
    return array;
}

/// The only entry of an object of that kind; null for others.
const JSON *onlyEntry(const JSON &json, const char *key) {
    const auto found = json.size() == 1 ? json.find(key) : json.end();
    return found != json.end() ? &*found : nullptr;
}

Ref<Object> dictionaryOf(const JSON &json) {
    if (const JSON *seconds = onlyEntry(json, dateKey); seconds != nullptr && seconds->is_number())
        return Date::createWithReferenceSeconds(seconds->get<double>());
    if (onlyEntry(json, uuidKey) != nullptr || onlyEntry(json, bytesKey) != nullptr)
        return nullptr;
    auto dictionary = MutableDictionary::create();
    for (const auto &[key, value] : json.items()) {
        const auto object = objectOf(value);
        if (!object)
            return nullptr;
        dictionary->set(key, object.get());
    }
    return dictionary;
}

} // namespace

JSON jsonOf(const Object *object) {
    if (const auto *text = as<String>(object))
        return std::string(text->utf8());
    if (const auto *number = as<Number>(object))
        return jsonOfNumber(*number);
    if (const auto *date = as<Date>(object))
        return {{dateKey, date->referenceSeconds()}};
    if (const auto *uuid = as<UUID>(object))
        return {{uuidKey, std::string(uuid->uuidString()->utf8())}};
    if (const auto *data = as<Data>(object))
        return {{bytesKey, data->length()}};
    if (const auto *array = as<Array>(object)) {
        JSON list = JSON::array();
        for (const Object *each : *array)
            list.push_back(jsonOf(each));
        return list;
    }
    if (const auto *dictionary = as<Dictionary>(object)) {
        JSON entries = JSON::object();
        for (const auto &[key, value] : *dictionary)
            if (const auto *text = as<String>(key))
                entries[std::string(text->utf8())] = jsonOf(value);
        return entries;
    }
    return nullptr;
}

Ref<Object> objectOf(const JSON &json) {
    switch (json.type()) {
    case JSON::value_t::string:
        return String::create(json.get<std::string>());
    case JSON::value_t::boolean:
        return Number::create(json.get<bool>());
    case JSON::value_t::number_integer:
        return Number::create(json.get<std::int64_t>());
    case JSON::value_t::number_unsigned: {
        const auto value = json.get<std::uint64_t>();
        return value <= INT64_MAX ? Number::create(static_cast<std::int64_t>(value)) : Number::create(value);
    }
    case JSON::value_t::number_float:
        return Number::create(json.get<double>());
    case JSON::value_t::array:
        return arrayOf(json);
    case JSON::value_t::object:
        return dictionaryOf(json);
    default:
        return nullptr;
    }
}

} // namespace wickerlane::cli
