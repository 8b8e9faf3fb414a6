#include "hoardd/service/TrafficEvents.h"

#include <algorithm>
#include <string>

#include "wickerlane/platform/message/value/MessageConversion.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/TrafficKeys.h"

namespace wickerlane::hoardd {

namespace traffic = protocol::traffic;

namespace {

// Of a message: watching one that is large must not cost as much as serving it.
constexpr std::size_t maxShownBytes = 64 << 10;
constexpr std::size_t maxKeys = 64;
constexpr std::size_t maxValues = 4'096;
// Of memory: an event without its values, and a value.
constexpr std::size_t eventCost = 2'048, valueCost = 512;

const char *nameOf(MessageKind kind) {
    switch (kind) {
    case MessageKind::string:
        return "string";
    case MessageKind::int64:
        return "int64";
    case MessageKind::uint64:
        return "uint64";
    case MessageKind::boolean:
        return "boolean";
    case MessageKind::real:
        return "real";
    case MessageKind::date:
        return "date";
    case MessageKind::uuid:
        return "uuid";
    case MessageKind::data:
        return "data";
    case MessageKind::sharedMemory:
        return "sharedMemory";
    case MessageKind::fileDescriptor:
        return "fileDescriptor";
    case MessageKind::dictionary:
        return "dictionary";
    case MessageKind::array:
        return "array";
    case MessageKind::error:
        return "error";
    }
    return "unknown";
}

/// The bytes of contents, without what tells them apart on the way, and how many values they are. Counting
/// ends at `maxValues`.
struct Measure {
    std::size_t bytes = 0, values = 0;

