#include "wickerlane/util/uuid/JXUUIDString.h"

#include <uuid/uuid.h>

#include <algorithm>
#include <cstring>

#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

constinit const Class JXUUIDString::classInfo{
    "JXUUIDString", &String::classInfo, [] { return static_cast<Object *>(JXUUIDString::init().leak()); }};
WL_BUILT_IN_CLASS(JXUUIDString);

namespace {

constexpr std::size_t textLength = 36;

// The string if it is exactly of this class, else null: a subclass may have characters that differ from its
// bytes.
const JXUUIDString *exactly(const String *string) noexcept {
    return string->classObject() == &JXUUIDString::classInfo ? static_cast<const JXUUIDString *>(string)
                                                             : nullptr;
}

// Null for a string that is not a UUID.
Ref<UUID> parse(const String *string) {
    const ReleaseScope scope;
    return UUID::createWithText(string->utf8());
}

} // namespace

JXUUIDString::JXUUIDString(const unsigned char *uuid) noexcept {
    if (uuid != nullptr)
        uuid_copy(_uuid, uuid);
    else
        uuid_generate(_uuid);
    uuid_unparse_upper(_uuid, _uuidString);
}

JXUUIDString *JXUUIDString::UUIDString() {
    return autorelease(init());
}

Ref<JXUUIDString> JXUUIDString::init() {
    return initWithUUID(nullptr);
}

Ref<JXUUIDString> JXUUIDString::initWithUUID(const unsigned char *uuid) {
    return Ref<JXUUIDString>::adopt(new JXUUIDString(uuid));
}

Ref<JXUUIDString> JXUUIDString::initWithBaseUUIDBytes(wickerlane::UUIDBytes bytes) {
    return initWithUUID(bytes.bytes);
}

Ref<JXUUIDString> JXUUIDString::initWithBaseUUID(const UUID *uuid) {
    return initWithUUID(uuid != nullptr ? uuid->bytes() : nullptr);
}

Ref<JXUUIDString> JXUUIDString::initWithUUIDData(const Data *data) {
    unsigned char bytes[sizeof _uuid];
    if (data == nullptr || data->length() != sizeof bytes)
        return nullptr;
    data->getBytes(bytes, sizeof bytes);
    return initWithUUID(bytes);
}

Data *JXUUIDString::UUIDData() const {
    return autorelease(Data::create(_uuid, sizeof _uuid));
}

UUIDBytes JXUUIDString::UUIDBytes() const noexcept {
    wickerlane::UUIDBytes bytes;
    std::memcpy(bytes.bytes, _uuid, sizeof _uuid);
    return bytes;
}

std::size_t JXUUIDString::length() const {
    return textLength;
}

char16_t JXUUIDString::characterAtIndex(std::size_t index) const {
    return static_cast<char16_t>(_uuidString[index]);
}

void JXUUIDString::getCharacters(char16_t *destination, Range range) const {
    std::copy_n(_uuidString + range.location, range.length, destination);
}

bool JXUUIDString::isEqualToString(const String *other) const {
    if (other == nullptr)
        return false;
    // Equal exactly when uuid_compare() is 0, but eight times as fast.
    if (const auto *uuid = exactly(other))
        return std::memcmp(_uuid, uuid->_uuid, sizeof _uuid) == 0;
    return String::isEqualToString(other);
}

std::strong_ordering JXUUIDString::compare(const String *other, CompareOptions options, Range range,
                                           const char *locale) const {
    if (const auto *uuid = exactly(other))
        return uuid_compare(_uuid, uuid->_uuid) <=> 0;
    return String::compare(other, options, range, locale);
}

bool JXUUIDString::hasExactUTF8() const noexcept {
    return exactly(this) != nullptr;
}

std::string_view JXUUIDString::utf8() const {
    return {_uuidString, textLength};
}

Data *JXUUIDDataFromString(const String *string) {
    if (string == nullptr)
        return nullptr;
    if (const auto *uuid = exactly(string))
        return uuid->UUIDData();
    const Ref<UUID> parsed = parse(string);
    return parsed ? autorelease(Data::create(parsed->bytes(), sizeof(UUID::Raw))) : nullptr;
}

UUIDBytes JXUUIDBytesFromString(const String *string) {
    UUIDBytes bytes{};
    if (string == nullptr)
        return bytes;
    if (const auto *uuid = exactly(string))
        return uuid->UUIDBytes();
    if (const Ref<UUID> parsed = parse(string))
        std::memcpy(bytes.bytes, parsed->bytes(), sizeof bytes.bytes);
    return bytes;
}

JXUUIDString *JXStringFromUUIDData(const Data *data) {
    return autorelease(JXUUIDString::initWithUUIDData(data));
}
