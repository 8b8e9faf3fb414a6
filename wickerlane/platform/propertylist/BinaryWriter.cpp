// Two passes. The first walks the tree, gives every distinct object its number and sums up what the objects
// take; with that the sizes of references and offsets and the length of the whole are known, and the second
// pass writes into memory of exactly that length.
#include <bit>
#include <cstring>
#include <limits>
#include <memory>

#include "wickerlane/platform/object/HashTable.h"
#include "wickerlane/platform/object/KeyedHash.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/UTF8Internal.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane::propertylist {

namespace {

enum class Kind : std::uint8_t {
    boolean,
    integer,      // of either sign, in 64 bits
    largeInteger, // above INT64_MAX
    real,
    date,
    data,
    text,
    array,
    dictionary,
    none,
};

// One object of the list.
struct Item {
    Kind kind = Kind::none;
    bool isOpen = false;      // a container whose contents are being numbered
    std::uint16_t height = 0; // how many containers nest from here on, itself included
    std::uint32_t firstReference = 0;
    union {
        const void *start = nullptr; // of text and data; the container itself
        std::uint64_t bits;          // numbers and dates
    };
    std::size_t size = 0;  // bytes of text and data; elements or entries
    std::size_t units = 0; // length of text in UTF-16
};

bool isContainer(Kind kind) noexcept {
    return kind == Kind::array || kind == Kind::dictionary;
}

// Bytes of an object's marker and count.
std::size_t headSize(std::uint64_t count) noexcept {
    if (count < marker::countFollows)
        return 1;
    return count <= 0xFF ? 3 : (count <= 0xFFFF ? 4 : (count <= 0xFFFFFFFF ? 6 : 10));
}

std::size_t smallestSize(std::uint64_t value) noexcept {
    return value <= 0xFF ? 1 : (value <= 0xFFFF ? 2 : (value <= 0xFFFFFFFF ? 4 : 8));
}

// Large data is told apart by its length and its ends; equality looks at the rest.
std::size_t hashOfBytes(std::string_view bytes) noexcept {
    constexpr std::size_t end = 512;
    if (bytes.size() <= 2 * end)
        return keyedHash(bytes);
    return 3 * keyedHash(bytes.substr(0, end)) + keyedHash(bytes.substr(bytes.size() - end)) + bytes.size();
}

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
        const std::size_t size = smallestSize(value);
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

class BinaryWriter {
public:
    explicit BinaryWriter(Failure &reported) : failure(reported) {
        items.reserve(32);
        references.reserve(32);
    }

    Ref<Data> write(const Object *root) {
        if (!number(root))
            return {};
        const std::uint64_t count = items.size();
        const std::size_t referenceSize = smallestSize(count);
        const std::uint64_t tablePlace =
            binaryMagic.size() + objectBytes + std::uint64_t{references.size()} * referenceSize;
        const std::size_t offsetSize = smallestSize(tablePlace);
        auto data = makeRef<WrittenData>(tablePlace + count * offsetSize + trailerSize);

        Output objects(data->start());
        Output offsets(data->start() + tablePlace);
        objects.bytes(binaryMagic.data(), binaryMagic.size());
        for (const Item &item : items) {
            offsets.number(static_cast<std::uint64_t>(objects.place() - data->start()), offsetSize);
            write(item, objects, referenceSize);
        }
        offsets.number(0, 6);
        offsets.byte(static_cast<unsigned>(offsetSize));
        offsets.byte(static_cast<unsigned>(referenceSize));
        offsets.number(count, 8);
        offsets.number(0, 8);
        offsets.number(tablePlace, 8);
        return data;
    }

private:
    // A container whose contents are being numbered.
    struct Frame {
        std::uint32_t item;
        std::size_t next;             // one past the value that is being numbered
        const Array *array;           // one of
        const Dictionary *dictionary; // these two
    };
    static constexpr std::size_t maxItems = std::numeric_limits<std::uint32_t>::max() - 1;

    bool fail(PropertyListErrorCode code, std::string_view reason) {
        failure = {code, std::string(reason) + placeInTree()};
        return false;
    }

    // " at albums.3.title", of the value that the innermost open container has come to.
    std::string placeInTree() const {
        std::string path;
        for (const Frame &frame : frames) {
            if (frame.next == 0) // still at its keys
                break;
            if (!path.empty())
                path += '.';
            if (frame.array != nullptr)
                path += std::to_string(frame.next - 1);
            else
                path += as<String>(frame.dictionary->begin()[frame.next - 1].key)->utf8();
        }
        return path.empty() ? path : " at " + path;
    }

