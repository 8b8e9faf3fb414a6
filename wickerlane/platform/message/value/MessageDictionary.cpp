#include "wickerlane/platform/message/value/MessageDictionary.h"

#include "wickerlane/platform/message/value/DictionaryStorage.h"
#include "wickerlane/platform/message/value/MessageDescriptors.h"
#include "wickerlane/platform/message/value/MessageScalar.h"
#include "wickerlane/platform/message/value/MessageText.h"

namespace wickerlane {

constinit const Class MessageDictionary::classInfo{
    "MessageDictionary", &MessageValue::classInfo,
    [] { return static_cast<Object *>(MessageDictionary::create().leak()); }};
WL_BUILT_IN_CLASS(MessageDictionary);

namespace {

// Contents of more than this are kept as an object of their own rather than in a dictionary's arena.
constexpr std::size_t maxArenaBytes = 512;

// The key's slot when it holds a value of that kind, else null.
const MessageSlot *slotOf(const MessageDictionary *dictionary, const char *key, MessageKind kind) noexcept {
    if (key == nullptr)
        return nullptr;
    const auto *entry = DictionaryStorage::of(dictionary)->find(key);
    return entry != nullptr && entry->slot.kind == kind ? &entry->slot : nullptr;
}

} // namespace

Ref<MessageDictionary> MessageDictionary::create() {
    return makeRef<DictionaryStorage>();
}

std::size_t MessageDictionary::count() const noexcept {
    return DictionaryStorage::of(this)->entries.size();
}

bool MessageDictionary::contains(const char *key) const noexcept {
    return key != nullptr && DictionaryStorage::of(this)->find(key) != nullptr;
}

std::optional<MessageKind> MessageDictionary::kindOf(const char *key) const noexcept {
    const auto *entry = key == nullptr ? nullptr : DictionaryStorage::of(this)->find(key);
    return entry == nullptr ? std::nullopt : std::optional(entry->slot.kind);
}

MessageValue *MessageDictionary::get(const char *key) const {
    const auto *self = DictionaryStorage::of(this);
    auto *entry = key == nullptr ? nullptr : self->find(key);
    return entry == nullptr ? nullptr : materialise(entry->slot, self->origin);
}

std::optional<std::string_view> MessageDictionary::getString(const char *key) const noexcept {
    const MessageSlot *slot = slotOf(this, key, MessageKind::string);
    return slot == nullptr ? std::nullopt : std::optional(std::string_view(slot->text, slot->length));
}

std::int64_t MessageDictionary::getInt64(const char *key) const noexcept {
    const MessageSlot *slot = slotOf(this, key, MessageKind::int64);
    return slot == nullptr ? 0 : slot->signedValue;
}

std::uint64_t MessageDictionary::getUInt64(const char *key) const noexcept {
    const MessageSlot *slot = slotOf(this, key, MessageKind::uint64);
    return slot == nullptr ? 0 : slot->unsignedValue;
}

bool MessageDictionary::getBool(const char *key) const noexcept {
    const MessageSlot *slot = slotOf(this, key, MessageKind::boolean);
    return slot != nullptr && slot->boolean;
}

double MessageDictionary::getReal(const char *key) const noexcept {
    const MessageSlot *slot = slotOf(this, key, MessageKind::real);
    return slot == nullptr ? 0 : slot->realValue;
}

Bytes MessageDictionary::getData(const char *key) const noexcept {
    const MessageSlot *slot = slotOf(this, key, MessageKind::data);
    return slot == nullptr ? Bytes() : bytesOf(*slot);
}

MessageDictionary *MessageDictionary::getDictionary(const char *key) const {
    return slotOf(this, key, MessageKind::dictionary) == nullptr ? nullptr
                                                                 : static_cast<MessageDictionary *>(get(key));
}

MessageArray *MessageDictionary::getArray(const char *key) const {
    return slotOf(this, key, MessageKind::array) == nullptr ? nullptr : static_cast<MessageArray *>(get(key));
}

int MessageDictionary::duplicateDescriptor(const char *key) const {
    if (slotOf(this, key, MessageKind::fileDescriptor) == nullptr)
        return -1;
    return static_cast<MessageFileDescriptor *>(get(key))->duplicate();
}

void MessageDictionary::forEach(const Handler<bool(const char *key, MessageValue *value)> &visit) const {
    const auto *self = DictionaryStorage::of(this);
    for (std::size_t i = 0; i < self->entries.size(); ++i) {
        auto &entry = self->entries[i];
        if (!visit(entry.key, materialise(entry.slot, self->origin)))
            return;
    }
}

// Writing

void MessageDictionary::set(const char *key, MessageValue *value) {
    auto *self = DictionaryStorage::of(this);
    if (value == nullptr) {
        if (key != nullptr)
            self->remove(key);
        return;
    }
    value->retain();
    self->put(key, makeSlot(value));
}

void MessageDictionary::setString(const char *key, std::string_view utf8) {
    auto *self = DictionaryStorage::of(this);
    if (!isUTF8(utf8))
        return;
    if (utf8.size() > maxArenaBytes) {
        // None for text that no message can carry: the key keeps what it has.
        if (const auto made = MessageScalar::createString(utf8))
            set(key, made.get());
        return;
    }
    MessageSlot slot{MessageKind::string, static_cast<std::uint32_t>(utf8.size()), {}, nullptr};
    slot.text = self->arena.copyText(utf8);
    self->put(key, slot);
}

void MessageDictionary::setInt64(const char *key, std::int64_t value) {
    DictionaryStorage::of(this)->put(key, {MessageKind::int64, 0, {.signedValue = value}, nullptr});
}

void MessageDictionary::setUInt64(const char *key, std::uint64_t value) {
    DictionaryStorage::of(this)->put(key, {MessageKind::uint64, 0, {.unsignedValue = value}, nullptr});
}

void MessageDictionary::setBool(const char *key, bool value) {
    DictionaryStorage::of(this)->put(key, {MessageKind::boolean, 0, {.boolean = value}, nullptr});
}

void MessageDictionary::setReal(const char *key, double value) {
    DictionaryStorage::of(this)->put(key, {MessageKind::real, 0, {.realValue = value}, nullptr});
}

void MessageDictionary::setData(const char *key, const void *copied, std::size_t length) {
    auto *self = DictionaryStorage::of(this);
    if (length > maxArenaBytes)
        return set(key, MessageData::create(copied, length).get());
    const char *copy = self->arena.copyText({static_cast<const char *>(copied), length});
    MessageSlot slot{MessageKind::data, static_cast<std::uint32_t>(length), {}, nullptr};
    slot.place = reinterpret_cast<const std::byte *>(copy);
    self->put(key, slot);
}

void MessageDictionary::setDescriptor(const char *key, int duplicated) {
    if (const auto made = MessageFileDescriptor::create(duplicated))
        set(key, made.get());
}

} // namespace wickerlane
