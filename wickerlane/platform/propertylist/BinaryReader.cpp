// Reads from the root downwards, so that objects nothing refers to cost nothing. What a hostile list can make
// this allocate is bounded by two rules that every honest list keeps: the offset table lies within the bytes,
// and objects do not overlap, so that together they are no longer than the space that holds them.
#include <bit>
#include <cstring>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/UTF8Internal.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane::propertylist {

namespace {

class BinaryReader {
public:
    BinaryReader(Bytes list, MemoryLeft given, Failure &reported)
        : bytes(list), memory(given), failure(reported) {}
    BinaryReader(const BinaryReader &) = delete;
    BinaryReader &operator=(const BinaryReader &) = delete;
    ~BinaryReader() {
        for (Object *object : objects)
            if (object != nullptr)
                object->release();
    }

    Ref<Object> read() {
        std::uint64_t root = 0;
        if (!readTrailer(root) || !readTree(root))
            return {};
        return objects[root];
    }

private:
    // The start of an object: where its contents begin, and its count or the size of its number.
    struct Head {
        unsigned kind;
        std::uint64_t count;
        std::uint64_t contents;
    };
    // A container whose contents are being read.
    struct Frame {
        std::uint64_t object;
        std::uint64_t contents; // place of its references
        std::uint64_t count;    // of references; for a dictionary, keys and values
        std::uint64_t next;
        bool isDictionary;
    };
    static constexpr std::uint16_t unfinished = 0xFFFF;

    bool fail(std::string_view reason, std::uint64_t place) {
        failure.reason = std::string(reason) + " at byte " + std::to_string(place);
        return false;
    }

    // `size` bytes, at most 8, most significant first; the caller has checked that they are there.
    [[nodiscard]] std::uint64_t numberAt(std::uint64_t place, std::uint64_t size) const noexcept {
        std::uint64_t value = 0;
        for (std::uint64_t i = 0; i < size; ++i)
            value = value << 8 | std::to_integer<std::uint64_t>(bytes[place + i]);
        return value;
    }

    bool readTrailer(std::uint64_t &root) {
        const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        if (!text.starts_with(binaryMagic)) {
            failure.reason = "this version of the binary format is not known";
            return false;
        }
        if (bytes.size() < binaryMagic.size() + trailerSize)
            return fail("the list is cut off", bytes.size());
        const std::uint64_t trailer = bytes.size() - trailerSize;
        offsetSize = numberAt(trailer + 6, 1);
        referenceSize = numberAt(trailer + 7, 1);
        const std::uint64_t count = numberAt(trailer + 8, 8);
        root = numberAt(trailer + 16, 8);
        tablePlace = numberAt(trailer + 24, 8);
        if (offsetSize < 1 || offsetSize > 8 || referenceSize < 1 || referenceSize > 8)
            return fail("a size of offsets or references is not 1 to 8", trailer + 6);
        if (tablePlace <= binaryMagic.size() || tablePlace > trailer)
            return fail("the offset table lies outside the list", trailer + 24);
        if (count > (trailer - tablePlace) / offsetSize)
            return fail("more objects are announced than there are offsets", trailer + 8);
        if (root >= count)
            return fail("the root is not among the objects", trailer + 16);
        unread = tablePlace - binaryMagic.size();
        if (!memory.take(count * (sizeof(void *) + sizeof(std::uint16_t))))
            return failMemoryUsedUp();
        objects.resize(count);
        heights.resize(count);
        return true;
    }

    bool readTree(std::uint64_t root) {
        if (!enter(root))
            return false;
        while (!frames.empty()) {
            Frame &frame = frames.back();
            if (frame.next == frame.count) {
                if (!finish(frame))
                    return false;
                frames.pop_back();
                continue;
            }
            const std::uint64_t object = referenceOf(frame, frame.next++);
            if (object >= objects.size())
                return fail("a reference leads to no object",
                            frame.contents + (frame.next - 1) * referenceSize);
            if (!enter(object))
                return false;
        }
        return true;
    }

    [[nodiscard]] std::uint64_t referenceOf(const Frame &frame, std::uint64_t index) const noexcept {
        return numberAt(frame.contents + index * referenceSize, referenceSize);
    }