    // Gives numbers to the root and all that is in it.
    bool number(const Object *root) {
        std::uint32_t id = 0;
        if (!enter(root, id))
            return false;
        while (!frames.empty()) {
            Frame &frame = frames.back();
            Item &container = items[frame.item];
            if (frame.next == container.size) {
                const auto height = container.height;
                container.isOpen = false;
                frames.pop_back();
                if (!frames.empty())
                    raise(frames.back(), height);
                continue;
            }
            const std::size_t next = frame.next++;
            const bool isDictionary = frame.dictionary != nullptr;
            const Object *value =
                isDictionary ? frame.dictionary->begin()[next].value : frame.array->at(next);
            const std::size_t place = container.firstReference + next + (isDictionary ? container.size : 0);
            if (!enter(value, id))
                return false;
            references[place] = id;
        }
        return true;
    }

    void raise(const Frame &frame, std::uint16_t heightOfValue) {
        auto &height = items[frame.item].height;
        height = std::max<std::uint16_t>(height, static_cast<std::uint16_t>(heightOfValue + 1));
    }

    // Gives an object its number; a container that is new is opened.
    bool enter(const Object *object, std::uint32_t &id) {
        Item item;
        if (!describe(object, item))
            return false;
        bool isNew = false;
        if (!intern(item, id, isNew))
            return false;
        if (!isContainer(item.kind))
            return true;
        if (!isNew) {
            if (items[id].isOpen)
                return fail(PropertyListErrorCode::unsupported, "a container contains itself");
            if (frames.size() + items[id].height > propertyListDepthLimit)
                return failTooDeep();
            raise(frames.back(), items[id].height);
            return true;
        }
        return openContainer(object, id);
    }

    bool failTooDeep() {
        failure = {PropertyListErrorCode::tooLarge,
                   "containers nest deeper than " + std::to_string(propertyListDepthLimit) + " levels"};
        return false;
    }

    bool openContainer(const Object *object, std::uint32_t id) {
        if (frames.size() == propertyListDepthLimit)
            return failTooDeep();
        Item &item = items[id];
        const bool isDictionary = item.kind == Kind::dictionary;
        const std::size_t added = isDictionary ? 2 * item.size : item.size;
        if (added > maxItems - references.size())
            return fail(PropertyListErrorCode::tooLarge, "there are too many objects");
        item.isOpen = true;
        item.height = 1;
        item.firstReference = static_cast<std::uint32_t>(references.size());
        const std::size_t first = references.size();
        references.resize(first + added);
        frames.push_back({id, 0, isDictionary ? nullptr : static_cast<const Array *>(object),
                          isDictionary ? static_cast<const Dictionary *>(object) : nullptr});
        return !isDictionary || numberKeys(*static_cast<const Dictionary *>(object), first);
    }

    bool numberKeys(const Dictionary &dictionary, std::size_t place) {
        for (const auto &[key, value] : dictionary) {
            Item item;
            if (as<String>(key) == nullptr)
                return fail(PropertyListErrorCode::unsupported, std::string("a key is a ") +
                                                                    key->classObject()->name +
                                                                    ", not text, in the dictionary");
            std::uint32_t id = 0;
            bool isNew = false;
            if (!describe(key, item) || !intern(item, id, isNew))
                return false;
            references[place++] = id;
        }
        return true;
    }

    // Fills in the item for an object, all but its references.
    bool describe(const Object *object, Item &item) {
        const Class *named = object != nullptr ? object->classObject() : nullptr;
        for (const Class *c = named; c != nullptr; c = c->superclass) {
            if (c == &String::classInfo) {
                const std::string_view text = static_cast<const String *>(object)->utf8();
                item.kind = Kind::text;
                item.start = text.data();
                item.size = text.size();
                return true;
            }
            if (c == &Number::classInfo) {
                describe(*static_cast<const Number *>(object), item);
                return true;
            }
            if (c == &Dictionary::classInfo) {
                item.kind = Kind::dictionary;
                item.start = object;
                item.size = static_cast<const Dictionary *>(object)->count();
                return true;
            }
            if (c == &Array::classInfo) {
                const auto *array = static_cast<const Array *>(object);
                if (!array->holdsObjects())
                    return fail(PropertyListErrorCode::unsupported,
                                "an array holds something other than objects");
                item.kind = Kind::array;
                item.start = object;
                item.size = array->count();
                return true;
            }
            if (c == &Data::classInfo) {
                const Bytes bytes = static_cast<const Data *>(object)->span();
                item.kind = Kind::data;
                item.start = bytes.data();
                item.size = bytes.size();
                return true;
            }
            if (c == &Date::classInfo) {
                item.kind = Kind::date;
                item.bits =
                    std::bit_cast<std::uint64_t>(static_cast<const Date *>(object)->referenceSeconds());
                return true;
            }
        }
        return fail(PropertyListErrorCode::unsupported,
                    named == nullptr ? std::string("a value is null")
                                     : std::string("a value of class ") + named->name + " cannot be written");
    }

