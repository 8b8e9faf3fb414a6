#include <algorithm>

#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

constinit const Class MutableString::classInfo{
    "MutableString", &String::classInfo,
    [] { return static_cast<Object *>(MutableString::create().leak()); }};
WL_BUILT_IN_CLASS(MutableString);

Ref<MutableString> MutableString::create(std::string_view utf8) {
    auto made = makeRef<MutableString>();
    made->append(utf8);
    return made;
}

void MutableString::append(std::string_view utf8) {
    utf8::append(units, utf8);
    // Kept up to date once somebody has asked for it, so that appending and reading in turn stays linear.
    if (!encoded.empty())
        utf8::appendRepaired(encoded, utf8);
}

void MutableString::append(const String *other) {
    units += other->utf16();
    encoded.clear();
}

void MutableString::appendFormat(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    append(formatUTF8Arguments(format, arguments));
    va_end(arguments);
}

void MutableString::setString(const String *other) {
    units = other->utf16();
    encoded.clear();
}

void MutableString::replace(Range range, const String *replacement) {
    const std::size_t location = std::min(range.location, units.size());
    units.replace(location, range.length, replacement->utf16());
    encoded.clear();
}

std::size_t MutableString::length() const {
    return units.size();
}

char16_t MutableString::characterAtIndex(std::size_t index) const {
    return units[index];
}

std::string_view MutableString::utf8() const {
    if (encoded.empty())
        utf8::append(encoded, units);
    return encoded;
}

} // namespace wickerlane
