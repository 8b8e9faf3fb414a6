// What the readers and the writer of property lists share.
#ifndef WICKERLANE_PLATFORM_PROPERTYLIST_PROPERTYLISTINTERNAL_H
#define WICKERLANE_PLATFORM_PROPERTYLIST_PROPERTYLISTINTERNAL_H

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::propertylist {

// The first byte of an object in the binary format: its kind in the high half; in the low half its size, a
// power-of-two exponent for numbers, a count for the others.
namespace marker {
constexpr unsigned no = 0x08;
constexpr unsigned yes = 0x09;
constexpr unsigned integer = 0x10;
constexpr unsigned real = 0x20;
constexpr unsigned date = 0x33;
constexpr unsigned data = 0x40;
constexpr unsigned ascii = 0x50;
constexpr unsigned utf16 = 0x60;
constexpr unsigned array = 0xA0;
constexpr unsigned dictionary = 0xD0;
// In the low half: the count follows as an integer object.
constexpr unsigned countFollows = 0x0F;
} // namespace marker

constexpr std::string_view binaryMagic = "bplist00";
// The end of a binary list: 6 unused bytes, the sizes of an offset and of a reference, and three 8-byte
// numbers: objects, root, place of the offset table.
constexpr std::size_t trailerSize = 32;

// The shortest values of the text form become objects some sixty times their size, those of the XML form some
// eight times.
constexpr std::size_t maxXMLBytes = std::size_t{256} << 20;
constexpr std::size_t maxTextBytes = std::size_t{16} << 20;

struct Failure {
    PropertyListErrorCode code = PropertyListErrorCode::corrupt;
    std::string reason;
};

// The memory that the objects of a tree may still take, each charged with a little more than it takes.
class MemoryLeft {
public:
    explicit MemoryLeft(std::size_t bytes) : left(bytes) {}
    // False when it is used up.
    bool take(const Object *made);
    bool take(std::size_t bytes) {
        left -= std::min(left, bytes);
        return left != 0;
    }
    [[nodiscard]] bool isUsedUp() const noexcept { return left == 0; }

private:
    std::size_t left;
};

constexpr std::string_view memoryUsedUp = "the list takes more memory than it is given";

// Each gives null with the failure filled in when the bytes are not such a list.
Ref<Object> readBinary(Bytes bytes, MemoryLeft memory, Failure &failure);
Ref<Object> readXML(Bytes bytes, MemoryLeft memory, Failure &failure);
Ref<Object> readText(Bytes bytes, MemoryLeft memory, Failure &failure);

// Null with the failure filled in when the tree is not a property list.
Ref<Data> writeBinary(const Object *root, Failure &failure);

// Puts a tree together from its values in the order in which a text form tells them.
class TreeBuilder {
public:
    explicit TreeBuilder(MemoryLeft given) : memory(given) {}
    TreeBuilder(const TreeBuilder &) = delete;
    TreeBuilder &operator=(const TreeBuilder &) = delete;
    ~TreeBuilder() {
        for (Object *value : values)
            value->release();
    }

    enum class Place { root, array, key, value, done };
    /// What may come next.
    [[nodiscard]] Place place() const noexcept {
        if (frames.empty())
            return values.empty() ? Place::root : Place::done;
        if (!frames.back().isDictionary)
            return Place::array;
        return (values.size() - frames.back().firstValue) % 2 == 0 ? Place::key : Place::value;
    }
    /// A value, or a key where a key must come.
    void add(Ref<Object> value) {
        memory.take(value.get());
        values.push_back(value.leak());
    }
    /// To be asked after each value.
    [[nodiscard]] bool isMemoryUsedUp() const noexcept { return memory.isUsedUp(); }
    void open(bool isDictionary) { frames.push_back({isDictionary, values.size()}); }
    [[nodiscard]] bool isFull() const noexcept { return frames.size() == propertyListDepthLimit; }
    [[nodiscard]] std::size_t depth() const noexcept { return frames.size(); }
    /// Ends the innermost container, which must not wait for a value.
    void close();
    /// The finished tree.
    [[nodiscard]] Ref<Object> takeRoot() {
        Object *root = values.back();
        values.pop_back();
        return Ref<Object>::adopt(root);
    }

private:
    struct Frame {
        bool isDictionary;
        std::size_t firstValue;
    };
    MemoryLeft memory;
    std::vector<Frame> frames;
    std::vector<Object *> values; // owned; of every open container, keys and values in turn
    // Empty containers are shared, since they are the values that cost most for their length in the text.
    Ref<Array> emptyArray;
    Ref<Dictionary> emptyDictionary;
};

} // namespace wickerlane::propertylist

#endif