    [[nodiscard]] std::uint64_t offsetOf(std::uint64_t object) const noexcept {
        return numberAt(tablePlace + object * offsetSize, offsetSize);
    }

    // Makes the object, or opens it when it is a container that was not read yet.
    bool enter(std::uint64_t object) {
        if (objects[object] != nullptr) {
            // Containers that are shared may nest deeper than the way on which they were read.
            return frames.size() + heights[object] <= propertyListDepthLimit || failTooDeep();
        }
        const std::uint64_t place = offsetOf(object);
        if (heights[object] == unfinished)
            return fail("a container contains itself", place);
        Head head{};
        if (!readHead(place, head))
            return false;
        switch (head.kind) {
        case marker::array:
        case marker::dictionary:
            return open(object, place, head);
        case marker::data:
            return take(place, head, head.count, 1) &&
                   keep(object, Data::create(bytes.subspan(head.contents, head.count)));
        case marker::ascii:
            return take(place, head, head.count, 1) && readASCII(object, place, head);
        case marker::utf16:
            return take(place, head, head.count, 2) && readUTF16(object, head);
        case marker::integer:
            return take(place, head, std::uint64_t{1} << head.count, 1) && readInteger(object, place, head);
        case marker::real:
        case marker::date & 0xF0U:
            return readReal(object, place, head);
        case 0:
            if (head.count != marker::no && head.count != marker::yes)
                break;
            return take(place, head, 0, 1) && keep(object, Number::create(head.count == marker::yes));
        default:
            break;
        }
        return fail("an object is of no kind that is known", place);
    }

    bool keep(std::uint64_t object, Ref<Object> made) {
        const bool fits = memory.take(made.get());
        objects[object] = made.leak();
        return fits || failMemoryUsedUp();
    }

    bool failMemoryUsedUp() {
        failure = {PropertyListErrorCode::tooLarge, std::string(memoryUsedUp)};
        return false;
    }

    bool failTooDeep() {
        failure = {PropertyListErrorCode::tooLarge,
                   "containers nest deeper than " + std::to_string(propertyListDepthLimit) + " levels"};
        return false;
    }

    bool readHead(std::uint64_t place, Head &head) {
        if (place < binaryMagic.size() || place >= tablePlace)
            return fail("an offset leads outside the objects", place);
        const auto marker = std::to_integer<unsigned>(bytes[place]);
        head = {marker & 0xF0, marker & 0x0F, place + 1};
        const bool hasCount = head.kind >= marker::data;
        if (!hasCount || head.count != marker::countFollows)
            return true;
        const auto sizeMarker =
            head.contents < tablePlace ? std::to_integer<unsigned>(bytes[head.contents]) : 0;
        const std::uint64_t size = std::uint64_t{1} << (sizeMarker & 0x0F);
        if ((sizeMarker & 0xF0) != marker::integer || size > 8 || size >= tablePlace - head.contents)
            return fail("an object has no proper count", place);
        head.count = numberAt(head.contents + 1, size);
        head.contents += 1 + size;
        return true;
    }

    // Claims the object's bytes: `count` times `size` of contents behind its head.
    bool take(std::uint64_t place, const Head &head, std::uint64_t count, std::uint64_t size) {
        if (count > (tablePlace - head.contents) / size)
            return fail("an object reaches past the end of the objects", place);
        const std::uint64_t taken = head.contents - place + count * size;
        if (taken > unread)
            return fail("objects overlap", place);
        unread -= taken;
        return true;
    }

    bool readInteger(std::uint64_t object, std::uint64_t place, const Head &head) {
        const std::uint64_t size = std::uint64_t{1} << head.count;
        if (size < 8)
            return keep(object, Number::create(static_cast<std::int64_t>(numberAt(head.contents, size))));
        if (size == 8)
            return keep(object, Number::create(std::bit_cast<std::int64_t>(numberAt(head.contents, 8))));
        if (size != 16)
            return fail("an integer has more than 16 bytes", place);
        const std::uint64_t high = numberAt(head.contents, 8);
        const std::uint64_t low = numberAt(head.contents + 8, 8);
        const bool isNegative = low >> 63 != 0;
        if (high == 0 && isNegative)
            return keep(object, Number::create(low));
        if (high != (isNegative ? ~std::uint64_t{0} : 0))
            return fail("an integer does not fit into 64 bits", place);
        return keep(object, Number::create(std::bit_cast<std::int64_t>(low)));
    }

