#include "wickerlane/message/JXMsgUtilities.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/message/JXMsgData.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/platform/queue/WorkQueue.h"

using namespace wickerlane;

namespace {

// The limits of writers and of the reader differ: URIs of 199 to 250 bytes are written but not read.
constexpr std::size_t maxWrittenURILength = 250;
constexpr std::size_t readBufferSize = 200;
// Of the objects of a property list from another process: room for a list of a million UUID strings.
constexpr std::size_t maxListMemory = std::size_t{112} << 20;

MessageValue *rawValue(MessageValue *dict, const char *key) {
    const auto *dictionary = as<MessageDictionary>(dict);
    return dictionary != nullptr ? dictionary->get(key) : nullptr;
}

Object *propertyList(MessageValue *dict, const char *key, const char *reader, const char *what) {
    const auto *dictionary = as<MessageDictionary>(dict);
    const Bytes bytes = dictionary != nullptr ? dictionary->getData(key) : Bytes{};
    if (bytes.empty())
        return nullptr;
    const auto copied = Data::create(bytes);
    Ref<Error> error;
    auto root = createPropertyListObject(copied->span(), &error, nullptr, maxListMemory);
    if (!root)
        consoleLog("ERROR: %s failed to deserialize %s %@", reader, what, error.get());
    return autorelease(std::move(root));
}

void setPropertyList(MessageDictionary *dict, const char *key, Object *root, const char *writer,
                     const char *what) {
    if (root == nullptr)
        return;
    Ref<Error> error;
    const auto bytes = createPropertyListData(root, &error);
    if (!bytes)
        consoleLog("ERROR: %s unable to serialize %s %@ error %@", writer, what, root, error.get());
    dict->setData(key, bytes ? bytes->bytes() : nullptr, bytes ? bytes->length() : 0);
}

// Copies the URI into `buffer`. Empty when there is none or it does not fit.
Bytes uriBytes(ManagedObjectID *objectID, std::byte (&buffer)[maxWrittenURILength]) {
    if (objectID == nullptr)
        return {};
    const std::string_view uri = objectID->uriRepresentation()->absoluteString()->utf8();
    if (uri.size() > sizeof buffer)
        return {};
    std::memcpy(buffer, uri.data(), uri.size());
    return {buffer, uri.size()};
}

} // namespace

String *JXStringFromMsgDictionary(MessageValue *dict, const char *key) {
    if (const auto *error = as<MessageError>(dict))
        return std::strcmp(key, messageErrorDescriptionKey) == 0 ? String::of(error->text()) : nullptr;
    const auto *dictionary = as<MessageDictionary>(dict);
    const auto text = dictionary != nullptr ? dictionary->getString(key) : std::nullopt;
    return text ? autorelease(String::create(*text)) : nullptr;
}

void JXMsgDictionarySetString(MessageDictionary *dict, const char *key, String *string) {
    if (string != nullptr)
        dict->setString(key, string->utf8());
}

URL *JXURLFromMsgDictionary(MessageValue *dict, const char *key) {
    const String *text = JXStringFromMsgDictionary(dict, key);
    return text != nullptr ? autorelease(URL::create(text->utf8())) : nullptr;
}

void JXMsgDictionarySetURL(MessageDictionary *dict, const char *key, URL *url) {
    if (url != nullptr)
        dict->setString(key, url->absoluteString()->utf8());
}

Data *JXDataFromMsgDictionary(MessageValue *dict, const char *key) {
    MessageValue *value = rawValue(dict, key);
    if (auto *data = as<MessageData>(value))
        return autorelease(JXMsgData::initWithMsgData(data));
    if (auto *memory = as<MessageSharedMemory>(value))
        return autorelease(JXMsgShMemData::initWithMsgShmem(memory));
    return nullptr;
}

void JXMsgDictionarySetData(MessageDictionary *dict, const char *key, Data *data) {
    if (data == nullptr)
        return;
    const auto value = MessageData::createWithRegion(data->bytes(), data->length(), WorkQueue::global(),
                                                     [kept = Ref<Data>(data)]() mutable { kept = nullptr; });
    dict->set(key, value.get());
}

