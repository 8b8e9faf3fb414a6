// Strings, numbers, booleans, dates and UUIDs in messages.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESCALAR_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESCALAR_H

#include <string_view>

#include "wickerlane/platform/message/value/MessageKind.h"

namespace wickerlane {

/// A string, number, boolean, date or UUID as a value of its own, for arrays and for reading raw values.
class WL_EXPORT MessageScalar : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageScalar>
    createString(std::string_view utf8); ///< Null when not valid UTF-8.
    [[nodiscard]] static Ref<MessageScalar> createInt64(std::int64_t value);
    [[nodiscard]] static Ref<MessageScalar> createUInt64(std::uint64_t value);
    [[nodiscard]] static Ref<MessageScalar> createBool(bool value);
    [[nodiscard]] static Ref<MessageScalar> createReal(double value);
    /// Seconds since 2001-01-01 00:00:00 UTC.
    [[nodiscard]] static Ref<MessageScalar> createDate(double referenceSeconds);
    [[nodiscard]] static Ref<MessageScalar> createUUID(const unsigned char (&bytes)[16]);

    // Each gives zero, or an empty text, when the value is of another kind.
    [[nodiscard]] std::string_view stringValue() const noexcept;
    [[nodiscard]] std::int64_t int64Value() const noexcept;
    [[nodiscard]] std::uint64_t uint64Value() const noexcept;
    [[nodiscard]] bool boolValue() const noexcept;
    [[nodiscard]] double realValue() const noexcept; ///< Of a real or a date.
    /// The 16 bytes of a UUID; null for another kind. Live as long as the value.
    [[nodiscard]] const unsigned char *uuidBytes() const noexcept;

private:
    friend class ScalarStorage;
    explicit MessageScalar(MessageKind kind) noexcept : MessageValue(kind) {}
};

} // namespace wickerlane

#endif
