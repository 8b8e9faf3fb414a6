#include "wickerlane/platform/message/wire/MessageEncoder.h"

#include <algorithm>

#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

MessageEncoder::~MessageEncoder() {
    if (bytes != first)
        std::free(bytes);
}

void MessageEncoder::grow(std::size_t count) {
    const std::size_t wanted = std::max(used + count, capacity * 2);
    auto *grown = static_cast<char *>(std::realloc(bytes == first ? nullptr : bytes, wanted));
    if (grown == nullptr)
        throw std::bad_alloc();
    if (bytes == first)
        std::memcpy(grown, first, used);
    bytes = grown;
    capacity = wanted;
}

void MessageEncoder::appendText(const char *text, std::size_t length) {
    char *place = extend(length + 1);
    if (length != 0)
        std::memcpy(place, text, length);
    place[length] = 0;
}

void MessageEncoder::begin(FrameKind kind, std::uint64_t id) {
    used = 0;
    lentBytes = 0;
    values = 1;
    failure = nullptr;
    lentParts.clear();
    descriptorValues.clear();
    append(FrameHeader{0, FrameHeader::expectedMark, kind, 0, id});
}

void MessageEncoder::finish(std::size_t descriptorCount) {
    const auto length = static_cast<std::uint32_t>(used + lentBytes - sizeof(FrameHeader));
    std::memcpy(bytes, &length, sizeof length);
    bytes[offsetof(FrameHeader, descriptors)] = static_cast<char>(descriptorCount);
}

const char *MessageEncoder::encode(FrameKind kind, std::uint64_t id, const MessageDictionary *message) {
    begin(kind, id);
    lendsFiles = kind == FrameKind::reply;
    if (!appendDictionary(*DictionaryStorage::of(message), 1))
        return failure;
    if (used + lentBytes - sizeof(FrameHeader) > MessageLimits::messageBytes)
        return "The message is too long.";
    finish(descriptorValues.size());
    return nullptr;
}

void MessageEncoder::encodeError(std::uint64_t id, std::string_view text, std::int64_t kind) {
    begin(FrameKind::errorReply, id);
    appendErrorContents(text, kind);
    finish(0);
}

void MessageEncoder::encodeRefusal(std::string_view text, std::int64_t kind) {
    begin(FrameKind::refusal, 0);
    appendErrorContents(text, kind);
    finish(0);
}

void MessageEncoder::appendErrorContents(std::string_view text, std::int64_t kind) {
    append(kind);
    std::string repaired; // a reason with a broken name in it is better than none
    if (!isUTF8(text)) {
        utf8::appendRepaired(repaired, text);
        text = repaired;
    }
    const std::size_t length = utf8::lengthOfWhole(text.substr(0, MessageLimits::errorTextBytes));
    if (length != 0)
        std::memcpy(extend(length), text.data(), length);
}

void MessageEncoder::encodeHello(const PeerVersion &version) {
    begin(FrameKind::hello, version.number());
    append(FrameHeader::version);
    finish(0);
}

bool MessageEncoder::countValues(std::size_t count) {
    if (count > MessageLimits::values - values)
        return fail("The message holds too many values.");
    values += count;
    return true;
}

bool MessageEncoder::appendDictionary(const DictionaryStorage &dictionary, unsigned depth) {
    if (depth > MessageLimits::nesting)
        return fail("The message is nested too deeply.");
    if (!countValues(dictionary.entries.size()))
        return false;
    append(static_cast<std::uint32_t>(dictionary.entries.size()));
    for (auto &entry : dictionary.entries) {
        append(static_cast<std::uint32_t>(entry.slot.kind) | entry.keyLength << 8);
        appendText(entry.key, entry.keyLength);
        if (!appendValue(entry.slot, dictionary.origin, depth))
            return false;
    }
    return true;
}

bool MessageEncoder::appendArray(const ArrayStorage &array, unsigned depth) {
    if (depth > MessageLimits::nesting)
        return fail("The message is nested too deeply.");
    if (!countValues(array.slots.size()))
        return false;
    append(static_cast<std::uint32_t>(array.slots.size()));
    for (MessageSlot &slot : array.slots) {
        append(slot.kind);
        if (!appendValue(slot, array.origin, depth))
            return false;
    }
    return true;
}

