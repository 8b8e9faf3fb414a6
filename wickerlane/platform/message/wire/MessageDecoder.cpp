#include "wickerlane/platform/message/wire/MessageDecoder.h"

#include <sys/stat.h>
#include <unistd.h>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/message/value/DictionaryStorage.h"
#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/ContainerReader.h"

namespace wickerlane {
namespace {

// Adds what the reader finds to a dictionary whose parts lie in the buffer.
template <bool Checked>
bool readEntries(ContainerReader<Checked> reader, DictionaryStorage &dictionary) {
    std::size_t count = 0;
    if (!reader.readCount(minEntryBytes, count))
        return false;
    dictionary.reserve(count);
    std::string_view key;
    MessageKind kind{};
    MessageSlot slot;
    for (; count != 0; --count)
        if (!reader.readKey(key, kind) || !reader.readValue(kind, slot, 1) ||
            !dictionary.appendReceived(key, slot))
            return false;
    return reader.atEnd();
}

} // namespace

Ref<MessageDictionary> decodeMessage(const Ref<MessageBuffer> &buffer, Bytes contents,
                                     std::span<UniqueFd> descriptors, LentFiles files) {
    DecodeBudget budget{.descriptors = descriptors, .takesFiles = files == LentFiles::areRead, .made = {}};
    auto dictionary = makeRef<DictionaryStorage>(MessageOrigin{buffer, nullptr});
    if (!readEntries(ContainerReader<false>(contents.data(), contents.size(), &budget), *dictionary) ||
        budget.made.size() != descriptors.size())
        return nullptr;
    if (!descriptors.empty()) {
        dictionary->origin.descriptors = makeRef<ReceivedDescriptors>();
        dictionary->origin.descriptors->values = std::move(budget.made);
    }
    return dictionary;
}

MessageMeasure measureMessage(Bytes contents, std::size_t descriptors, const MessageWeight &weight,
                              MessageMeasureLimits limits) {
    DecodeBudget budget{.costLimit = limits.values,
                        .descriptors = {},
                        .onlyMeasures = true,
                        .announced = descriptors,
                        .made = {}};
    ContainerReader<false> reader(contents.data(), contents.size(), &budget);
    MessageMeasure measure;
    const auto walk = [&] {
        std::size_t count = 0;
        if (!reader.readCount(minEntryBytes, count))
            return false;
        measure.isTooMuch = count > limits.keys;
        std::string_view key;
        MessageKind kind{};
        MessageSlot slot;
        for (; count != 0 && !measure.isTooMuch; --count) {
            if (!reader.readKey(key, kind) || !reader.readValue(kind, slot, 1))
                return false;
            if (weight && kind == MessageKind::data)
                measure.cost += weight(key) * slot.length;
        }
        return measure.isTooMuch || (reader.atEnd() && budget.counted == descriptors);
    };
    measure.isSound = walk();
    measure.isTooMuch = measure.isTooMuch || budget.cost > budget.costLimit;
    measure.cost +=
        MessageCost::message + contents.size() + budget.cost + descriptors * MessageCost::descriptor;
    return measure;
}

Ref<MessageData> readFileAsData(UniqueFd file, std::size_t length) {
    struct stat status {};
    if (length > MessageLimits::messageBytes || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    Ref<MessageBuffer> buffer = MessageBuffer::create(length);
    if (buffer == nullptr)
        return nullptr;
    for (std::size_t done = 0; done < length;) {
        const ssize_t count = retryInterrupted([&] {
            return pread(file.get(), buffer->bytes() + done, length - done, static_cast<off_t>(done));
        });
        if (count <= 0)
            return nullptr;
        done += static_cast<std::size_t>(count);
    }
    auto data = makeRef<DataStorage>(buffer->bytes(), length);
    data->keeper = std::move(buffer);
    return data;
}

Ref<MessageError> decodeError(Bytes contents) {
    std::int64_t kind = 0;
    if (contents.size() < sizeof kind)
        return nullptr;
    kind = loadUnaligned<std::int64_t>(contents.data());
    const std::string_view text(reinterpret_cast<const char *>(contents.data()) + sizeof kind,
                                contents.size() - sizeof kind);
    return isUTF8(text) ? MessageError::create(text, kind) : nullptr;
}

Ref<MessageValue> readContainer(const MessageSlot &slot, const MessageOrigin &origin) {
    ContainerReader<true> reader(slot.place, slot.length, nullptr);
    if (slot.kind == MessageKind::dictionary) {
        auto dictionary = makeRef<DictionaryStorage>(origin);
        if (!readEntries(reader, *dictionary))
            std::abort(); // was checked
        return dictionary;
    }
    auto array = makeRef<ArrayStorage>(origin);
    std::size_t count = 0;
    if (!reader.readCount(minElementBytes, count))
        std::abort();
    array->slots.reserve(count);
    for (; count != 0; --count) {
        MessageKind kind{};
        MessageSlot element;
        if (!reader.readKind(kind) || !reader.readValue(kind, element, 1))
            std::abort();
        array->slots.append(element);
    }
    return array;
}

} // namespace wickerlane
