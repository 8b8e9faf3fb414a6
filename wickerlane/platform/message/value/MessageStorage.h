// How message values are stored: what stands behind the interfaces of MessageValue.h.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESTORAGE_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGESTORAGE_H

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/message/wire/MessageBuffer.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

/// One value where it lies in a container: numbers in place, text and bytes by reference into the container's
/// arena or the receive buffer. `object` is the value as an object of its own: owned by the container, given
/// by whoever set it or made on first use.
struct MessageSlot {
    MessageKind kind;
    std::uint32_t length; ///< Of text or bytes; of the encoding of a received container.
    union {
        std::int64_t signedValue;
        std::uint64_t unsignedValue;
        double realValue; ///< Also dates.
        bool boolean;
        const char *text;         ///< NUL-terminated. Strings; errors, whose kind follows the NUL.
        const std::byte *place;   ///< Bytes of data, of a UUID, or the encoding of a received container.
        std::uint64_t descriptor; ///< Of what was received: which of the message's descriptors.
    };
    MessageValue *object;
};

/// A slot that refers to a value; the container retains it.
[[nodiscard]] MessageSlot makeSlot(MessageValue *value) noexcept;

/// The values made of a received message's descriptors.
class ReceivedDescriptors final : public Object {
public:
    std::vector<Ref<MessageValue>> values;
};

/// Where the contents of a received container live: in the buffer, with the descriptors of its message if
/// there are any.
struct MessageOrigin {
    Ref<MessageBuffer> buffer;
    Ref<ReceivedDescriptors> descriptors;
};

/// The slot's value as an object; made and kept on first use, by whichever thread comes first.
[[nodiscard]] MessageValue *materialise(MessageSlot &slot, const MessageOrigin &origin);

/// The bytes of a slot of kind data, wherever they are; the length of `slot.length` bounds only those in
/// place.
[[nodiscard]] inline Bytes bytesOf(const MessageSlot &slot) noexcept {
    if (slot.place != nullptr || slot.object == nullptr)
        return {slot.place, slot.length};
    const auto *data = static_cast<const MessageData *>(slot.object);
    return {static_cast<const std::byte *>(data->bytes()), data->length()};
}

/// Memory for keys and short contents, freed as a whole. The first bytes lie in the object itself.
template <std::size_t inlineBytes>
class MessageArena {
public:
    [[nodiscard]] char *allocate(std::size_t count) {
        if (count <= available) {
            char *result = next;
            next += count;
            available -= count;
            return result;
        }
        if (count > blockBytes / 4) {
            blocks.push_back(std::make_unique_for_overwrite<char[]>(count));
            return blocks.back().get();
        }
        blocks.push_back(std::make_unique_for_overwrite<char[]>(blockBytes));
        next = blocks.back().get() + count;
        available = blockBytes - count;
        return blocks.back().get();
    }
    /// A NUL-terminated copy.
    [[nodiscard]] const char *copyText(std::string_view text) {
        char *copy = allocate(text.size() + 1);
        if (!text.empty())
            std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = 0;
        return copy;
    }

private:
    static constexpr std::size_t blockBytes = 4096;
    char *next = first;
    std::size_t available = inlineBytes;
    std::vector<std::unique_ptr<char[]>> blocks;
    char first[inlineBytes];
};

/// A growing array of plain elements whose first few lie in the object itself.
template <class T, std::size_t inlineCount>
class InlineVector {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    InlineVector() noexcept {} // leaves the elements as they are
    InlineVector(const InlineVector &) = delete;
    InlineVector &operator=(const InlineVector &) = delete;
    ~InlineVector() {
        if (elements != firstElements())
            std::free(elements);
    }
    [[nodiscard]] std::size_t size() const noexcept { return count; }
    [[nodiscard]] T *begin() const noexcept { return elements; }
    [[nodiscard]] T *end() const noexcept { return elements + count; }
    [[nodiscard]] T &operator[](std::size_t i) const noexcept { return elements[i]; }
    void reserve(std::size_t wanted) {
        if (wanted <= capacity)
            return;
        const bool moves = elements == firstElements();
        auto *grown = static_cast<T *>(std::realloc(moves ? nullptr : elements, wanted * sizeof(T)));
        if (grown == nullptr)
            throw std::bad_alloc();
        if (moves && count != 0)
            std::memcpy(grown, elements, count * sizeof(T));
        elements = grown;
        capacity = wanted;
    }
    T &append(const T &added) {
        if (count == capacity)
            reserve(capacity < 4 ? 8 : capacity * 2);
        elements[count] = added;
        return elements[count++];
    }
    void remove(std::size_t i) noexcept {
        std::memmove(elements + i, elements + i + 1, (count - i - 1) * sizeof(T));
        --count;
    }

private:
    [[nodiscard]] T *firstElements() noexcept { return reinterpret_cast<T *>(storage); }
    T *elements = firstElements();
    std::size_t count = 0;
    std::size_t capacity = inlineCount;
    alignas(T) std::byte storage[inlineCount == 0 ? 1 : inlineCount * sizeof(T)];
};

