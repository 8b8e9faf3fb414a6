#include "wickerlane/platform/object/String.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/KeyedHash.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

constinit const Class String::classInfo{"String", &Object::classInfo,
                                        [] { return static_cast<Object *>(String::empty()); }};
WL_BUILT_IN_CLASS(String);

namespace {

// The usual immutable string. Its bytes lie behind the object in the same allocation, or are a
// malloc'ed block that it took over.
class StoredString final : public String {
public:
    // `text` is valid UTF-8 of `units` UTF-16 units.
    static Ref<String> create(std::string_view text, std::size_t units) {
        if (text.empty())
            return String::empty();
        auto *made = new (Tail{text.size() + 1}) StoredString(nullptr, text.size(), units);
        auto *tail = reinterpret_cast<char *>(made + 1);
        std::memcpy(tail, text.data(), text.size());
        tail[text.size()] = '\0';
        made->bytes = tail;
        return Ref<String>::adopt(made);
    }
    static Ref<String> createAdopting(char *malloced, std::size_t size, std::size_t units) {
        return Ref<String>::adopt(new (Tail{0}) StoredString(malloced, size, units));
    }
    ~StoredString() override {
        delete[] table.load(std::memory_order_relaxed);
        if (bytes != reinterpret_cast<const char *>(this + 1))
            std::free(const_cast<char *>(bytes)); // NOLINT: was given as malloc'ed
    }

    [[nodiscard]] std::size_t length() const override { return unitCount; }
    [[nodiscard]] char16_t characterAtIndex(std::size_t index) const override {
        return isASCII() ? static_cast<char16_t>(bytes[index]) : units()[index];
    }
    [[nodiscard]] std::string_view utf8() const override { return {bytes, byteCount}; }
    void getCharacters(char16_t *destination, Range range) const override {
        if (isASCII())
            std::copy_n(bytes + range.location, range.length, destination);
        else
            std::copy_n(units() + range.location, range.length, destination);
    }

protected:
    [[nodiscard]] bool hasExactUTF8() const noexcept override { return true; }

private:
    struct Tail {
        std::size_t size;
    };
    static void *operator new(std::size_t size, Tail tail) { return ::operator new(size + tail.size); }
    static void operator delete(void *p) { ::operator delete(p); }
    static void operator delete(void *p, Tail) { ::operator delete(p); }

    StoredString(const char *text, std::size_t size, std::size_t units) noexcept
        : bytes(text), byteCount(size), unitCount(units) {}

    [[nodiscard]] bool isASCII() const noexcept { return unitCount == byteCount; }

    // The text as UTF-16, made when the first reader asks for a unit of a text that is not ASCII.
    [[nodiscard]] const char16_t *units() const {
        if (const char16_t *made = table.load(std::memory_order_acquire))
            return made;
        std::u16string converted;
        converted.reserve(unitCount);
        utf8::append(converted, utf8());
        auto copy = std::make_unique<char16_t[]>(unitCount);
        std::ranges::copy(converted, copy.get());
        const char16_t *expected = nullptr;
        if (table.compare_exchange_strong(expected, copy.get(), std::memory_order_acq_rel))
            return copy.release();
        return expected;
    }

    const char *bytes;
    std::size_t byteCount;
    std::size_t unitCount;
    mutable std::atomic<const char16_t *> table{nullptr};
};

WL_IMMORTAL Immortal<ConstantString> emptyString{""};

Range clipped(Range range, std::size_t length) noexcept {
    const std::size_t location = std::min(range.location, length);
    return {location, std::min(range.length, length - location)};
}

// Borrowed, of text that is known to be valid.
String *borrowed(std::string_view text) {
    return autorelease(StoredString::create(text, utf8::lengthInUTF16(text)));
}

} // namespace

Ref<String> String::create(std::string_view utf8) {
    const std::size_t units = utf8::lengthInUTF16(utf8);
    if (units == utf8::notValid)
        return {};
    return StoredString::create(utf8, units);
}

Ref<String> String::create(const char *utf8) {
    return utf8 == nullptr ? Ref<String>() : create(std::string_view(utf8));
}