bool MessageEncoder::appendValue(MessageSlot &slot, const MessageOrigin &origin, unsigned depth) {
    if (used > MessageLimits::messageBytes)
        return fail("The message is too long.");
    switch (slot.kind) {
    case MessageKind::string:
        append(slot.length);
        appendText(slot.text, slot.length);
        return true;
    case MessageKind::int64:
    case MessageKind::uint64:
    case MessageKind::real:
    case MessageKind::date:
        append(slot.unsignedValue);
        return true;
    case MessageKind::boolean:
        append(static_cast<std::uint8_t>(slot.boolean));
        return true;
    case MessageKind::uuid:
        std::memcpy(extend(16), slot.place, 16);
        return true;
    case MessageKind::data: {
        const bool isInPlace = slot.place != nullptr || slot.object == nullptr;
        const std::size_t length =
            isInPlace ? slot.length : static_cast<const MessageData *>(slot.object)->length();
        if (length >= minLentBytes) {
            auto *data = static_cast<MessageData *>(materialise(slot, origin));
            return lendsFiles && depth == 1 && data->fileDescriptor() >= 0 ? appendFile(data)
                                                                           : appendLent(data);
        }
        const Bytes contents = bytesOf(slot);
        append(static_cast<std::uint32_t>(contents.size()));
        if (!contents.empty())
            std::memcpy(extend(contents.size()), contents.data(), contents.size());
        return true;
    }
    case MessageKind::sharedMemory:
    case MessageKind::fileDescriptor:
        return appendDescriptor(materialise(slot, origin));
    case MessageKind::dictionary:
    case MessageKind::array:
        return appendContainer(materialise(slot, origin), depth + 1);
    case MessageKind::error: {
        const auto *error = static_cast<MessageError *>(materialise(slot, origin));
        const std::string_view text = error->text();
        const std::size_t length =
            text.size() <= MessageLimits::messageBytes && isUTF8(text) ? text.size() : 0;
        append(static_cast<std::uint32_t>(length));
        appendText(text.data(), length);
        append(error->errorKind());
        return true;
    }
    }
    return true;
}

bool MessageEncoder::appendContainer(MessageValue *container, unsigned depth) {
    const std::size_t lengthAt = used;
    const std::size_t lentBefore = lentBytes;
    append(std::uint32_t{0});
    const bool fits = container->kind() == MessageKind::dictionary
                          ? appendDictionary(*static_cast<DictionaryStorage *>(container), depth)
                          : appendArray(*static_cast<ArrayStorage *>(container), depth);
    if (!fits)
        return false;
    const std::size_t length = used - lengthAt - sizeof(std::uint32_t) + lentBytes - lentBefore;
    const auto written = static_cast<std::uint32_t>(length); // a longer one makes the whole message too long
    std::memcpy(bytes + lengthAt, &written, sizeof written);
    return true;
}

bool MessageEncoder::appendFile(MessageData *data) {
    if (data->length() > MessageLimits::messageBytes)
        return fail("The message is too long.");
    append(FrameHeader::lengthOfLentFile);
    append(static_cast<std::uint32_t>(data->length()));
    return appendDescriptor(data);
}

bool MessageEncoder::appendDescriptor(MessageValue *value) {
    if (descriptorValues.size() == MessageLimits::descriptors)
        return fail("The message holds too many descriptors.");
    append(static_cast<std::uint8_t>(descriptorValues.size()));
    descriptorValues.emplace_back(value);
    return true;
}

bool MessageEncoder::appendLent(MessageData *data) {
    if (data->length() > MessageLimits::messageBytes - std::min(lentBytes, MessageLimits::messageBytes))
        return fail("The message is too long.");
    append(static_cast<std::uint32_t>(data->length()));
    lentParts.push_back({used, data});
    lentBytes += data->length();
    return true;
}

} // namespace wickerlane