    static void describe(const Number &number, Item &item) {
        switch (number.kind()) {
        case Number::Kind::boolean:
            item.kind = Kind::boolean;
            item.bits = number.boolValue() ? 1 : 0;
            break;
        case Number::Kind::real:
            item.kind = Kind::real;
            item.bits = std::bit_cast<std::uint64_t>(number.doubleValue());
            break;
        case Number::Kind::signedInteger:
            item.kind = Kind::integer;
            item.bits = number.uint64Value();
            break;
        case Number::Kind::unsignedInteger:
            item.bits = number.uint64Value();
            item.kind = item.bits >> 63 == 0 ? Kind::integer : Kind::largeInteger;
            break;
        }
    }

    static std::size_t hash(const Item &item) {
        const auto kind = static_cast<std::uint64_t>(item.kind) << 56;
        if (item.kind == Kind::text || item.kind == Kind::data)
            return hashOfBytes({static_cast<const char *>(item.start), item.size}) ^ kind;
        if (isContainer(item.kind))
            return reinterpret_cast<std::uintptr_t>(item.start);
        return item.bits ^ kind;
    }

    // Scalars are the same by value, containers by identity.
    static bool areSame(const Item &a, const Item &b) {
        if (a.kind != b.kind)
            return false;
        if (a.kind == Kind::text || a.kind == Kind::data)
            return a.size == b.size && (a.size == 0 || std::memcmp(a.start, b.start, a.size) == 0);
        return isContainer(a.kind) ? a.start == b.start : a.bits == b.bits;
    }

    // Finds the item among those that have their number, or gives it the next one.
    bool intern(Item &item, std::uint32_t &id, bool &isNew) {
        id = static_cast<std::uint32_t>(
            table.findOrAppend(hash(item), [&](std::size_t i) { return areSame(items[i], item); }));
        if (id != items.size())
            return true;
        if (id == maxItems)
            return fail(PropertyListErrorCode::tooLarge, "there are too many objects");
        if (item.kind == Kind::text) {
            item.units = utf8::lengthInUTF16({static_cast<const char *>(item.start), item.size});
            if (item.units == utf8::notValid)
                return fail(PropertyListErrorCode::unsupported, "a text is not valid UTF-8");
        }
        isNew = true;
        objectBytes += sizeWithoutReferences(item);
        items.push_back(item);
        return true;
    }

    static std::uint64_t sizeWithoutReferences(const Item &item) {
        switch (item.kind) {
        case Kind::integer:
            return 1 + smallestSize(item.bits);
        case Kind::largeInteger:
            return 17;
        case Kind::real:
        case Kind::date:
            return 9;
        case Kind::data:
            return headSize(item.size) + item.size;
        case Kind::text:
            return headSize(item.units) + item.units * (item.units == item.size ? 1 : 2);
        case Kind::array:
        case Kind::dictionary:
            return headSize(item.size);
        case Kind::boolean:
        case Kind::none:
            break;
        }
        return 1;
    }

    void write(const Item &item, Output &output, std::size_t referenceSize) const {
        switch (item.kind) {
        case Kind::boolean:
            output.byte(item.bits != 0 ? marker::yes : marker::no);
            break;
        case Kind::integer:
            output.integer(item.bits);
            break;
        case Kind::largeInteger: // eight bytes would be read as a negative number
            output.byte(marker::integer | 4);
            output.number(0, 8);
            output.number(item.bits, 8);
            break;
        case Kind::real:
            output.byte(marker::real | 3);
            output.number(item.bits, 8);
            break;
        case Kind::date:
            output.byte(marker::date);
            output.number(item.bits, 8);
            break;
        case Kind::data:
            output.head(marker::data, item.size);
            output.bytes(item.start, item.size);
            break;
        case Kind::text:
            writeText({static_cast<const char *>(item.start), item.size}, item.units, output);
            break;
        case Kind::array:
            output.head(marker::array, item.size);
            writeReferences(item.firstReference, item.size, output, referenceSize);
            break;
        case Kind::dictionary: // all keys, then all values
            output.head(marker::dictionary, item.size);
            writeReferences(item.firstReference, 2 * item.size, output, referenceSize);
            break;
        case Kind::none:
            break;
        }
    }

    static void writeText(std::string_view text, std::size_t units, Output &output) {
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

    void writeReferences(std::size_t first, std::size_t count, Output &output, std::size_t size) const {
        for (std::size_t i = first; i < first + count; ++i)
            output.number(references[i], size);
    }

    Failure &failure;
    std::vector<Item> items;
    std::vector<std::uint32_t> references; // of all containers, each one's in a row
    std::vector<Frame> frames;
    HashTable table;               // of the items
    std::uint64_t objectBytes = 0; // what the items take, but for their references
};

} // namespace

Ref<Data> writeBinary(const Object *root, Failure &failure) {
    ReleaseScope scope; // for texts that make their UTF-8 on demand
    return BinaryWriter(failure).write(root);
}

} // namespace wickerlane::propertylist
