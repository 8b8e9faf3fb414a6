#include "wickerlane/platform/message/value/MessageData.h"

#include <algorithm>

#include "wickerlane/platform/message/value/MessageStorage.h"

namespace wickerlane {

constinit const Class MessageData::classInfo{"MessageData", &MessageValue::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageData);

Ref<MessageData> MessageData::create(const void *copied, std::size_t length) {
    auto memory = std::make_unique_for_overwrite<std::byte[]>(length);
    if (length != 0)
        std::memcpy(memory.get(), copied, length);
    auto made = makeRef<DataStorage>(memory.get(), length);
    made->copied = std::move(memory);
    return made;
}

Ref<MessageData> MessageData::createWithRegion(const void *bytes, std::size_t length, WorkQueue *queue,
                                               Handler<void()> destructor) {
    auto made = makeRef<DataStorage>(bytes, length);
    made->queue = queue;
    made->destructor = std::move(destructor);
    return made;
}

DataStorage::~DataStorage() {
    if (destructor)
        (queue != nullptr ? queue.get() : WorkQueue::global())->async(std::move(destructor));
}

const void *MessageData::bytes() const noexcept {
    return DataStorage::of(this)->first;
}

std::size_t MessageData::length() const noexcept {
    return DataStorage::of(this)->count;
}

std::size_t MessageData::getBytes(void *destination, std::size_t offset, std::size_t count) const noexcept {
    if (offset >= length())
        return 0;
    count = std::min(count, length() - offset);
    if (count != 0)
        std::memcpy(destination, DataStorage::of(this)->first + offset, count);
    return count;
}

} // namespace wickerlane
