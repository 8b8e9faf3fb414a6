// The kinds of values that messages are made of, and what all values have.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEKIND_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEKIND_H

#include <cstdint>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

enum class MessageKind : std::uint8_t {
    string,
    int64,
    uint64,
    boolean,
    real,
    date,
    uuid,
    data,
    sharedMemory,
    fileDescriptor,
    dictionary,
    array,
    error,
};

/// A value of a message. Immutable but for dictionaries and arrays, which belong to one thread at a time
/// until they are sent and must not be changed afterwards.
class WL_EXPORT MessageValue : public Object {
    WL_OBJECT
public:
    [[nodiscard]] MessageKind kind() const noexcept { return valueKind; }
    /// The owned, malloc'ed UTF-8 text that describes the value and what it holds; never null.
    [[nodiscard]] char *copyDescription() const;
    [[nodiscard]] String *description() const override;
    /// Structural equality: same kind, same contents, in whatever order the keys of dictionaries were set.
    /// Descriptors are equal when they name the same file. What is nested deeper than a message may be is
    /// compared by identity.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;

protected:
    constexpr explicit MessageValue(MessageKind kind) noexcept : valueKind(kind) {}
    constexpr MessageValue(ImmortalTag tag, MessageKind kind) noexcept : Object(tag), valueKind(kind) {}

private:
    MessageKind valueKind;
};

} // namespace wickerlane

#endif
