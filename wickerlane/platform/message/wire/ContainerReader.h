// The walk over an encoded dictionary or array.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_CONTAINERREADER_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_CONTAINERREADER_H

#include <algorithm>
#include <limits>
#include <span>
#include <vector>

#include "wickerlane/platform/message/value/MessageDescriptors.h"
#include "wickerlane/platform/message/value/MessageSlot.h"
#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/message/wire/MessageWire.h"
#include "wickerlane/platform/object/HashTable.h"
#include "wickerlane/platform/object/KeyedHash.h"

namespace wickerlane {

/// The minimum sizes of a dictionary entry and an array element. A count is checked against them before any
/// memory is allocated for it.
inline constexpr std::size_t minEntryBytes = 6;
inline constexpr std::size_t minElementBytes = 2;

/// The first bytes of a regular file; null when it has fewer, or can't be read.
[[nodiscard]] Ref<MessageData> readFileAsData(UniqueFd file, std::size_t length);

/// Finds keys that come twice in a nested dictionary without making it.
class KeysSeen {
public:
    explicit KeysSeen(std::size_t count) : keys(count <= maxSearchedInOrder ? 0 : count) {}

    /// False when the key has come before. To be called as often as there are keys, at most.
    [[nodiscard]] bool add(std::string_view key) {
        if (keys.empty()) {
            const auto end = firstKeys + used;
            if (std::find(firstKeys, end, key) != end)
                return false;
            firstKeys[used++] = key;
            return true;
        }
        const auto matches = [&](std::size_t position) { return keys[position] == key; };
        const std::size_t count = table.count();
        if (table.findOrAppend(keyedHash(key), matches) != count)
            return false;
        keys[count] = key;
        return true;
    }

private:
    static constexpr std::size_t maxSearchedInOrder = 16;
    std::vector<std::string_view> keys; // in the table; none when there are few keys
    HashTable table;
    std::string_view firstKeys[maxSearchedInOrder];
    std::size_t used = 0;
};

/// What a message may still hold while it is being checked.
struct DecodeBudget {
    std::size_t values = MessageLimits::values - 1;
    std::size_t cost = 0; // of the values so far
    std::size_t costLimit = std::numeric_limits<std::size_t>::max();
    std::span<UniqueFd> descriptors;
    bool takesFiles = false;   // of which data is lent
    bool onlyMeasures = false; // makes nothing of the descriptors, which are `announced`
    std::size_t announced = 0;
    std::size_t counted = 0;
    std::vector<Ref<MessageValue>> made; // of the descriptors so far
};

/// Reads the contents of a container piece by piece. Each function returns false when what comes is not as it
/// should be. `Checked` says that a reader that checks has been there before.
template <bool Checked>
class ContainerReader {
public:
    ContainerReader(const std::byte *first, std::size_t length, DecodeBudget *left)
        : place(first), end(first + length), budget(left) {}

    [[nodiscard]] bool atEnd() const noexcept { return place == end; }

    [[nodiscard]] bool readCount(std::size_t minBytes, std::size_t &count) {
        std::uint32_t claimed = 0;
        if (!readNumber(claimed))
            return false;
        count = claimed;
        if constexpr (!Checked) {
            if (count > remaining() / minBytes || count > budget->values)
                return false;
            budget->values -= count;
            budget->cost += count * MessageCost::value;
            if (budget->cost > budget->costLimit)
                return false;
        }
        return true;
    }

    [[nodiscard]] bool readKey(std::string_view &key, MessageKind &kind) {
        std::uint32_t both = 0;
        if (!readNumber(both))
            return false;
        kind = static_cast<MessageKind>(both & 0xFF);
        const char *text = nullptr;
        if (!readText(both >> 8, text))
            return false;
        key = {text, both >> 8};
        return Checked || (key.size() <= MessageLimits::keyBytes && key.find('\0') == key.npos);
    }

    [[nodiscard]] bool readKind(MessageKind &kind) {
        std::uint8_t byte = 0;
        if (!readNumber(byte))
            return false;
        kind = static_cast<MessageKind>(byte);
        return true;
    }