Ref<String> String::createWithUTF16(std::u16string_view text) {
    std::string converted;
    converted.reserve(text.size());
    utf8::append(converted, text);
    return StoredString::create(converted, text.size());
}

Ref<String> String::createAdopting(char *mallocedUTF8) {
    if (mallocedUTF8 == nullptr)
        return {};
    const std::string_view text(mallocedUTF8);
    const std::size_t units = utf8::lengthInUTF16(text);
    if (units == utf8::notValid) {
        std::free(mallocedUTF8);
        return {};
    }
    return StoredString::createAdopting(mallocedUTF8, text.size(), units);
}

Ref<String> String::createWithFormatArguments(const char *format, va_list arguments) {
    return create(formatUTF8Arguments(format, arguments));
}

Ref<String> String::createWithFormat(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    auto made = createWithFormatArguments(format, arguments);
    va_end(arguments);
    return made;
}

String *String::of(std::string_view utf8) {
    return autorelease(create(utf8));
}

String *String::format(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    auto made = createWithFormatArguments(format, arguments);
    va_end(arguments);
    return autorelease(std::move(made));
}

String *String::empty() noexcept {
    return emptyString.get();
}

std::string_view String::utf8() const {
    std::string converted;
    utf8::append(converted, utf16());
    return borrowed(converted)->utf8();
}

void String::getCharacters(char16_t *destination, Range range) const {
    for (std::size_t i = 0; i < range.length; ++i)
        destination[i] = characterAtIndex(range.location + i);
}

std::u16string String::utf16() const {
    std::u16string units(length(), u'\0');
    getCharacters(units.data(), {0, units.size()});
    return units;
}

bool String::isEqual(const Object *other) const {
    return this == other || isEqualToString(as<String>(other));
}

bool String::isEqualToString(const String *other) const {
    if (other == nullptr || this == other)
        return other != nullptr;
    if (hasExactUTF8() && other->hasExactUTF8())
        return utf8() == other->utf8();
    const std::size_t count = length();
    if (other->length() != count)
        return false;
    std::array<char16_t, 128> mine;
    std::array<char16_t, 128> others;
    for (std::size_t i = 0; i < count; i += mine.size()) {
        const std::size_t piece = std::min(mine.size(), count - i);
        getCharacters(mine.data(), {i, piece});
        other->getCharacters(others.data(), {i, piece});
        if (!std::equal(mine.begin(), mine.begin() + static_cast<std::ptrdiff_t>(piece), others.begin()))
            return false;
    }
    return true;
}

std::size_t String::hash() const {
    if (hasExactUTF8())
        return hashOfUTF8(utf8());
    ReleaseScope scope;
    return hashOfUTF8(utf8());
}

std::size_t String::hashOfUTF8(std::string_view utf8) noexcept {
    return keyedHash(utf8);
}

std::strong_ordering String::compare(const String *other) const {
    return compare(other, CompareOptions::none);
}

std::strong_ordering String::compare(const String *other, CompareOptions options) const {
    return compare(other, options, {0, notFound});
}

bool String::hasPrefix(std::string_view prefix) const {
    return utf8().starts_with(prefix);
}

bool String::hasSuffix(std::string_view suffix) const {
    return utf8().ends_with(suffix);
}

String *String::substring(Range range) const {
    const Range part = clipped(range, length());
    if (hasExactUTF8() && utf8().size() == length())
        return borrowed(utf8().substr(part.location, part.length));
    std::u16string units(part.length, u'\0');
    getCharacters(units.data(), part);
    return autorelease(createWithUTF16(units));
}

String *String::appending(std::string_view utf8) const {
    std::string joined(this->utf8());
    utf8::appendRepaired(joined, utf8);
    return borrowed(joined);
}

String *String::description() const {
    return const_cast<String *>(this); // NOLINT: an object is handed on as such, and strings are immutable
}

std::size_t ConstantString::length() const {
    return text.size();
}

char16_t ConstantString::characterAtIndex(std::size_t index) const {
    return static_cast<char16_t>(text[index]);
}

std::string_view ConstantString::utf8() const {
    return text;
}

} // namespace wickerlane
