// The hash table of this system.
#ifndef WICKERLANE_PLATFORM_OBJECT_HASHTABLE_H
#define WICKERLANE_PLATFORM_OBJECT_HASHTABLE_H

#include <cstdint>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Finds elements of an array by their hashes. The array is its owner's; the table holds positions in it,
/// from 0 to count() - 1, by open addressing. `matches` is asked of the position of an element with such a
/// hash whether it is the one. Hashes need not be well mixed, but differ in at most 2^32 ways.
class WL_EXPORT HashTable {
public:
    [[nodiscard]] std::size_t count() const noexcept { return used; }

    /// The position of the match; count() when there is none.
    template <class Matches>
    [[nodiscard]] std::size_t find(std::size_t hash, const Matches &matches) const {
        if (slots.empty())
            return used;
        const Slot &slot = slots[search(mixed(hash), matches)];
        return slot.number == 0 ? used : slot.number - 1;
    }

    /// The position of the match. When there is none, that is count(), which is now taken: the caller appends
    /// the element to the array.
    template <class Matches>
    std::size_t findOrAppend(std::size_t hash, const Matches &matches) {
        if ((used + 1) * 3 > slots.size() * 2)
            resize(slots.empty() ? minimumSlots : slots.size() * 2);
        Slot &slot = slots[search(mixed(hash), matches)];
        if (slot.number == 0)
            slot = {mixed(hash), ++used};
        return slot.number - 1;
    }

    /// Takes a position out. Those behind it move up by one, as the elements of the array do.
    void remove(std::size_t hash, std::size_t position) noexcept;

    void clear() noexcept;

    /// Makes room for that many positions.
    void reserve(std::size_t positions);

private:
    struct Slot {
        std::uint32_t hash;   // mixed
        std::uint32_t number; // the position plus one; 0 in a free slot
    };
    static constexpr std::size_t minimumSlots = 8;

    static std::uint32_t mixed(std::size_t hash) noexcept {
        return static_cast<std::uint32_t>(((hash ^ hash >> 32) * 0x9E3779B97F4A7C15U) >> 32);
    }

    /// Where the search for a hash begins. In small tables that is the front: to go through them in order is
    /// fastest.
    [[nodiscard]] std::size_t home(std::uint32_t hash) const noexcept {
        return slots.size() <= 16 ? 0 : hash & (slots.size() - 1);
    }

    /// The slot of the match, or the free one where it would stand. There is always a free one.
    template <class Matches>
    std::size_t search(std::uint32_t hash, const Matches &matches) const {
        const std::size_t mask = slots.size() - 1;
        std::size_t i = home(hash);
        while (slots[i].number != 0 && !(slots[i].hash == hash && matches(std::size_t{slots[i].number} - 1)))
            i = (i + 1) & mask;
        return i;
    }
    void resize(std::size_t size);

    std::vector<Slot> slots; // a power of two, at most two thirds full; or none
    std::uint32_t used = 0;
};

} // namespace wickerlane

#endif
