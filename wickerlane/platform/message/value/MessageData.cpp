#include "wickerlane/platform/message/value/MessageData.h"

#include <sys/mman.h>

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

Ref<MessageData> MessageData::createWithFile(UniqueFd file, std::size_t length) {
    auto made = makeRef<DataStorage>(nullptr, length);
    made->file = std::make_unique<LentFile>(std::move(file), length);
    return made;
}

LentFile::~LentFile() {
    if (mapped != nullptr)
        munmap(mapped, length);
}

const std::byte *LentFile::bytes() {
    std::call_once(isMapped, [this] {
        void *made = mmap(nullptr, length, PROT_READ, MAP_SHARED, file.get(), 0);
        if (made == MAP_FAILED)
            throw std::bad_alloc();
        mapped = made;
    });
    return static_cast<const std::byte *>(mapped);
}

DataStorage::~DataStorage() {
    if (destructor)
        (queue != nullptr ? queue.get() : WorkQueue::global())->async(std::move(destructor));
}

const void *MessageData::bytes() const noexcept {
    const DataStorage *storage = DataStorage::of(this);
    return storage->file != nullptr ? storage->file->bytes() : storage->first;
}

std::size_t MessageData::length() const noexcept {
    return DataStorage::of(this)->count;
}

int MessageData::fileDescriptor() const noexcept {
    const DataStorage *storage = DataStorage::of(this);
    return storage->file != nullptr ? storage->file->descriptor() : -1;
}

std::size_t MessageData::getBytes(void *destination, std::size_t offset, std::size_t count) const noexcept {
    if (offset >= length())
        return 0;
    count = std::min(count, length() - offset);
    if (count != 0)
        std::memcpy(destination, static_cast<const std::byte *>(bytes()) + offset, count);
    return count;
}

} // namespace wickerlane
