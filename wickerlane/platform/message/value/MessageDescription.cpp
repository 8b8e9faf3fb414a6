#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane {
namespace {

// Nobody reads more of one value than this.
constexpr std::size_t longestDescription = 64 * 1024;
constexpr std::size_t shownBytes = 32;

// Writes descriptions until the text is as long as it may get.
class Describer {
public:
    void describe(MessageValue *value, unsigned depth) {
        if (isFull())
            return;
        if (depth > MessageLimits::nesting) {
            text += "...";
            return;
        }
        switch (value->kind()) {
        case MessageKind::string:
            return quote(scalar(value)->stringValue());
        case MessageKind::int64:
            text += std::to_string(scalar(value)->int64Value());
            return;
        case MessageKind::uint64:
            text += std::to_string(scalar(value)->uint64Value());
            return;
        case MessageKind::boolean:
            text += scalar(value)->boolValue() ? "true" : "false";
            return;
        case MessageKind::real:
            text += Number::of(scalar(value)->realValue())->description()->utf8();
            return;
        case MessageKind::date:
            text += Date::createWithReferenceSeconds(scalar(value)->realValue())->description()->utf8();
            return;
        case MessageKind::uuid: {
            UUID::Raw raw;
            std::memcpy(raw, scalar(value)->uuidBytes(), sizeof raw);
            text += UUID::createWithBytes(raw)->uuidString()->utf8();
            return;
        }
        case MessageKind::data:
            return describeData(static_cast<MessageData *>(value));
        case MessageKind::sharedMemory:
            text += "<shared memory, " +
                    std::to_string(static_cast<MessageSharedMemory *>(value)->memory()->length()) + " bytes>";
            return;
        case MessageKind::fileDescriptor:
            text +=
                "<descriptor " + std::to_string(static_cast<MessageFileDescriptor *>(value)->peek()) + '>';
            return;
        case MessageKind::dictionary:
            return describeEntries(*static_cast<DictionaryStorage *>(value), depth);
        case MessageKind::array:
            return describeElements(*static_cast<MessageArray *>(value), depth);
        case MessageKind::error:
            text += "<error ";
            quote(static_cast<MessageError *>(value)->text());
            text += '>';
            return;
        }
    }

    std::string text;

private:
    static MessageScalar *scalar(MessageValue *value) { return static_cast<MessageScalar *>(value); }
    [[nodiscard]] bool isFull() const { return text.size() > longestDescription; }

    void quote(std::string_view quoted) {
        text += '"';
        for (const char c : quoted) {
            if (isFull()) {
                // The cut may have split a character.
                while (!isUTF8(text))
                    text.pop_back();
                text += "...";
                break;
            }
            if (c == '"' || c == '\\')
                text += '\\';
            if (c == '\n')
                text += "\\n";
            else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
                addHex("\\x", static_cast<unsigned char>(c));
            else
                text += c;
        }
        text += '"';
    }

    void addHex(const char *before, unsigned char byte) {
        static constexpr char digits[] = "0123456789abcdef";
        text += before;
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }

    void describeData(const MessageData *data) {
        text += "<data, " + std::to_string(data->length()) + " bytes";
        const auto *bytes = static_cast<const unsigned char *>(data->bytes());
        const std::size_t count = std::min(data->length(), shownBytes);
        for (std::size_t i = 0; i < count; ++i)
            addHex(i == 0 ? ": " : "", bytes[i]);
        text += data->length() > count ? "...>" : ">";
    }

    void describeEntries(const DictionaryStorage &dictionary, unsigned depth) {
        text += '{';
        for (std::size_t i = 0; i < dictionary.entries.size() && !isFull(); ++i) {
            auto &entry = dictionary.entries[i];
            text += i == 0 ? " " : ", ";
            quote({entry.key, entry.keyLength});
            text += ": ";
            describe(materialise(entry.slot, dictionary.origin), depth + 1);
        }
        text += isFull() ? " ... }" : " }";
    }