    // `depth` counts the containers around the value.
    [[nodiscard]] bool readValue(MessageKind kind, MessageSlot &slot, unsigned depth) {
        slot.kind = kind;
        slot.length = 0;
        slot.unsignedValue = 0;
        slot.object = nullptr;
        switch (kind) {
        case MessageKind::string:
            return readNumber(slot.length) && readText(slot.length, slot.text);
        case MessageKind::error: {
            std::int64_t errorKind = 0; // stays behind the text
            return readNumber(slot.length) && readText(slot.length, slot.text) && readNumber(errorKind);
        }
        case MessageKind::int64:
        case MessageKind::uint64:
        case MessageKind::real:
        case MessageKind::date:
            return readNumber(slot.unsignedValue);
        case MessageKind::boolean: {
            std::uint8_t byte = 0;
            if (!readNumber(byte) || byte > 1)
                return false;
            slot.boolean = byte == 1;
            return true;
        }
        case MessageKind::uuid:
            slot.length = 16;
            return readBytes(slot);
        case MessageKind::data:
            return readNumber(slot.length) &&
                   (slot.length == FrameHeader::lengthOfLentFile ? !Checked && depth == 1 && takeFile(slot)
                                                                 : readBytes(slot));
        case MessageKind::sharedMemory:
        case MessageKind::fileDescriptor: {
            std::uint8_t number = 0;
            if (!readNumber(number))
                return false;
            slot.descriptor = number;
            return Checked || takeDescriptor(kind, number);
        }
        case MessageKind::dictionary:
        case MessageKind::array:
            return readNumber(slot.length) && readBytes(slot) && (Checked || check(slot, depth + 1));
        }
        return false; // no such kind
    }

private:
    [[nodiscard]] std::size_t remaining() const noexcept { return static_cast<std::size_t>(end - place); }

    template <class T>
    [[nodiscard]] bool readNumber(T &value) {
        if (remaining() < sizeof(T))
            return false;
        value = loadUnaligned<T>(place);
        place += sizeof(T);
        return true;
    }

    [[nodiscard]] bool readText(std::size_t length, const char *&text) {
        if (remaining() <= length)
            return false;
        text = reinterpret_cast<const char *>(place);
        place += length + 1;
        return Checked || (text[length] == 0 && isUTF8({text, length}));
    }

    [[nodiscard]] bool readBytes(MessageSlot &slot) {
        if (remaining() < slot.length)
            return false;
        slot.place = place;
        place += slot.length;
        return true;
    }

    [[nodiscard]] bool takeDescriptor(MessageKind kind, std::size_t number) {
        if (budget->onlyMeasures)
            return number == budget->counted && budget->counted++ < budget->announced;
        if (number != budget->made.size() || number >= budget->descriptors.size())
            return false;
        UniqueFd &fd = budget->descriptors[number];
        Ref<MessageValue> value;
        if (kind == MessageKind::fileDescriptor)
            value = MessageFileDescriptor::createAdopting(std::move(fd));
        else if (SharedMemory::isSealed(fd.get()))
            value = MessageSharedMemory::create(
                SharedMemory::open(std::move(fd), MessageLimits::sharedMemoryBytes).get());
        if (value == nullptr)
            return false;
        budget->made.push_back(std::move(value));
        return true;
    }

    /// The slot's object gets the bytes.
    [[nodiscard]] bool takeFile(MessageSlot &slot) {
        std::uint32_t length = 0;
        std::uint8_t number = 0;
        if (!budget->takesFiles || !readNumber(length) || !readNumber(number) ||
            number != budget->made.size() || number >= budget->descriptors.size())
            return false;
        Ref<MessageData> data = readFileAsData(std::exchange(budget->descriptors[number], {}), length);
        if (data == nullptr)
            return false;
        budget->made.push_back(data);
        slot.length = 0;
        slot.object = data.leak();
        return true;
    }

    [[nodiscard]] bool check(const MessageSlot &container, unsigned depth) {
        if (depth > MessageLimits::nesting)
            return false;
        budget->cost += MessageCost::container;
        ContainerReader inner(container.place, container.length, budget);
        MessageSlot slot;
        std::size_t count = 0;
        MessageKind kind{};
        if (container.kind == MessageKind::array) {
            if (!inner.readCount(minElementBytes, count))
                return false;
            for (; count != 0; --count)
                if (!inner.readKind(kind) || !inner.readValue(kind, slot, depth))
                    return false;
            return inner.atEnd();
        }
        if (!inner.readCount(minEntryBytes, count))
            return false;
        budget->cost += count * MessageCost::entry;
        KeysSeen seen(count);
        std::string_view key;
        for (; count != 0; --count)
            if (!inner.readKey(key, kind) || !seen.add(key) || !inner.readValue(kind, slot, depth))
                return false;
        return inner.atEnd();
    }

    const std::byte *place;
    const std::byte *end;
    DecodeBudget *budget; // null when checked
};

} // namespace wickerlane

#endif
