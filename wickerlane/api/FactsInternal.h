// How facts of records are handed to C.
#ifndef WICKERLANE_API_FACTSINTERNAL_H
#define WICKERLANE_API_FACTSINTERNAL_H

#include <optional>
#include <string>
#include <type_traits>

namespace wickerlane {

/// A text of a record; null when it is empty. It lives as long as the record.
inline const char *textOrNull(const std::string &text) {
    return text.empty() ? nullptr : text.c_str();
}

/// Stores a fact, or 0 when it is missing; the pointer may be null. Whether it is there.
template <class Value>
bool store(const std::optional<Value> &fact, Value *stored) {
    if (stored != nullptr)
        *stored = fact.value_or(Value{});
    return fact.has_value();
}

/// The member of an object's record; an empty one for a null object.
template <class Object, class Record, class Value>
requires(std::is_trivially_destructible_v<Value>) Value factOf(const Object *object, Value Record::*member) {
    return object != nullptr ? object->record().*member : Value{};
}

/// The text of an object's record; null when it is empty, and for a null object.
template <class Object, class Record>
const char *factOf(const Object *object, std::string Record::*member) {
    return object != nullptr ? textOrNull(object->record().*member) : nullptr;
}

/// A record of an object that holds several; null when there is none at the index.
template <class Object>
auto *recordAt(const Object *object, std::size_t index) {
    return object != nullptr && index < object->record().size() ? &object->record()[index] : nullptr;
}

/// A member of it, as factOf() gives it.
template <class Object, class Record, class Value>
requires(std::is_trivially_destructible_v<Value>) Value
    factAt(const Object *object, std::size_t index, Value Record::*member) {
    const auto *record = recordAt(object, index);
    return record != nullptr ? record->*member : Value{};
}
template <class Object, class Record>
const char *factAt(const Object *object, std::size_t index, std::string Record::*member) {
    const auto *record = recordAt(object, index);
    return record != nullptr ? textOrNull(record->*member) : nullptr;
}

/// How many there are; 0 for null.
template <class Object>
std::size_t countOf(const Object *object) {
    return object != nullptr ? object->record().size() : 0;
}

} // namespace wickerlane

#endif
