#include "wickerlane/platform/message/value/DictionaryStorage.h"

#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/object/KeyedHash.h"

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

bool DictionaryStorage::isAt(std::size_t position, std::string_view key) const noexcept {
    const Entry &entry = entries[position];
    return entry.keyLength == key.size() && std::memcmp(entry.key, key.data(), key.size()) == 0;
}

DictionaryStorage::Entry *DictionaryStorage::find(std::string_view key) const noexcept {
    const auto matches = [&](std::size_t position) { return isAt(position, key); };
    std::size_t position = 0;
    if (isIndexed())
        position = index.find(keyedHash(key), matches);
    else
        while (position < entries.size() && !matches(position))
            ++position;
    return position == entries.size() ? nullptr : &entries[position];
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
    static_cast<void>(appendReceived({arena.copyText(name), name.size()}, slot));
}

bool DictionaryStorage::appendReceived(std::string_view key, const MessageSlot &slot) {
    const std::size_t count = entries.size();
    if (!isIndexed() && count == maxSearchedInOrder)
        for (const Entry &entry : entries)
            index.findOrAppend(keyedHash({entry.key, entry.keyLength}), [](std::size_t) { return false; });
    const bool isKnown =
        isIndexed() ? index.findOrAppend(keyedHash(key),
                                         [&](std::size_t position) { return isAt(position, key); }) != count
                    : find(key) != nullptr;
    if (isKnown) {
        releaseObject(slot);
        return false;
    }
    entries.append({key.data(), static_cast<std::uint32_t>(key.size()), slot});
    return true;
}

void DictionaryStorage::remove(std::string_view key) {
    Entry *known = find(key);
    if (known == nullptr)
        return;
    const MessageSlot slot = known->slot;
    const auto position = static_cast<std::size_t>(known - entries.begin());
    if (isIndexed())
        index.remove(keyedHash(key), position);
    entries.remove(position);
    releaseObject(slot);
}

} // namespace wickerlane
