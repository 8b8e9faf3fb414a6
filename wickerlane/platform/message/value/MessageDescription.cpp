#include "wickerlane/platform/message/value/MessageDescription.h"

#include "wickerlane/platform/message/value/DictionaryStorage.h"
#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/Number.h"

namespace wickerlane {
namespace {

// More of one value helps no reader.
constexpr std::size_t maxDescriptionBytes = 64 * 1024;
constexpr std::size_t maxShownBytes = 32;

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
    [[nodiscard]] bool isFull() const { return text.size() > maxDescriptionBytes; }

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
                text += "\\x" + hexadecimal(std::as_bytes(std::span(&c, 1)));
            else
                text += c;
        }
        text += '"';
    }

    void describeData(const MessageData *data) {
        text += "<data, " + std::to_string(data->length()) + " bytes";
        const auto *bytes = static_cast<const std::byte *>(data->bytes());
        const std::size_t count = std::min(data->length(), maxShownBytes);
        if (count != 0)
            text += ": " + hexadecimal({bytes, count});
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

} // namespace

std::string describeMessageValue(const MessageValue *value) {
    Describer describer;
    describer.describe(const_cast<MessageValue *>(value), 1);
    return std::move(describer.text);
}

} // namespace wickerlane
