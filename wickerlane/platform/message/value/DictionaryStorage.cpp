#include "wickerlane/platform/message/value/DictionaryStorage.h"

#include <bit>

#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {
namespace {

void releaseObject(const MessageSlot &slot) noexcept {
    if (slot.object != nullptr)
        slot.object->release();
}

} // namespace

DictionaryStorage::~DictionaryStorage() {
    for (const Entry &entry : entries)
        releaseObject(entry.slot);
}

DictionaryStorage::Entry *DictionaryStorage::find(std::string_view key) const noexcept {
    const auto matches = [&](const Entry &entry) {
        return entry.keyLength == key.size() && std::memcmp(entry.key, key.data(), key.size()) == 0;
    };
    if (index.empty()) {
        for (Entry &entry : entries)
            if (matches(entry))
                return &entry;
        return nullptr;
    }
    const std::uint32_t hash = hashOfKey(key);
    const std::size_t mask = index.size() - 1;
    for (std::size_t i = hash & mask; index[i] != 0; i = (i + 1) & mask) {
        Entry &entry = entries[index[i] - 1];
        if (entry.hash == hash && matches(entry))
            return &entry;
    }
    return nullptr;
}

void DictionaryStorage::addToIndex(std::size_t position) {
    const std::size_t mask = index.size() - 1;
    std::size_t i = entries[position].hash & mask;
    while (index[i] != 0)
        i = (i + 1) & mask;
    index[i] = static_cast<std::uint32_t>(position + 1);
}

void DictionaryStorage::rebuildIndex() {
    if (entries.size() <= searchedOneByOne) {
        index.clear();
        return;
    }
    index.assign(std::bit_ceil(entries.size() * 2), 0);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        entries[i].hash = hashOfKey({entries[i].key, entries[i].keyLength});
        addToIndex(i);
    }
}

void DictionaryStorage::put(const char *key, const MessageSlot &slot) {
    const std::string_view name = key == nullptr ? std::string_view() : std::string_view(key);
    if (Entry *known = find(name)) {
        releaseObject(std::exchange(known->slot, slot));
        return;
    }
    if (key == nullptr || name.size() > MessageLimits::keyBytes || !isUTF8(name)) {
        releaseObject(slot);
        return;
    }
    if (!appendReceived({arena.copyText(name), name.size()}, slot))
        releaseObject(slot);
}

bool DictionaryStorage::appendReceived(std::string_view key, const MessageSlot &slot) {
    if (find(key) != nullptr)
        return false;
    entries.append({key.data(), static_cast<std::uint32_t>(key.size()), 0, slot});
    const std::size_t count = entries.size();
    if (count <= searchedOneByOne)
        return true;
    if (index.size() < count * 2) {
        rebuildIndex();
    } else {
        entries[count - 1].hash = hashOfKey(key);
        addToIndex(count - 1);
    }
    return true;
}

void DictionaryStorage::remove(std::string_view key) {
    Entry *known = find(key);
    if (known == nullptr)
        return;
    const MessageSlot slot = known->slot;
    entries.remove(static_cast<std::size_t>(known - entries.begin()));
    if (!index.empty())
        rebuildIndex();
    releaseObject(slot);
}

} // namespace wickerlane
