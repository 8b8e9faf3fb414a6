#include "wickerlane/platform/message/value/MessageValue.h"

#include <fcntl.h>
#include <sys/random.h>

#include <algorithm>
#include <atomic>

#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/message/wire/MessageWire.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

constinit const Class MessageValue::classInfo{"MessageValue", &Object::classInfo, nullptr};
constinit const Class MessageScalar::classInfo{"MessageScalar", &MessageValue::classInfo, nullptr};
constinit const Class MessageData::classInfo{"MessageData", &MessageValue::classInfo, nullptr};
constinit const Class MessageSharedMemory::classInfo{"MessageSharedMemory", &MessageValue::classInfo,
                                                     nullptr};
constinit const Class MessageFileDescriptor::classInfo{"MessageFileDescriptor", &MessageValue::classInfo,
                                                       nullptr};
constinit const Class MessageError::classInfo{"MessageError", &MessageValue::classInfo, nullptr};
WL_BUILT_IN_CLASS(MessageValue);
WL_BUILT_IN_CLASS(MessageScalar);
WL_BUILT_IN_CLASS(MessageData);
WL_BUILT_IN_CLASS(MessageSharedMemory);
WL_BUILT_IN_CLASS(MessageFileDescriptor);
WL_BUILT_IN_CLASS(MessageError);

bool isUTF8(std::string_view text) noexcept {
    const std::size_t ascii = utf8::asciiPrefix(text);
    return ascii == text.size() || utf8::lengthInUTF16(text.substr(ascii)) != utf8::notValid;
}

