// The objects of a binary property list, numbered.
#ifndef WICKERLANE_PLATFORM_PROPERTYLIST_BINARYITEMSINTERNAL_H
#define WICKERLANE_PLATFORM_PROPERTYLIST_BINARYITEMSINTERNAL_H

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "wickerlane/platform/object/HashTable.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane::propertylist {

enum class ItemKind : std::uint8_t {
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
    ItemKind kind = ItemKind::none;
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

inline bool isContainer(ItemKind kind) noexcept {
    return kind == ItemKind::array || kind == ItemKind::dictionary;
}

/// How many bytes the format gives to a number: 1, 2, 4 or 8.
inline std::size_t sizeOfNumber(std::uint64_t value) noexcept {
    return value <= 0xFF ? 1 : (value <= 0xFFFF ? 2 : (value <= 0xFFFFFFFF ? 4 : 8));
}

/// Walks a tree of objects, gives every distinct one its number and sums up what they take. Scalars are the
/// same by value, containers by identity.
class BinaryItems {
public:
    /// `reported` outlives this.
    explicit BinaryItems(Failure &reported);

    /// Adds the tree, whose root gets the number 0. False, with the failure reported, when it is no property
    /// list.
    [[nodiscard]] bool add(const Object *root);

    /// By number.
    [[nodiscard]] std::span<const Item> all() const noexcept { return items; }
    /// The numbers that containers hold, those of each in a row: of a dictionary all keys, then all values.
    [[nodiscard]] std::span<const std::uint32_t> allReferences() const noexcept { return references; }
    /// What the items take in the list, but for their references.
    [[nodiscard]] std::uint64_t objectBytes() const noexcept { return totalBytes; }

private:
    // A container whose contents are being numbered.
    struct Frame {
        std::uint32_t item;
        std::size_t next;             // one past the value that is being numbered
        const Array *array;           // one of
        const Dictionary *dictionary; // these two
    };
    static constexpr std::size_t maxItems = std::numeric_limits<std::uint32_t>::max() - 1;

    bool fail(PropertyListErrorCode code, std::string_view reason);
    bool failTooDeep();
    std::string placeInTree() const;
    void raise(const Frame &frame, std::uint16_t heightOfValue);
    bool enter(const Object *object, std::uint32_t &id);
    bool openContainer(const Object *object, std::uint32_t id);
    bool numberKeys(const Dictionary &dictionary, std::size_t place);
    bool describe(const Object *object, Item &item);
    bool intern(Item &item, std::uint32_t &id, bool &isNew);

    Failure &failure;
    std::vector<Item> items;
    HashTable table; // of the items
    std::vector<std::uint32_t> references;
    std::vector<Frame> frames;
    std::uint64_t totalBytes = 0;
};

} // namespace wickerlane::propertylist

#endif
