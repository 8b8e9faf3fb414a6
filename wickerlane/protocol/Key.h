// Typed keys: which value a key of a request or reply has, and how it is written and read.
#ifndef WICKERLANE_PROTOCOL_KEY_H
#define WICKERLANE_PROTOCOL_KEY_H

#include <cstdlib>
#include <cstring>

#include "wickerlane/message/JXJobDictionary.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::protocol {

/// A key's text and the coding of its value. Writers take the coding's Write type and readers return what its
/// read() returns, so that a value of another type does not compile. Readers accept any message value: what
/// is not a dictionary reads as if the key were missing.
template <class Coding>
struct Key {
    const char *text;
};

// Each coding says which message kinds it accepts, how to store a value, and how to read one.

namespace coding {

/// Of object pointers. Null stores nothing, and a missing value reads as null.
template <class Object, auto set, auto get, MessageKind... accepted>
struct ObjectCoding {
    using Write = Object *;
    static constexpr MessageKind kinds[] = {accepted...};
    static void write(MessageDictionary *message, const char *key, Write value) { set(message, key, value); }
    static auto read(MessageValue *message, const char *key) { return get(message, key); }
};

/// Of plain numbers. A missing value reads as zero.
template <class Value, auto set, auto get, MessageKind accepted>
struct ScalarCoding {
    using Write = Value;
    static constexpr MessageKind kinds[] = {accepted};
    static void write(MessageDictionary *message, const char *key, Value value) {
        (message->*set)(key, value);
    }
    static Value read(MessageValue *message, const char *key) {
        const auto *dictionary = as<MessageDictionary>(message);
        return dictionary != nullptr ? (dictionary->*get)(key) : Value{};
    }
};

/// An error reads as a dictionary that holds its kind under messageErrorKindKey.
struct Int64 : ScalarCoding<std::int64_t, &MessageDictionary::setInt64, &MessageDictionary::getInt64,
                            MessageKind::int64> {
    static std::int64_t read(MessageValue *message, const char *key) {
        if (const auto *error = as<MessageError>(message))
            return std::strcmp(key, messageErrorKindKey) == 0 ? error->errorKind() : 0;
        return ScalarCoding::read(message, key);
    }
};
using UInt64 = ScalarCoding<std::uint64_t, &MessageDictionary::setUInt64, &MessageDictionary::getUInt64,
                            MessageKind::uint64>;
using Bool =
    ScalarCoding<bool, &MessageDictionary::setBool, &MessageDictionary::getBool, MessageKind::boolean>;

using Text = ObjectCoding<String, JXMsgDictionarySetString, JXStringFromMsgDictionary, MessageKind::string>;
using Location = ObjectCoding<URL, JXMsgDictionarySetURL, JXURLFromMsgDictionary, MessageKind::string>;
using ByteData = ObjectCoding<Data, JXMsgDictionarySetData, JXDataFromMsgDictionary, MessageKind::data,
                              MessageKind::sharedMemory>;
/// Property lists, as binary data.
using List = ObjectCoding<Array, JXMsgDictionarySetArray, JXArrayFromMsgDictionary, MessageKind::data>;
using Mapping =
    ObjectCoding<Dictionary, JXMsgDictionarySetDictionary, JXDictionaryFromMsgDictionary, MessageKind::data>;

/// A property-list object, as the message value of its own kind; hoardd accepts lists, mappings and texts.
struct PropertyList {
    using Write = Object *;
    static constexpr MessageKind kinds[] = {MessageKind::array, MessageKind::dictionary, MessageKind::string};
    static void write(MessageDictionary *message, const char *key, Write object) {
        if (const auto value = createMessageValue(object))
            message->set(key, value.get());
    }
};

/// A managed object ID's URI. Reading it takes a resolver: JXManagedObjectIDFromMsgValue().
struct ObjectID {
    using Write = ManagedObjectID *;
    static constexpr MessageKind kinds[] = {MessageKind::data};
    static void write(MessageDictionary *message, const char *key, Write value) {
        JXMsgDictionarySetManagedObjectID(message, key, value);
    }
};

/// A surface's own message object. The surface that is read is borrowed.
struct Surface {
    using Write = ImageSurface *;
    static constexpr MessageKind kinds[] = {MessageKind::dictionary};
    static void write(MessageDictionary *message, const char *key, Write value) {
        JXMsgDictionarySetImageSurface(message, key, value);
    }
    static ImageSurface *read(MessageValue *message, const char *key) {
        return autorelease(Ref<ImageSurface>::adopt(JXCreateImageSurfaceFromMsgDictionary(message, key)));
    }
};

/// A job dictionary, value by value.
struct Job {
    using Write = Dictionary *;
    static constexpr MessageKind kinds[] = {MessageKind::dictionary};
    static void write(MessageDictionary *message, const char *key, Write value) {
        if (const auto job = Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(value)))
            message->set(key, job.get());
    }
    static MutableDictionary *read(MessageValue *message, const char *key) {
        const auto *dictionary = as<MessageDictionary>(message);
        return JXJobDictionaryFromMsgDictionary(dictionary != nullptr ? dictionary->get(key) : nullptr);
    }
};

/// An array of job dictionaries; null is written as an empty one. Jobs that can't be coded are skipped, by
/// writer and reader alike.
struct Jobs {
    using Write = Array *;
    static constexpr MessageKind kinds[] = {MessageKind::array};
    static void write(MessageDictionary *message, const char *key, Write value) {
        const auto jobs = MessageArray::create();
        message->set(key, jobs.get());
        if (value == nullptr)
            return;
        const std::size_t changes = value->changeCount();
        for (std::size_t i = 0; i < value->count(); ++i) {
            ReleaseScope scope;
            auto *job = as<Dictionary>(value->at(i));
            if (const auto coded = Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job)))
                jobs->append(coded.get());
            if (value->changeCount() != changes) {
                consoleLog("*** Collection <%p> was changed while it was being walked.",
                           static_cast<void *>(value));
                std::abort();
            }
        }
    }
    static MutableArray *read(MessageValue *message, const char *key) {
        const auto *dictionary = as<MessageDictionary>(message);
        const auto *jobs = dictionary != nullptr ? dictionary->getArray(key) : nullptr;
        auto result = MutableArray::create();
        for (std::size_t i = 0; jobs != nullptr && i < jobs->count(); ++i)
            if (auto *job = JXJobDictionaryFromMsgDictionary(jobs->at(i)))
                result->append(job);
        return autorelease(std::move(result));
    }
};

/// An open file. The reader returns a duplicate that the caller closes, or -1.
struct Descriptor {
    using Write = int;
    static constexpr MessageKind kinds[] = {MessageKind::fileDescriptor};
    static void write(MessageDictionary *message, const char *key, int descriptor) {
        message->setDescriptor(key, descriptor);
    }
    static int read(MessageValue *message, const char *key) {
        const auto *dictionary = as<MessageDictionary>(message);
        return dictionary != nullptr ? dictionary->duplicateDescriptor(key) : -1;
    }
};

/// Open files, each under the path by which a job of the same request names it.
struct OpenFiles {
    using Write = MessageDictionary *;
    static constexpr MessageKind kinds[] = {MessageKind::dictionary};
    static void write(MessageDictionary *message, const char *key, Write files) { message->set(key, files); }
    static MessageDictionary *read(MessageValue *message, const char *key) {
        const auto *dictionary = as<MessageDictionary>(message);
        return dictionary != nullptr ? dictionary->getDictionary(key) : nullptr;
    }
};

} // namespace coding

} // namespace wickerlane::protocol

#endif