std::uint32_t hashOfKey(std::string_view key) noexcept {
    static const std::uint64_t seed = [] {
        std::uint64_t random = 0;
        if (getrandom(&random, sizeof random, GRND_NONBLOCK) != sizeof random)
            random = reinterpret_cast<std::uintptr_t>(&random);
        return random | 1;
    }();
    const auto mix = [](std::uint64_t a, std::uint64_t b) {
        const auto product = static_cast<unsigned __int128>(a) * b;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    };
    std::uint64_t hash = seed ^ key.size();
    const char *p = key.data();
    for (std::size_t left = key.size(); left != 0;) {
        std::uint64_t word = 0;
        const std::size_t count = std::min(left, sizeof word);
        std::memcpy(&word, p, count);
        hash = mix(hash ^ word, seed ^ 0x9E3779B97F4A7C15U);
        p += count;
        left -= count;
    }
    return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

// Slots

MessageSlot makeSlot(MessageValue *value) noexcept {
    MessageSlot slot{value->kind(), 0, {}, value};
    switch (value->kind()) {
    case MessageKind::string: {
        const std::string_view text = static_cast<MessageScalar *>(value)->stringValue();
        slot.text = text.data();
        slot.length = static_cast<std::uint32_t>(text.size());
        break;
    }
    case MessageKind::int64:
        slot.signedValue = static_cast<MessageScalar *>(value)->int64Value();
        break;
    case MessageKind::uint64:
        slot.unsignedValue = static_cast<MessageScalar *>(value)->uint64Value();
        break;
    case MessageKind::boolean:
        slot.boolean = static_cast<MessageScalar *>(value)->boolValue();
        break;
    case MessageKind::real:
    case MessageKind::date:
        slot.realValue = static_cast<MessageScalar *>(value)->realValue();
        break;
    case MessageKind::uuid:
        slot.place = reinterpret_cast<const std::byte *>(static_cast<MessageScalar *>(value)->uuidBytes());
        slot.length = 16;
        break;
    case MessageKind::data:
    case MessageKind::sharedMemory:
    case MessageKind::fileDescriptor:
    case MessageKind::dictionary:
    case MessageKind::array:
    case MessageKind::error:
        break; // read through the object
    }
    return slot;
}

namespace {

// An object for a slot that has none yet.
Ref<MessageValue> makeObject(const MessageSlot &slot, const MessageOrigin &origin) {
    switch (slot.kind) {
    case MessageKind::string: {
        auto made = makeRef<ScalarStorage>(MessageKind::string);
        made->text.assign(slot.text, slot.length);
        return made;
    }
    case MessageKind::int64:
        return MessageScalar::createInt64(slot.signedValue);
    case MessageKind::uint64:
        return MessageScalar::createUInt64(slot.unsignedValue);
    case MessageKind::boolean:
        return MessageScalar::createBool(slot.boolean);
    case MessageKind::real:
        return MessageScalar::createReal(slot.realValue);
    case MessageKind::date:
        return MessageScalar::createDate(slot.realValue);
    case MessageKind::uuid: {
        auto made = makeRef<ScalarStorage>(MessageKind::uuid);
        made->text.assign(reinterpret_cast<const char *>(slot.place), 16);
        return made;
    }
    case MessageKind::data: {
        if (origin.buffer == nullptr)
            return MessageData::create(slot.place, slot.length);
        auto made = makeRef<DataStorage>(slot.place, slot.length);
        made->keeper = origin.buffer;
        return made;
    }
    case MessageKind::sharedMemory:
    case MessageKind::fileDescriptor:
        return origin.descriptors->values[slot.descriptor];
    case MessageKind::dictionary:
    case MessageKind::array:
        return readContainer(slot, origin);
    case MessageKind::error:
        return MessageError::create({slot.text, slot.length},
                                    loadUnaligned<std::int64_t>(slot.text + slot.length + 1));
    }
    return nullptr;
}

} // namespace

MessageValue *materialise(MessageSlot &slot, const MessageOrigin &origin) {
    const std::atomic_ref<MessageValue *> object(slot.object);
    MessageValue *known = object.load(std::memory_order_acquire);
    if (known != nullptr)
        return known;
    MessageValue *made = makeObject(slot, origin).leak();
    if (object.compare_exchange_strong(known, made, std::memory_order_acq_rel))
        return made;
    made->release();
    return known;
}

// Scalars

Ref<MessageScalar> MessageScalar::createString(std::string_view utf8) {
    if (utf8.size() > MessageLimits::messageBytes || !isUTF8(utf8))
        return nullptr;
    auto made = makeRef<ScalarStorage>(MessageKind::string);
    made->text = utf8;
    return made;
}

Ref<MessageScalar> MessageScalar::createInt64(std::int64_t value) {
    auto made = makeRef<ScalarStorage>(MessageKind::int64);
    made->signedValue = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createUInt64(std::uint64_t value) {
    auto made = makeRef<ScalarStorage>(MessageKind::uint64);
    made->unsignedValue = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createBool(bool value) {
    auto made = makeRef<ScalarStorage>(MessageKind::boolean);
    made->boolean = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createReal(double value) {
    auto made = makeRef<ScalarStorage>(MessageKind::real);
    made->realValue = value;
    return made;
}

Ref<MessageScalar> MessageScalar::createDate(double referenceSeconds) {
    auto made = makeRef<ScalarStorage>(MessageKind::date);
    made->realValue = referenceSeconds;
    return made;
}

Ref<MessageScalar> MessageScalar::createUUID(const unsigned char (&bytes)[16]) {
    auto made = makeRef<ScalarStorage>(MessageKind::uuid);
    made->text.assign(reinterpret_cast<const char *>(bytes), sizeof bytes);
    return made;
}

std::string_view MessageScalar::stringValue() const noexcept {
    return kind() == MessageKind::string ? std::string_view(static_cast<const ScalarStorage *>(this)->text)
                                         : std::string_view();
}

std::int64_t MessageScalar::int64Value() const noexcept {
    return kind() == MessageKind::int64 ? static_cast<const ScalarStorage *>(this)->signedValue : 0;
}

std::uint64_t MessageScalar::uint64Value() const noexcept {
    return kind() == MessageKind::uint64 ? static_cast<const ScalarStorage *>(this)->unsignedValue : 0;
}

bool MessageScalar::boolValue() const noexcept {
    return kind() == MessageKind::boolean && static_cast<const ScalarStorage *>(this)->boolean;
}

double MessageScalar::realValue() const noexcept {
    return kind() == MessageKind::real || kind() == MessageKind::date
               ? static_cast<const ScalarStorage *>(this)->realValue
               : 0;
}

const unsigned char *MessageScalar::uuidBytes() const noexcept {
    return kind() == MessageKind::uuid ? reinterpret_cast<const unsigned char *>(
                                             static_cast<const ScalarStorage *>(this)->text.data())
                                       : nullptr;
}

// Data

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

// Shared memory and descriptors

Ref<MessageSharedMemory> MessageSharedMemory::create(SharedMemory *memory) {
    if (memory == nullptr || !memory->isSealed())
        return nullptr;
    return Ref<MessageSharedMemory>::adopt(new MessageSharedMemory(memory));
}

Ref<MessageFileDescriptor> MessageFileDescriptor::create(int duplicated) {
    return createAdopting(UniqueFd(fcntl(duplicated, F_DUPFD_CLOEXEC, 0)));
}

Ref<MessageFileDescriptor> MessageFileDescriptor::createAdopting(UniqueFd owned) {
    if (!owned)
        return nullptr;
    return Ref<MessageFileDescriptor>::adopt(new MessageFileDescriptor(std::move(owned)));
}

int MessageFileDescriptor::duplicate() const noexcept {
    return fcntl(fd.get(), F_DUPFD_CLOEXEC, 0);
}

// Errors

Ref<MessageError> MessageError::create(std::string_view description, std::int64_t errorKind) {
    return makeRef<ErrorStorage>(description, errorKind);
}

MessageError *MessageError::connectionInterrupted() noexcept {
    static auto &error = *new ErrorStorage("Connection interrupted");
    return &error;
}

MessageError *MessageError::connectionInvalid() noexcept {
    static auto &error = *new ErrorStorage("Connection invalid");
    return &error;
}

std::string_view MessageError::text() const noexcept {
    return ErrorStorage::of(this)->shown;
}

std::int64_t MessageError::errorKind() const noexcept {
    return ErrorStorage::of(this)->number;
}

} // namespace wickerlane