Object *JXDictionaryFromMsgDictionary(MessageValue *dict, const char *key) {
    return propertyList(dict, key, "JXDictionaryFromMsgDictionary", "dictionary");
}

Object *JXArrayFromMsgDictionary(MessageValue *dict, const char *key) {
    return propertyList(dict, key, "JXArrayFromMsgDictionary", "array");
}

void JXMsgDictionarySetDictionary(MessageDictionary *dict, const char *key, Dictionary *dictionary) {
    setPropertyList(dict, key, dictionary, "JXMsgDictionarySetDictionary", "dictionary");
}

void JXMsgDictionarySetArray(MessageDictionary *dict, const char *key, Array *array) {
    setPropertyList(dict, key, array, "JXMsgDictionarySetArray", "array");
}

MutableIndexSet *JXIndexSetFromMsgDictionary(MessageValue *dict, const char *key) {
    MessageValue *value = rawValue(dict, key);
    if (value == nullptr)
        return nullptr;
    const auto *array = as<MessageArray>(value);
    const std::size_t count = array != nullptr ? array->count() : 0;
    std::vector<Range> ranges;
    ranges.reserve(count / 2);
    for (std::size_t i = 1; i < count; i += 2)
        ranges.push_back({array->uint64At(i - 1), array->uint64At(i)});
    // Writers send ascending ranges. Adding half a million of them in descending order would take a minute.
    std::ranges::sort(ranges, {}, &Range::location);
    auto indexSet = MutableIndexSet::create();
    for (const Range &range : ranges)
        indexSet->add(range);
    return autorelease(std::move(indexSet));
}

void JXMsgDictionarySetIndexSet(MessageDictionary *dict, const char *key, IndexSet *indexSet) {
    if (indexSet == nullptr)
        return;
    const auto array = MessageArray::create();
    dict->set(key, array.get());
    for (const Range &range : indexSet->ranges()) {
        array->appendUInt64(range.location);
        array->appendUInt64(range.length);
    }
}

ImageSurface *JXCreateImageSurfaceFromMsgDictionary(MessageValue *dict, const char *key) {
    MessageValue *value = rawValue(dict, key);
    return value != nullptr ? ImageSurface::lookUp(value).leak() : nullptr;
}

void JXMsgDictionarySetImageSurface(MessageDictionary *dict, const char *key, ImageSurface *surface) {
    if (surface == nullptr)
        return;
    if (const auto object = surface->createMessageObject())
        dict->set(key, object.get());
}

ManagedObjectID *JXManagedObjectIDFromMsgValue(MessageValue *value, ObjectIDResolver *resolver) {
    char uri[readBufferSize];
    const auto *data = as<MessageData>(value);
    const std::size_t length = data != nullptr ? data->length() : 0;
    if (length >= readBufferSize - 1) {
        JX_LOG(4, JXGenericLog, "Bogus object ID in msg data.");
        return nullptr;
    }
    if (data != nullptr)
        data->getBytes(uri, 0, length);
    uri[length] = '\0';
    ManagedObjectID *objectID = resolver->managedObjectIDForURI(uri, length);
    if (objectID == nullptr)
        JX_LOG(4, JXGenericLog, "Unable to get object ID for %s", uri);
    return objectID;
}

void JXMsgDictionarySetManagedObjectID(MessageDictionary *dict, const char *key, ManagedObjectID *objectID) {
    std::byte buffer[maxWrittenURILength];
    const Bytes uri = uriBytes(objectID, buffer);
    if (!uri.empty())
        dict->setData(key, uri.data(), uri.size());
}

void JXMsgArrayAppendManagedObjectID(MessageArray *array, ManagedObjectID *objectID) {
    std::byte buffer[maxWrittenURILength];
    const Bytes uri = uriBytes(objectID, buffer);
    if (!uri.empty())
        array->appendData(uri.data(), uri.size());
}
