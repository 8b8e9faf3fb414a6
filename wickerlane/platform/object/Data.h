// Bytes.
#ifndef WICKERLANE_PLATFORM_OBJECT_DATA_H
#define WICKERLANE_PLATFORM_OBJECT_DATA_H

#include <cstddef>
#include <span>
#include <vector>

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Object.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

using Bytes = std::span<const std::byte>;

/// An immutable run of bytes. Abstract: a subclass supplies bytes() and length().
class WL_EXPORT Data : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<Data> create(Bytes copied);
    [[nodiscard]] static Ref<Data> create(const void *copied, std::size_t length);
    /// Takes over a vector without copying.
    [[nodiscard]] static Ref<Data> createAdopting(std::vector<std::byte> bytes);
    /// Lends bytes that stay valid and unchanged until `destructor` (which may be null) has been called.
    [[nodiscard]] static Ref<Data> createLending(Bytes lent, Handler<void()> destructor);

    // What a subclass supplies.

    /// Start of the bytes; valid as long as the object lives. May be null when length() is 0.
    [[nodiscard]] virtual const void *bytes() const = 0;
    [[nodiscard]] virtual std::size_t length() const = 0;

    // What follows from it.

    [[nodiscard]] Bytes span() const { return {static_cast<const std::byte *>(bytes()), length()}; }
    /// Copies out from the start, or a range; never more than there is.
    virtual void getBytes(void *destination, std::size_t count) const;
    virtual void getBytes(void *destination, Range range) const;

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    /// The contents in hexadecimal, in groups of four bytes: "<00010203 04>".
    [[nodiscard]] String *description() const override;
};

/// Bytes that their owner may change.
class WL_EXPORT MutableData : public Data {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MutableData> create(std::size_t length = 0); ///< Zero-filled.
    void append(Bytes added);
    void setLength(std::size_t length); ///< Cuts, or appends zeros.

    [[nodiscard]] const void *bytes() const override { return storage.data(); }
    [[nodiscard]] std::size_t length() const override { return storage.size(); }

private:
    std::vector<std::byte> storage;
};

} // namespace wickerlane

#endif
