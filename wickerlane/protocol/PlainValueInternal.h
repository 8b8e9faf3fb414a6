// Property-list objects as plain values.
#ifndef WICKERLANE_PROTOCOL_PLAINVALUEINTERNAL_H
#define WICKERLANE_PROTOCOL_PLAINVALUEINTERNAL_H

#include <cmath>
#include <concepts>
#include <string>
#include <utility>
#include <vector>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::protocol {

// Each sets the value by an object of its type. False, whatever the value is then, for an object of another
// type or null, for a number that does not fit, and for a real that is none.

inline bool take(const Object *object, std::string &value) {
    const auto *text = as<String>(object);
    if (text == nullptr)
        return false;
    value = text->utf8();
    return true;
}
inline bool take(const Object *object, bool &value) {
    const auto *number = as<Number>(object);
    if (number == nullptr || number->kind() != Number::Kind::boolean)
        return false;
    value = number->boolValue();
    return true;
}
inline bool take(const Object *object, double &value) {
    const auto *number = as<Number>(object);
    if (number == nullptr || number->kind() == Number::Kind::boolean)
        return false;
    value = number->doubleValue();
    return std::isfinite(value);
}
template <std::integral Integer>
bool take(const Object *object, Integer &value) {
    const auto *number = as<Number>(object);
    if (number == nullptr || number->kind() == Number::Kind::boolean || number->kind() == Number::Kind::real)
        return false;
    const std::int64_t whole = number->int64Value();
    value = static_cast<Integer>(whole);
    return std::in_range<Integer>(whole) && (number->kind() != Number::Kind::unsignedInteger || whole >= 0);
}
inline bool take(const Object *object, std::vector<std::string> &texts) {
    const auto *list = as<Array>(object);
    if (list == nullptr || !list->holdsObjects())
        return false;
    texts.reserve(list->count());
    for (const Object *each : *list)
        if (!take(each, texts.emplace_back()))
            return false;
    return true;
}

} // namespace wickerlane::protocol

#endif