    bool readReal(std::uint64_t object, std::uint64_t place, const Head &head) {
        const std::uint64_t size = std::uint64_t{1} << head.count;
        const bool isDate = head.kind != marker::real;
        if (size != 8 && (isDate || size != 4))
            return fail("a real number or date has an odd size", place);
        if (!take(place, head, size, 1))
            return false;
        const std::uint64_t bits = numberAt(head.contents, size);
        const double value =
            size == 8 ? std::bit_cast<double>(bits)
                      : static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        if (isDate)
            return keep(object, Date::createWithReferenceSeconds(value));
        return keep(object, Number::create(value));
    }

    bool readASCII(std::uint64_t object, std::uint64_t place, const Head &head) {
        const std::string_view text(reinterpret_cast<const char *>(bytes.data()) + head.contents, head.count);
        if (utf8::asciiPrefix(text) != text.size())
            return fail("an ASCII text holds other bytes", place);
        return keep(object, String::create(text));
    }

    bool readUTF16(std::uint64_t object, const Head &head) {
        units.resize(head.count);
        for (std::uint64_t i = 0; i < head.count; ++i)
            units[i] = static_cast<char16_t>(numberAt(head.contents + 2 * i, 2));
        return keep(object, String::createWithUTF16(units));
    }

    bool open(std::uint64_t object, std::uint64_t place, const Head &head) {
        const bool isDictionary = head.kind == marker::dictionary;
        if (!take(place, head, head.count, (isDictionary ? 2 : 1) * referenceSize))
            return false;
        if (frames.size() == propertyListDepthLimit)
            return failTooDeep();
        heights[object] = unfinished;
        frames.push_back(
            {object, head.contents, isDictionary ? 2 * head.count : head.count, 0, isDictionary});
        return true;
    }

    // Makes a container whose contents have all been made.
    bool finish(const Frame &frame) {
        std::uint16_t height = 0;
        children.clear();
        entries.clear();
        const std::uint64_t entryCount = frame.count / 2;
        for (std::uint64_t i = 0; i < (frame.isDictionary ? entryCount : frame.count); ++i) {
            const std::uint64_t first = referenceOf(frame, i);
            if (!frame.isDictionary) {
                children.push_back(objects[first]);
                height = std::max(height, heights[first]);
                continue;
            }
            const std::uint64_t value = referenceOf(frame, entryCount + i);
            if (as<String>(objects[first]) == nullptr)
                return fail("a dictionary's key is not text", frame.contents + i * referenceSize);
            entries.push_back({objects[first], objects[value]});
            height = std::max(height, heights[value]);
        }
        heights[frame.object] = static_cast<std::uint16_t>(height + 1);
        if (frame.isDictionary)
            return keep(frame.object, Dictionary::create(entries));
        return keep(frame.object, Array::create(children));
    }

    Bytes bytes;
    MemoryLeft memory;
    Failure &failure;
    std::uint64_t offsetSize = 0;
    std::uint64_t referenceSize = 0;
    std::uint64_t tablePlace = 0;
    std::uint64_t unread = 0;      // bytes of the objects' space that no object has claimed
    std::vector<Object *> objects; // owned; null for those that are not finished
    std::vector<std::uint16_t>
        heights; // how many containers nest from each on; `unfinished` while it is open
    std::vector<Frame> frames;
    // Kept between uses for their memory.
    std::vector<Object *> children;
    std::vector<Dictionary::Entry> entries;
    std::u16string units;
};

} // namespace

Ref<Object> readBinary(Bytes bytes, MemoryLeft memory, Failure &failure) {
    return BinaryReader(bytes, memory, failure).read();
}

} // namespace wickerlane::propertylist
