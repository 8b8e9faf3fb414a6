#include <bit>
#include <cstring>
#include <memory>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/UTF8Internal.h"
#include "wickerlane/platform/propertylist/BinaryItemsInternal.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane::propertylist {
namespace {

// Writes from a place on; the caller has made room.
class Output {
public:
    explicit Output(std::byte *start) noexcept : next(start) {}

    void byte(unsigned value) noexcept { *next++ = static_cast<std::byte>(value); }
    void bytes(const void *source, std::size_t size) noexcept {
        if (size != 0)
            std::memcpy(next, source, size);
        next += size;
    }
    // The low `size` bytes, most significant first.
    void number(std::uint64_t value, std::size_t size) noexcept {
        for (std::size_t i = size; i-- != 0; value >>= 8)
            next[i] = static_cast<std::byte>(value);
        next += size;
    }
    void integer(std::uint64_t value) noexcept {
        const std::size_t size = sizeOfNumber(value);
        byte(marker::integer | static_cast<unsigned>(std::countr_zero(size)));
        number(value, size);
    }
    void head(unsigned kind, std::uint64_t count) noexcept {
        if (count < marker::countFollows) {
            byte(kind | static_cast<unsigned>(count));
        } else {
            byte(kind | marker::countFollows);
            integer(count);
        }
    }
    [[nodiscard]] std::byte *place() const noexcept { return next; }

private:
    std::byte *next;
};

class WrittenData final : public Data {
public:
    explicit WrittenData(std::size_t size)
        : storage(std::make_unique_for_overwrite<std::byte[]>(size)), count(size) {}
    [[nodiscard]] const void *bytes() const override { return storage.get(); }
    [[nodiscard]] std::size_t length() const override { return count; }
    [[nodiscard]] std::byte *start() noexcept { return storage.get(); }

private:
    std::unique_ptr<std::byte[]> storage;
    std::size_t count;
};

void writeText(std::string_view text, std::size_t units, Output &output) {
    if (units == text.size()) { // ASCII
        output.head(marker::ascii, text.size());
        output.bytes(text.data(), text.size());
        return;
    }
    output.head(marker::utf16, units);
    for (const char *p = text.data(), *end = p + text.size(); p != end;) {
        const char32_t character = utf8::next(p, end);
        if (character < 0x10000) {
            output.number(character, 2);
        } else {
            output.number(0xD800 + ((character - 0x10000) >> 10), 2);
            output.number(0xDC00 + (character & 0x3FF), 2);
        }
    }
}

void writeReferences(std::span<const std::uint32_t> references, std::size_t size, Output &output) {
    for (const std::uint32_t each : references)
        output.number(each, size);
}

void writeItem(const Item &item, std::span<const std::uint32_t> references, std::size_t referenceSize,
               Output &output) {
    switch (item.kind) {
    case ItemKind::boolean:
        output.byte(item.bits != 0 ? marker::yes : marker::no);
        break;
    case ItemKind::integer:
        output.integer(item.bits);
        break;
    case ItemKind::largeInteger: // eight bytes would be read as a negative number
        output.byte(marker::integer | 4);
        output.number(0, 8);
        output.number(item.bits, 8);
        break;
    case ItemKind::real:
        output.byte(marker::real | 3);
        output.number(item.bits, 8);
        break;
    case ItemKind::date:
        output.byte(marker::date);
        output.number(item.bits, 8);
        break;
    case ItemKind::data:
        output.head(marker::data, item.size);
        output.bytes(item.start, item.size);
        break;
    case ItemKind::text:
        writeText({static_cast<const char *>(item.start), item.size}, item.units, output);
        break;
    case ItemKind::array:
        output.head(marker::array, item.size);
        writeReferences(references.subspan(item.firstReference, item.size), referenceSize, output);
        break;
    case ItemKind::dictionary: // all keys, then all values
        output.head(marker::dictionary, item.size);
        writeReferences(references.subspan(item.firstReference, 2 * item.size), referenceSize, output);
        break;
    case ItemKind::none:
        break;
    }
}

} // namespace

// Once the objects are numbered, the sizes of references and offsets and the length of the whole are known,
// and it is written into memory of exactly that length.
Ref<Data> writeBinary(const Object *root, Failure &failure) {
    const ReleaseScope scope; // for texts that make their UTF-8 on demand
    BinaryItems items(failure);
    if (!items.add(root))
        return {};
    const std::span<const std::uint32_t> references = items.allReferences();
    const std::uint64_t count = items.all().size();
    const std::size_t referenceSize = sizeOfNumber(count);
    const std::uint64_t tablePlace =
        binaryMagic.size() + items.objectBytes() + std::uint64_t{references.size()} * referenceSize;
    const std::size_t offsetSize = sizeOfNumber(tablePlace);
    auto data = makeRef<WrittenData>(tablePlace + count * offsetSize + trailerSize);

    Output objects(data->start());
    Output offsets(data->start() + tablePlace);
    objects.bytes(binaryMagic.data(), binaryMagic.size());
    for (const Item &item : items.all()) {
        offsets.number(static_cast<std::uint64_t>(objects.place() - data->start()), offsetSize);
        writeItem(item, references, referenceSize, objects);
    }
    offsets.number(0, 6);
    offsets.byte(static_cast<unsigned>(offsetSize));
    offsets.byte(static_cast<unsigned>(referenceSize));
    offsets.number(count, 8);
    offsets.number(0, 8);
    offsets.number(tablePlace, 8);
    return data;
}

} // namespace wickerlane::propertylist