    void add(const MessageValue *value) {
        if (++values > maxValues)
            return;
        if (const auto *scalar = as<MessageScalar>(value))
            bytes +=
                scalar->kind() == MessageKind::string ? scalar->stringValue().size() : sizeof(std::int64_t);
        else if (const auto *data = as<MessageData>(value))
            bytes += data->length();
        else if (const auto *shared = as<MessageSharedMemory>(value))
            bytes += shared->memory()->length();
        else if (const auto *array = as<MessageArray>(value))
            for (std::size_t i = 0; i < array->count() && values <= maxValues; ++i)
                add(array->at(i));
        else if (const auto *dictionary = as<MessageDictionary>(value))
            dictionary->forEach([&](const char *key, MessageValue *each) {
                bytes += std::string_view(key).size();
                add(each);
                return values <= maxValues;
            });
    }
    static Measure of(const MessageValue *value) {
        Measure measure;
        measure.add(value);
        return measure;
    }
    /// Of memory, when it is shown.
    [[nodiscard]] std::size_t cost() const { return bytes + values * valueCost; }
};

/// A tree whose data is replaced by how many bytes it has.
Ref<Object> withoutData(Object *object) {
    if (const auto *data = as<Data>(object))
        return Dictionary::createWithKeys(
            {{traffic::bytes, Number::of(static_cast<std::uint64_t>(data->length()))}});
    if (const auto *array = as<Array>(object)) {
        auto made = MutableArray::create();
        for (Object *each : *array)
            made->append(withoutData(each).get());
        return made;
    }
    if (const auto *dictionary = as<Dictionary>(object)) {
        auto made = MutableDictionary::create();
        for (const auto &[key, value] : *dictionary)
            if (const auto *text = as<String>(key))
                made->set(text->utf8(), withoutData(value).get());
        return made;
    }
    return Ref<Object>(object);
}

/// Whether data names something: object IDs travel as the bytes of their URLs.
bool isURL(Bytes data) {
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    return text.starts_with("x-hoard") &&
           std::ranges::all_of(text, [](char each) { return each > ' ' && each < 0x7F; });
}

/// What a value says; null when that is not to be shown.
Ref<Object> contentsOf(const MessageValue *value, bool isList) {
    if (const auto *data = as<MessageData>(value)) {
        const Bytes bytes(static_cast<const std::byte *>(data->bytes()), data->length());
        if (isURL(bytes))
            return String::create({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
        const auto list =
            isList ? createPropertyListObject(bytes, nullptr, nullptr, 16 * maxShownBytes) : Ref<Object>();
        return list ? withoutData(list.get()) : nullptr;
    }
    const auto object = createObject(value);
    return object ? withoutData(object.get()) : nullptr;
}

/// Describes the values of one message.
class Description {
public:
    Description(const MessageDictionary &message, const protocol::Fields *fields, bool withTexts)
        : rowFields(fields), showsTexts(withTexts) {
        std::size_t keys = 0;
        message.forEach([&](const char *key, MessageValue *value) {
            if (std::string_view(key) != protocol::keys::operation.text)
                values->set(key, describe(value, isList(key)).get());
            return ++keys < maxKeys;
        });
    }

    const Ref<MutableDictionary> values = MutableDictionary::create();
    std::size_t bytes = 0; ///< Of memory.

private:
    [[nodiscard]] bool isList(std::string_view key) const {
        return rowFields != nullptr &&
               std::ranges::any_of(rowFields->all(), [&](const protocol::Field &field) {
                   return field.key == key && field.isList;
               });
    }
    Ref<Dictionary> describe(const MessageValue *value, bool isList) {
        auto described = MutableDictionary::create();
        const Measure measure = Measure::of(value);
        described->set(traffic::kind, String::of(isList ? "list" : nameOf(value->kind())));
        described->set(traffic::bytes, Number::of(static_cast<std::uint64_t>(measure.bytes)));
        bytes += valueCost;
        const auto *scalar = as<MessageScalar>(value);
        const bool isNumber = scalar != nullptr && scalar->kind() != MessageKind::string;
        if (!isNumber && (!showsTexts || measure.values > maxValues || shown + measure.bytes > maxShownBytes))
            return described;
        shown += measure.bytes;
        bytes += measure.cost();
        if (const auto contents = contentsOf(value, isList))
            described->set(traffic::value, contents.get());
        return described;
    }

    const protocol::Fields *const rowFields;
    const bool showsTexts;
    std::size_t shown = 0;
};

Ref<MutableDictionary> eventOf(const char *what, std::uint64_t number) {
    auto event = MutableDictionary::create();
    event->set(traffic::event, String::of(what));
    event->set(traffic::number, Number::of(number));
    return event;
}

Ref<MutableDictionary> endEvent(std::uint64_t number, std::chrono::nanoseconds time) {
    auto event = eventOf(traffic::answer, number);
    event->set(traffic::seconds, Number::of(std::chrono::duration<double>(time).count()));
    return event;
}

} // namespace

TrafficEvent requestEvent(std::uint64_t number, const ReceivedMessage &message, const protocol::Row *row,
                          bool isAllowed, bool withTexts) {
    auto event = eventOf(traffic::request, number);
    const MessageDictionary &contents = *message.message();
    const PeerIdentity &peer = message.peer()->identity();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    event->set(traffic::date, Date::createWithUnixSeconds(std::chrono::duration<double>(now).count()).get());
    event->set(traffic::process, Number::of(std::int64_t{peer.process}));
    event->set(traffic::user, Number::of(std::uint64_t{peer.user}));
    event->set(traffic::program, String::of(peer.program.path));
    event->set(traffic::operation, Number::of(contents.getInt64(protocol::keys::operation.text)));
    if (row != nullptr)
        event->set(traffic::name, String::of(row->name));
    event->set(traffic::wantsReply, Number::of(message.wantsReply()));
    if (!isAllowed) {
        event->set(traffic::values, Dictionary::createWithKeys({}).get());
        return {event, eventCost};
    }
    event->set(traffic::bytes, Number::of(static_cast<std::uint64_t>(Measure::of(&contents).bytes)));
    const Description values(contents, row != nullptr ? &row->requestKeys : nullptr, withTexts);
    event->set(traffic::values, values.values.get());
    return {event, eventCost + values.bytes};
}

TrafficEvent answerEvent(std::uint64_t number, const MessageDictionary *answer, const protocol::Row *row,
                         std::chrono::nanoseconds time, bool withTexts) {
    auto event = endEvent(number, time);
    event->set(traffic::bytes, Number::of(static_cast<std::uint64_t>(Measure::of(answer).bytes)));
    const Description values(*answer, row != nullptr ? &row->replyKeys : nullptr, withTexts);
    event->set(traffic::values, values.values.get());
    return {event, eventCost + values.bytes};
}

TrafficEvent errorEvent(std::uint64_t number, std::string_view text, std::int64_t kind,
                        std::chrono::nanoseconds time, bool withTexts) {
    auto event = endEvent(number, time);
    event->set(traffic::errorKind, Number::of(kind));
    if (withTexts)
        event->set(traffic::error, String::of(text));
    return {event, eventCost + text.size()};
}

} // namespace wickerlane::hoardd