    void describeElements(const MessageArray &array, unsigned depth) {
        text += '[';
        for (std::size_t i = 0; i < array.count() && !isFull(); ++i) {
            text += i == 0 ? " " : ", ";
            describe(array.at(i), depth + 1);
        }
        text += isFull() ? " ... ]" : " ]";
    }
};

bool isSameFile(int a, int b) {
    struct stat first;
    struct stat second;
    return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

bool areSame(MessageValue *a, MessageValue *b, unsigned depth);

bool areSameEntries(const DictionaryStorage &a, const DictionaryStorage &b, unsigned depth) {
    if (a.entries.size() != b.entries.size())
        return false;
    for (auto &entry : a.entries) {
        auto *other = b.find({entry.key, entry.keyLength});
        if (other == nullptr ||
            !areSame(materialise(entry.slot, a.origin), materialise(other->slot, b.origin), depth))
            return false;
    }
    return true;
}

bool areSameElements(const MessageArray &a, const MessageArray &b, unsigned depth) {
    if (a.count() != b.count())
        return false;
    for (std::size_t i = 0; i < a.count(); ++i)
        if (!areSame(a.at(i), b.at(i), depth))
            return false;
    return true;
}

bool areSameScalars(const ScalarStorage &a, const ScalarStorage &b) {
    switch (a.kind()) {
    case MessageKind::real:
    case MessageKind::date:
        return a.realValue == b.realValue;
    case MessageKind::boolean:
        return a.boolean == b.boolean;
    case MessageKind::string:
    case MessageKind::uuid:
        return a.text == b.text;
    default:
        return a.unsignedValue == b.unsignedValue;
    }
}

bool areSame(MessageValue *a, MessageValue *b, unsigned depth) {
    if (a == b)
        return true;
    if (a->kind() != b->kind() || depth > MessageLimits::nesting)
        return false;
    switch (a->kind()) {
    case MessageKind::data: {
        const auto *x = DataStorage::of(static_cast<MessageData *>(a));
        const auto *y = DataStorage::of(static_cast<MessageData *>(b));
        return x->count == y->count && (x->count == 0 || std::memcmp(x->first, y->first, x->count) == 0);
    }
    case MessageKind::sharedMemory:
        return isSameFile(static_cast<MessageSharedMemory *>(a)->memory()->descriptor(),
                          static_cast<MessageSharedMemory *>(b)->memory()->descriptor());
    case MessageKind::fileDescriptor:
        return isSameFile(static_cast<MessageFileDescriptor *>(a)->peek(),
                          static_cast<MessageFileDescriptor *>(b)->peek());
    case MessageKind::dictionary:
        return areSameEntries(*static_cast<DictionaryStorage *>(a), *static_cast<DictionaryStorage *>(b),
                              depth + 1);
    case MessageKind::array:
        return areSameElements(*static_cast<MessageArray *>(a), *static_cast<MessageArray *>(b), depth + 1);
    case MessageKind::error:
        return static_cast<MessageError *>(a)->text() == static_cast<MessageError *>(b)->text() &&
               static_cast<MessageError *>(a)->errorKind() == static_cast<MessageError *>(b)->errorKind();
    default:
        return areSameScalars(*static_cast<ScalarStorage *>(a), *static_cast<ScalarStorage *>(b));
    }
}

} // namespace

char *MessageValue::copyDescription() const {
    Describer describer;
    describer.describe(const_cast<MessageValue *>(this), 1);
    // A text cannot hold a NUL, which may stand in a string.
    char *copy = strdup(describer.text.c_str());
    if (copy == nullptr)
        throw std::bad_alloc();
    return copy;
}

String *MessageValue::description() const {
    return autorelease(String::createAdopting(copyDescription()));
}

bool MessageValue::isEqual(const Object *other) const {
    const auto *value = as<MessageValue>(other);
    return value != nullptr &&
           areSame(const_cast<MessageValue *>(this), const_cast<MessageValue *>(value), 1);
}

std::size_t MessageValue::hash() const {
    const auto kindHash = static_cast<std::size_t>(kind()) * 0x9E3779B97F4A7C15U;
    switch (kind()) {
    case MessageKind::string:
        return kindHash ^ std::hash<std::string_view>{}(static_cast<const ScalarStorage *>(this)->text);
    case MessageKind::int64:
    case MessageKind::uint64:
        return kindHash ^ static_cast<const ScalarStorage *>(this)->unsignedValue;
    case MessageKind::data:
        return kindHash ^ static_cast<const MessageData *>(this)->length();
    case MessageKind::dictionary:
        return kindHash ^ static_cast<const MessageDictionary *>(this)->count();
    case MessageKind::array:
        return kindHash ^ static_cast<const MessageArray *>(this)->count();
    case MessageKind::error:
        return kindHash ^ std::hash<std::string_view>{}(static_cast<const MessageError *>(this)->text());
    default:
        return kindHash; // such values are rarely keys
    }
}

} // namespace wickerlane
