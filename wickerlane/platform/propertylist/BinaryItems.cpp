#include "wickerlane/platform/propertylist/BinaryItemsInternal.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "wickerlane/platform/object/KeyedHash.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane::propertylist {
namespace {

// Of large data, the length and the ends count; equality looks at the rest.
std::size_t hashOfBytes(std::string_view bytes) noexcept {
    constexpr std::size_t end = 512;
    if (bytes.size() <= 2 * end)
        return keyedHash(bytes);
    return 3 * keyedHash(bytes.substr(0, end)) + keyedHash(bytes.substr(bytes.size() - end)) + bytes.size();
}

void describeNumber(const Number &number, Item &item) {
    switch (number.kind()) {
    case Number::Kind::boolean:
        item.kind = ItemKind::boolean;
        item.bits = number.boolValue() ? 1 : 0;
        break;
    case Number::Kind::real:
        item.kind = ItemKind::real;
        item.bits = std::bit_cast<std::uint64_t>(number.doubleValue());
        break;
    case Number::Kind::signedInteger:
        item.kind = ItemKind::integer;
        item.bits = number.uint64Value();
        break;
    case Number::Kind::unsignedInteger:
        item.bits = number.uint64Value();
        item.kind = item.bits >> 63 == 0 ? ItemKind::integer : ItemKind::largeInteger;
        break;
    }
}

std::size_t hash(const Item &item) {
    const auto kind = static_cast<std::uint64_t>(item.kind) << 56;
    if (item.kind == ItemKind::text || item.kind == ItemKind::data)
        return hashOfBytes({static_cast<const char *>(item.start), item.size}) ^ kind;
    if (isContainer(item.kind))
        return reinterpret_cast<std::uintptr_t>(item.start);
    return item.bits ^ kind;
}

// Scalars are the same by value, containers by identity.
bool areSame(const Item &a, const Item &b) {
    if (a.kind != b.kind)
        return false;
    if (a.kind == ItemKind::text || a.kind == ItemKind::data)
        return a.size == b.size && (a.size == 0 || std::memcmp(a.start, b.start, a.size) == 0);
    return isContainer(a.kind) ? a.start == b.start : a.bits == b.bits;
}

// Bytes of an object's marker and count.
std::size_t headSize(std::uint64_t count) noexcept {
    if (count < marker::countFollows)
        return 1;
    return count <= 0xFF ? 3 : (count <= 0xFFFF ? 4 : (count <= 0xFFFFFFFF ? 6 : 10));
}

std::uint64_t sizeWithoutReferences(const Item &item) {
    switch (item.kind) {
    case ItemKind::integer:
        return 1 + sizeOfNumber(item.bits);
    case ItemKind::largeInteger:
        return 17;
    case ItemKind::real:
    case ItemKind::date:
        return 9;
    case ItemKind::data:
        return headSize(item.size) + item.size;
    case ItemKind::text:
        return headSize(item.units) + item.units * (item.units == item.size ? 1 : 2);
    case ItemKind::array:
    case ItemKind::dictionary:
        return headSize(item.size);
    case ItemKind::boolean:
    case ItemKind::none:
        break;
    }
    return 1;
}

} // namespace

BinaryItems::BinaryItems(Failure &reported) : failure(reported) {
    items.reserve(32);
    references.reserve(32);
}

bool BinaryItems::fail(PropertyListErrorCode code, std::string_view reason) {
    failure = {code, std::string(reason) + placeInTree()};
    return false;
}

// " at albums.3.title", of the value that the innermost open container has come to.
std::string BinaryItems::placeInTree() const {
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

bool BinaryItems::add(const Object *root) {
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
        const Object *value = isDictionary ? frame.dictionary->begin()[next].value : frame.array->at(next);
        const std::size_t place = container.firstReference + next + (isDictionary ? container.size : 0);
        if (!enter(value, id))
            return false;
        references[place] = id;
    }
    return true;
}

void BinaryItems::raise(const Frame &frame, std::uint16_t heightOfValue) {
    auto &height = items[frame.item].height;
    height = std::max<std::uint16_t>(height, static_cast<std::uint16_t>(heightOfValue + 1));
}

// Gives an object its number; a container that is new is opened.
bool BinaryItems::enter(const Object *object, std::uint32_t &id) {
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

bool BinaryItems::failTooDeep() {
    failure = {PropertyListErrorCode::tooLarge,
               "containers nest deeper than " + std::to_string(propertyListDepthLimit) + " levels"};
    return false;
}

bool BinaryItems::openContainer(const Object *object, std::uint32_t id) {
    if (frames.size() == propertyListDepthLimit)
        return failTooDeep();
    Item &item = items[id];
    const bool isDictionary = item.kind == ItemKind::dictionary;
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

bool BinaryItems::numberKeys(const Dictionary &dictionary, std::size_t place) {
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
bool BinaryItems::describe(const Object *object, Item &item) {
    const Class *named = object != nullptr ? object->classObject() : nullptr;
    for (const Class *c = named; c != nullptr; c = c->superclass) {
        if (c == &String::classInfo) {
            const std::string_view text = static_cast<const String *>(object)->utf8();
            item.kind = ItemKind::text;
            item.start = text.data();
            item.size = text.size();
            return true;
        }
        if (c == &Number::classInfo) {
            describeNumber(*static_cast<const Number *>(object), item);
            return true;
        }
        if (c == &Dictionary::classInfo) {
            item.kind = ItemKind::dictionary;
            item.start = object;
            item.size = static_cast<const Dictionary *>(object)->count();
            return true;
        }
        if (c == &Array::classInfo) {
            const auto *array = static_cast<const Array *>(object);
            if (!array->holdsObjects())
                return fail(PropertyListErrorCode::unsupported,
                            "an array holds something other than objects");
            item.kind = ItemKind::array;
            item.start = object;
            item.size = array->count();
            return true;
        }
        if (c == &Data::classInfo) {
            const Bytes bytes = static_cast<const Data *>(object)->span();
            item.kind = ItemKind::data;
            item.start = bytes.data();
            item.size = bytes.size();
            return true;
        }
        if (c == &Date::classInfo) {
            item.kind = ItemKind::date;
            item.bits = std::bit_cast<std::uint64_t>(static_cast<const Date *>(object)->referenceSeconds());
            return true;
        }
    }
    return fail(PropertyListErrorCode::unsupported,
                named == nullptr ? std::string("a value is null")
                                 : std::string("a value of class ") + named->name + " cannot be written");
}

// Finds the item among those that have their number, or gives it the next one.
bool BinaryItems::intern(Item &item, std::uint32_t &id, bool &isNew) {
    id = static_cast<std::uint32_t>(
        table.findOrAppend(hash(item), [&](std::size_t i) { return areSame(items[i], item); }));
    if (id != items.size())
        return true;
    if (id == maxItems)
        return fail(PropertyListErrorCode::tooLarge, "there are too many objects");
    if (item.kind == ItemKind::text) {
        item.units = utf8::lengthInUTF16({static_cast<const char *>(item.start), item.size});
        if (item.units == utf8::notValid)
            return fail(PropertyListErrorCode::unsupported, "a text is not valid UTF-8");
    }
    isNew = true;
    totalBytes += sizeWithoutReferences(item);
    items.push_back(item);
    return true;
}

} // namespace wickerlane::propertylist
