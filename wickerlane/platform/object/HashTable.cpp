#include "wickerlane/platform/object/HashTable.h"

#include <utility>

namespace wickerlane {

void HashTable::remove(std::size_t hash, std::size_t position) noexcept {
    const std::size_t mask = slots.size() - 1;
    std::size_t gap = search(mixed(hash), [position](std::size_t each) { return each == position; });
    // A slot moves into the gap unless the search for it begins behind the gap.
    for (std::size_t i = (gap + 1) & mask; slots[i].number != 0; i = (i + 1) & mask) {
        const std::size_t distance = (i - home(slots[i].hash)) & mask;
        if (distance >= ((i - gap) & mask))
            slots[std::exchange(gap, i)] = slots[i];
    }
    slots[gap] = {};
    --used;
    if (position == used)
        return; // none is behind it
    for (Slot &slot : slots)
        slot.number -= slot.number > position + 1 ? 1 : 0;
}

void HashTable::clear() noexcept {
    slots.clear();
    used = 0;
}

void HashTable::reserve(std::size_t positions) {
    std::size_t size = slots.empty() ? minimumSlots : slots.size();
    while (positions * 3 > size * 2)
        size *= 2;
    if (size != slots.size())
        resize(size);
}

void HashTable::resize(std::size_t size) {
    const std::vector<Slot> old = std::exchange(slots, std::vector<Slot>(size));
    for (const Slot &slot : old)
        if (slot.number != 0)
            slots[search(slot.hash, [](std::size_t) { return false; })] = slot;
}

} // namespace wickerlane
