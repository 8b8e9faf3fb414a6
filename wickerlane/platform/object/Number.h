// Numbers, dates and UUIDs.
#ifndef WICKERLANE_PLATFORM_OBJECT_NUMBER_H
#define WICKERLANE_PLATFORM_OBJECT_NUMBER_H

#include <compare>
#include <concepts>

#include "wickerlane/platform/object/Object.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {

/// An immutable number that remembers what kind of number it was made from.
class WL_EXPORT Number final : public Object {
    WL_OBJECT
public:
    enum class Kind : std::uint8_t { boolean, signedInteger, unsignedInteger, real };

    /// Booleans are two immortal objects.
    template <std::same_as<bool> T>
    [[nodiscard]] static Ref<Number> create(T value) {
        return createBoolean(value);
    }
    template <std::signed_integral T>
    [[nodiscard]] static Ref<Number> create(T value) {
        return createSigned(value);
    }
    template <std::unsigned_integral T>
    requires(!std::same_as<T, bool>) [[nodiscard]] static Ref<Number> create(T value) {
        return createUnsigned(value);
    }
    template <std::floating_point T>
    [[nodiscard]] static Ref<Number> create(T value) {
        return createReal(value);
    }
    /// Borrowed forms.
    template <class T>
    static Number *of(T value) {
        return autorelease(create(value));
    }

    [[nodiscard]] Kind kind() const noexcept { return numberKind; }
    [[nodiscard]] bool boolValue() const noexcept;
    /// Converted as C converts integers; a real is cut towards zero and clipped to the range, and
    /// not-a-number gives 0.
    [[nodiscard]] std::int64_t int64Value() const noexcept;
    [[nodiscard]] std::uint64_t uint64Value() const noexcept;
    [[nodiscard]] double doubleValue() const noexcept;

    /// Numbers of equal value are equal whatever their kinds: true equals 1 equals 1.0.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] std::strong_ordering compare(const Number *other) const noexcept;
    /// Booleans show as 1 and 0; reals with the fewest digits that give the same value back.
    [[nodiscard]] String *description() const override;

    constexpr Number(ImmortalTag tag, bool value) noexcept
        : Object(tag), numberKind(Kind::boolean), u(value) {}

private:
    explicit Number(std::int64_t value) noexcept : numberKind(Kind::signedInteger), s(value) {}
    explicit Number(std::uint64_t value) noexcept : numberKind(Kind::unsignedInteger), u(value) {}
    explicit Number(double value) noexcept : numberKind(Kind::real), d(value) {}
    static Ref<Number> createBoolean(bool value);
    static Ref<Number> createSigned(std::int64_t value);
    static Ref<Number> createUnsigned(std::uint64_t value);
    static Ref<Number> createReal(double value);

    Kind numberKind;
    union {
        std::int64_t s;
        std::uint64_t u;
        double d;
    };
};

/// An immutable instant: seconds, with fractions, since 2001-01-01 00:00:00 UTC.
class WL_EXPORT Date final : public Object {
    WL_OBJECT
public:
    /// Seconds from 1970-01-01 to the reference date 2001-01-01, both 00:00:00 UTC.
    static constexpr double secondsFrom1970To2001 = 978307200.0;

    [[nodiscard]] static Ref<Date> createWithReferenceSeconds(double sinceReference);
    [[nodiscard]] static Ref<Date> createWithUnixSeconds(double since1970);
    [[nodiscard]] static Ref<Date> createNow();

    [[nodiscard]] double referenceSeconds() const noexcept { return seconds; }
    [[nodiscard]] double unixSeconds() const noexcept { return seconds + secondsFrom1970To2001; }

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    /// "2026-11-24 23:08:24 +0000".
    [[nodiscard]] String *description() const override;

private:
    explicit Date(double value) noexcept : seconds(value) {}
    double seconds;
};

/// The 16 bytes of a UUID by value, in the order of RFC 4122.
struct UUIDBytes {
    unsigned char bytes[16];
    friend bool operator==(const UUIDBytes &, const UUIDBytes &) = default;
};

/// An immutable UUID.
class WL_EXPORT UUID final : public Object {
    WL_OBJECT
public:
    using Raw = unsigned char[16];
    [[nodiscard]] static Ref<UUID> createRandom();
    [[nodiscard]] static Ref<UUID> createWithBytes(const Raw &bytes);
    /// From the 36-character text in either case; null when it is not one.
    [[nodiscard]] static Ref<UUID> createWithText(std::string_view text);

    [[nodiscard]] const Raw &bytes() const noexcept { return value; }
    [[nodiscard]] String *uuidString() const; ///< 36 characters, upper case; borrowed.

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override;

private:
    UUID() noexcept = default;
    Raw value;
};

} // namespace wickerlane

#endif