/// A dictionary. Entries lie in the order in which their keys were first set; few are searched one by one,
/// many through an index.
class DictionaryStorage final : public MessageDictionary {
public:
    struct Entry {
        const char *key; ///< NUL-terminated.
        std::uint32_t keyLength;
        std::uint32_t hash; ///< Set in dictionaries that have an index.
        MessageSlot slot;
    };
    static constexpr std::size_t searchedOneByOne = 16;

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
    /// Adds an entry whose key lies in the receive buffer. False when the key is there already.
    [[nodiscard]] bool appendReceived(std::string_view key, const MessageSlot &slot);
    void reserve(std::size_t count) { entries.reserve(count); }

    InlineVector<Entry, 6> entries;
    MessageArena<192> arena;
    MessageOrigin origin;

private:
    void addToIndex(std::size_t position);
    void rebuildIndex();
    std::vector<std::uint32_t> index; ///< Open addressing over positions plus one.
};

/// An array.
class ArrayStorage final : public MessageArray {
public:
    ArrayStorage() noexcept = default;
    explicit ArrayStorage(MessageOrigin received) noexcept : origin(std::move(received)) {}
    ~ArrayStorage() override;

    [[nodiscard]] static ArrayStorage *of(MessageArray *array) noexcept {
        return static_cast<ArrayStorage *>(array);
    }
    [[nodiscard]] static const ArrayStorage *of(const MessageArray *array) noexcept {
        return static_cast<const ArrayStorage *>(array);
    }

    InlineVector<MessageSlot, 0> slots;
    MessageOrigin origin;
};

class ScalarStorage final : public MessageScalar {
public:
    explicit ScalarStorage(MessageKind kind) noexcept : MessageScalar(kind) {}
    union {
        std::int64_t signedValue = 0;
        std::uint64_t unsignedValue;
        double realValue;
        bool boolean;
    };
    std::string text; ///< Also the 16 bytes of a UUID.
};

class DataStorage final : public MessageData {
public:
    DataStorage(const void *start, std::size_t length) noexcept
        : first(static_cast<const std::byte *>(start)), count(length) {}
    ~DataStorage() override;
    [[nodiscard]] static const DataStorage *of(const MessageData *data) noexcept {
        return static_cast<const DataStorage *>(data);
    }

    const std::byte *first;
    std::size_t count;
    std::unique_ptr<std::byte[]> copied;
    Ref<Object> keeper; ///< What the bytes belong to.
    Ref<WorkQueue> queue;
    Handler<void()> destructor;
};

class ErrorStorage final : public MessageError {
public:
    ErrorStorage(std::string_view copied, std::int64_t errorKind)
        : owned(new char[copied.size() + 1]), number(errorKind) {
        std::memcpy(owned.get(), copied.data(), copied.size());
        owned[copied.size()] = 0;
        shown = {owned.get(), copied.size()};
    }
    /// One that is never destroyed.
    constexpr explicit ErrorStorage(const char *constant) noexcept
        : MessageError(ImmortalTag{}), shown(constant) {}
    [[nodiscard]] static const ErrorStorage *of(const MessageError *error) noexcept {
        return static_cast<const ErrorStorage *>(error);
    }

    std::unique_ptr<char[]> owned;
    std::string_view shown; ///< NUL-terminated.
    std::int64_t number = 0;
};

/// Seeded, so that nobody who sends keys can choose where they fall.
[[nodiscard]] std::uint32_t hashOfKey(std::string_view key) noexcept;

[[nodiscard]] bool isUTF8(std::string_view text) noexcept;

} // namespace wickerlane

#endif
