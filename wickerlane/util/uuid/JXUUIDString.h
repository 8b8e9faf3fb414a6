// UUIDs as strings.
#ifndef WICKERLANE_UTIL_UUID_JXUUIDSTRING_H
#define WICKERLANE_UTIL_UUID_JXUUIDSTRING_H

#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

/// A string of the 36 characters of a UUID, in upper case, that keeps the 16 bytes as well. It works wherever
/// a string does. Two strings of exactly this class are compared by their bytes, which have the order of the
/// texts; with a subclass or any other string it is compared by characters. Immutable, and so safe to share
/// between threads.
class WL_EXPORT JXUUIDString : public wickerlane::String {
    WL_OBJECT
public:
    /// UUIDString: the string of a new UUID; borrowed.
    static JXUUIDString *UUIDString();
    /// init: the string of a new UUID.
    [[nodiscard]] static wickerlane::Ref<JXUUIDString> init();
    /// initWithUUID: the string of 16 bytes, which are copied; for null, of a new UUID.
    [[nodiscard]] static wickerlane::Ref<JXUUIDString> initWithUUID(const unsigned char *uuid);
    /// initWithBaseUUIDBytes: the string of 16 bytes.
    [[nodiscard]] static wickerlane::Ref<JXUUIDString> initWithBaseUUIDBytes(wickerlane::UUIDBytes bytes);
    /// initWithBaseUUID: the string of a UUID object; for null, of a new UUID.
    [[nodiscard]] static wickerlane::Ref<JXUUIDString> initWithBaseUUID(const wickerlane::UUID *uuid);
    /// initWithUUIDData: the string of data of exactly 16 bytes; null for null and for data of another
    /// length.
    [[nodiscard]] static wickerlane::Ref<JXUUIDString> initWithUUIDData(const wickerlane::Data *data);

    /// A new copy of the 16 bytes; borrowed.
    [[nodiscard]] wickerlane::Data *UUIDData() const;
    [[nodiscard]] wickerlane::UUIDBytes UUIDBytes() const noexcept;

    /// Always 36.
    [[nodiscard]] std::size_t length() const override;
    /// The index is not checked.
    [[nodiscard]] char16_t characterAtIndex(std::size_t index) const override;
    /// The range is not checked.
    void getCharacters(char16_t *destination, wickerlane::Range range) const override;
    [[nodiscard]] bool isEqualToString(const wickerlane::String *other) const override;
    using wickerlane::String::compare;
    /// Between two strings of exactly this class options, range and locale are ignored: UUIDs compare as a
    /// whole.
    [[nodiscard]] std::strong_ordering compare(const wickerlane::String *other,
                                               wickerlane::CompareOptions options, wickerlane::Range range,
                                               const char *locale = nullptr) const override;
    /// The text itself, without a copy; lives as long as the object.
    [[nodiscard]] std::string_view utf8() const override;

protected:
    /// For null, generates a new UUID.
    explicit JXUUIDString(const unsigned char *uuid) noexcept;
    /// Only of exactly this class: a subclass may have other characters.
    [[nodiscard]] bool hasExactUTF8() const noexcept override;

private:
    unsigned char _uuid[16];
    char _uuidString[37];
};

/// The 16 bytes of the UUID in a string, in upper or lower case; borrowed. Null for null and for a string
/// that is not a UUID. A JXUUIDString is not parsed. Thread-safe.
WL_EXTERN_C wickerlane::Data *JXUUIDDataFromString(const wickerlane::String *string);

/// The same by value; 16 zero bytes for null and for a string that is not a UUID. Thread-safe.
WL_EXTERN_C wickerlane::UUIDBytes JXUUIDBytesFromString(const wickerlane::String *string);

/// The string for 16 bytes; borrowed. Null for null and for data of another length. Thread-safe.
WL_EXTERN_C JXUUIDString *JXStringFromUUIDData(const wickerlane::Data *data);

#endif
