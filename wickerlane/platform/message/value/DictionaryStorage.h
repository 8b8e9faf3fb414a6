// What stands behind a MessageDictionary.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_DICTIONARYSTORAGE_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_DICTIONARYSTORAGE_H

#include "wickerlane/platform/message/value/InlineVector.h"
#include "wickerlane/platform/message/value/MessageArena.h"
#include "wickerlane/platform/message/value/MessageDictionary.h"
#include "wickerlane/platform/message/value/MessageSlot.h"
#include "wickerlane/platform/object/HashTable.h"

namespace wickerlane {

/// A dictionary. Entries lie in the order in which their keys were first set; few are searched one by one,
/// many through an index.
class DictionaryStorage final : public MessageDictionary {
public:
    struct Entry {
        const char *key; ///< NUL-terminated.
        std::uint32_t keyLength;
        MessageSlot slot;
    };
    static constexpr std::size_t maxSearchedInOrder = 16;

    DictionaryStorage() noexcept = default;
    explicit DictionaryStorage(MessageOrigin received) noexcept : origin(std::move(received)) {}
    ~DictionaryStorage() override;

    [[nodiscard]] static DictionaryStorage *of(MessageDictionary *dictionary) noexcept {
        return static_cast<DictionaryStorage *>(dictionary);
    }
    [[nodiscard]] static const DictionaryStorage *of(const MessageDictionary *dictionary) noexcept {
        return static_cast<const DictionaryStorage *>(dictionary);
    }

    [[nodiscard]] Entry *find(std::string_view key) const noexcept;
    /// Sets the key's slot, which the dictionary now owns. Keys that can't be sent store nothing.
    void put(const char *key, const MessageSlot &slot);
    void remove(std::string_view key);
    /// Adds an entry whose key lies in the receive buffer. False when the key is there already; the slot is
    /// taken even so.
    [[nodiscard]] bool appendReceived(std::string_view key, const MessageSlot &slot);
    void reserve(std::size_t count) { entries.reserve(count); }

    InlineVector<Entry, 6> entries;
    MessageArena<192> arena;
    MessageOrigin origin;

private:
    [[nodiscard]] bool isAt(std::size_t position, std::string_view key) const noexcept;
    [[nodiscard]] bool isIndexed() const noexcept { return index.count() != 0; }
    HashTable index; ///< Empty until there are too many entries to search them in order.
};

} // namespace wickerlane

#endif
