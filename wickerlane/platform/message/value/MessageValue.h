// The values that messages are made of.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEVALUE_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEVALUE_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/memory/SharedMemory.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

class WorkQueue;

enum class MessageKind : std::uint8_t {
    string,
    int64,
    uint64,
    boolean,
    real,
    date,
    uuid,
    data,
    sharedMemory,
    fileDescriptor,
    dictionary,
    array,
    error,
};

/// Key under which an error holds the text that describes it.
inline constexpr const char *messageErrorDescriptionKey = "ErrorDescription";
/// Key under which an error holds its kind, as a signed integer.
inline constexpr const char *messageErrorKindKey = "ErrorKind";

/// A value of a message. Immutable but for dictionaries and arrays, which belong to one thread at a time
/// until they are sent and must not be changed afterwards.
class WL_EXPORT MessageValue : public Object {
    WL_OBJECT
public:
    [[nodiscard]] MessageKind kind() const noexcept { return valueKind; }
    /// The owned, malloc'ed UTF-8 text that describes the value and what it holds; never null.
    [[nodiscard]] char *copyDescription() const;
    [[nodiscard]] String *description() const override;
    /// Structural equality: same kind, same contents, in whatever order the keys of dictionaries were set.
    /// Descriptors are equal when they name the same file. What is nested deeper than a message may be is
    /// compared by identity.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;

protected:
    constexpr explicit MessageValue(MessageKind kind) noexcept : valueKind(kind) {}
    constexpr MessageValue(ImmortalTag tag, MessageKind kind) noexcept : Object(tag), valueKind(kind) {}

private:
    MessageKind valueKind;
};

/// A string, number, boolean, date or UUID as a value of its own, for arrays and for reading raw values.
class WL_EXPORT MessageScalar : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageScalar>
    createString(std::string_view utf8); ///< Null when not valid UTF-8.
    [[nodiscard]] static Ref<MessageScalar> createInt64(std::int64_t value);
    [[nodiscard]] static Ref<MessageScalar> createUInt64(std::uint64_t value);
    [[nodiscard]] static Ref<MessageScalar> createBool(bool value);
    [[nodiscard]] static Ref<MessageScalar> createReal(double value);
    /// Seconds since 2001-01-01 00:00:00 UTC.
    [[nodiscard]] static Ref<MessageScalar> createDate(double referenceSeconds);
    [[nodiscard]] static Ref<MessageScalar> createUUID(const unsigned char (&bytes)[16]);

    // Each gives zero, or an empty text, when the value is of another kind.
    [[nodiscard]] std::string_view stringValue() const noexcept;
    [[nodiscard]] std::int64_t int64Value() const noexcept;
    [[nodiscard]] std::uint64_t uint64Value() const noexcept;
    [[nodiscard]] bool boolValue() const noexcept;
    [[nodiscard]] double realValue() const noexcept; ///< Of a real or a date.
    /// The 16 bytes of a UUID; null for another kind. Live as long as the value.
    [[nodiscard]] const unsigned char *uuidBytes() const noexcept;

private:
    friend class ScalarStorage;
    explicit MessageScalar(MessageKind kind) noexcept : MessageValue(kind) {}
};

/// Bytes.
class WL_EXPORT MessageData : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageData> create(const void *copied, std::size_t length);
    /// Lends the bytes of a region, which are not copied, here or on the way to the socket: they stay valid
    /// and unchanged until `destructor` has run, asynchronously on `queue`, after the last holder let go of
    /// the value.
    [[nodiscard]] static Ref<MessageData> createWithRegion(const void *bytes, std::size_t length,
                                                           WorkQueue *queue, Handler<void()> destructor);

    [[nodiscard]] const void *bytes() const noexcept; ///< Lives as long as the value; may be null when empty.
    [[nodiscard]] std::size_t length() const noexcept;
    /// Copies out bytes from `offset` on, no more than there are, and returns how many it copied.
    std::size_t getBytes(void *destination, std::size_t offset, std::size_t count) const noexcept;

private:
    friend class DataStorage;
    MessageData() noexcept : MessageValue(MessageKind::data) {}
};

/// A region of memory that the receiver maps.
class WL_EXPORT MessageSharedMemory final : public MessageValue {
    WL_OBJECT
public:
    /// `memory` must be sealed; null otherwise.
    [[nodiscard]] static Ref<MessageSharedMemory> create(SharedMemory *memory);
    [[nodiscard]] SharedMemory *memory() const noexcept {
        return region.get();
    } ///< Lives as long as the value.
    /// Maps the region into this process and gives its size; the caller unmaps it. Null and 0 on failure.
    [[nodiscard]] void *map(std::size_t *length) const { return region->map(length); }

private:
    explicit MessageSharedMemory(SharedMemory *memory)
        : MessageValue(MessageKind::sharedMemory), region(memory) {}
    Ref<SharedMemory> region;
};

/// An open file.
class WL_EXPORT MessageFileDescriptor final : public MessageValue {
    WL_OBJECT
public:
    /// Holds a duplicate of its own. Null when duplication fails.
    [[nodiscard]] static Ref<MessageFileDescriptor> create(int duplicated);
    [[nodiscard]] static Ref<MessageFileDescriptor> createAdopting(UniqueFd owned);
    [[nodiscard]] int peek() const noexcept { return fd.get(); } ///< Stays the value's.
    [[nodiscard]] int duplicate() const noexcept; ///< The caller's, close-on-exec; -1 on failure.

private:
    explicit MessageFileDescriptor(UniqueFd owned)
        : MessageValue(MessageKind::fileDescriptor), fd(std::move(owned)) {}
    UniqueFd fd;
};

/// An error of the message service, or one sent as a value.
class WL_EXPORT MessageError : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageError> create(std::string_view description, std::int64_t errorKind = 0);
    /// The two connection errors: immortal objects, told apart by identity.
    [[nodiscard]] static MessageError *connectionInterrupted() noexcept;
    [[nodiscard]] static MessageError *connectionInvalid() noexcept;

    [[nodiscard]] std::string_view text() const noexcept; ///< Lives as long as the error.
    /// What programs can tell apart, in numbers that both ends agree on; 0 for an error that names none.
    [[nodiscard]] std::int64_t errorKind() const noexcept;

private:
    friend class ErrorStorage;
    MessageError() noexcept : MessageValue(MessageKind::error) {}
    constexpr explicit MessageError(ImmortalTag tag) noexcept : MessageValue(tag, MessageKind::error) {}
};

/// An ordered collection of values.
class WL_EXPORT MessageArray : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageArray> create();

    [[nodiscard]] std::size_t count() const noexcept;
    /// The value at an index below count(); lives as long as the array.
    [[nodiscard]] MessageValue *at(std::size_t index) const;
    [[nodiscard]] std::uint64_t uint64At(std::size_t index) const noexcept;    ///< 0 for another kind.
    [[nodiscard]] std::string_view stringAt(std::size_t index) const noexcept; ///< Empty for another kind.

    void append(MessageValue *value);
    void appendString(std::string_view utf8);
    void appendInt64(std::int64_t value);
    void appendUInt64(std::uint64_t value);
    void appendBool(bool value);
    void appendData(const void *copied, std::size_t length);

private:
    friend class ArrayStorage;
    MessageArray() noexcept : MessageValue(MessageKind::array) {}
};

/// A key-to-value dictionary: what is sent and received. Keys are UTF-8 C strings; walking gives the entries
/// in the order in which the keys were first set. Readers are total: a missing key, or a value of another
/// kind, reads as the default that each names. Views that readers give live as long as the dictionary holds
/// the entry.
class WL_EXPORT MessageDictionary : public MessageValue {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MessageDictionary> create();

    [[nodiscard]] std::size_t count() const noexcept;
    [[nodiscard]] bool contains(const char *key) const noexcept;
    [[nodiscard]] std::optional<MessageKind> kindOf(const char *key) const noexcept;
    /// The raw value of any kind; null when the key is missing.
    [[nodiscard]] MessageValue *get(const char *key) const;
    [[nodiscard]] std::optional<std::string_view> getString(const char *key) const noexcept;
    [[nodiscard]] std::int64_t getInt64(const char *key) const noexcept;   ///< 0 by default.
    [[nodiscard]] std::uint64_t getUInt64(const char *key) const noexcept; ///< 0 by default.
    [[nodiscard]] bool getBool(const char *key) const noexcept;            ///< False by default.
    [[nodiscard]] double getReal(const char *key) const noexcept;          ///< 0 by default.
    [[nodiscard]] Bytes getData(const char *key) const noexcept;           ///< Empty by default.
    [[nodiscard]] MessageDictionary *getDictionary(const char *key) const; ///< Null by default.
    [[nodiscard]] MessageArray *getArray(const char *key) const;           ///< Null by default.
    /// A duplicate of the descriptor, the caller's; -1 by default.
    [[nodiscard]] int duplicateDescriptor(const char *key) const;

    /// Sets any value; null removes the key.
    void set(const char *key, MessageValue *value);
    void setString(const char *key, std::string_view utf8); ///< Stores nothing when it is not valid UTF-8.
    void setInt64(const char *key, std::int64_t value);
    void setUInt64(const char *key, std::uint64_t value);
    void setBool(const char *key, bool value);
    void setReal(const char *key, double value);
    void setData(const char *key, const void *copied, std::size_t length);
    void setDescriptor(const char *key, int duplicated); ///< Stores nothing when duplication fails.

    /// Calls `visit(key, value)` for each entry in order until it returns false.
    void forEach(const Handler<bool(const char *key, MessageValue *value)> &visit) const;

private:
    friend class DictionaryStorage;
    MessageDictionary() noexcept : MessageValue(MessageKind::dictionary) {}
};

/// Converts a property-list object, or any tree of strings, numbers, dates, data, UUIDs, arrays and
/// dictionaries with text keys, into the message value of the same kinds; the message-service objects that an
/// array holds are taken as they are. Null when the tree holds anything else, or is nested too deeply.
[[nodiscard]] WL_EXPORT Ref<MessageValue> createMessageValue(const Object *object);

/// The way back: every kind survives the round trip, and reads as the property-list object of that kind (a
/// boolean as a boolean, an unsigned number as an unsigned one, a date as a date). Null for kinds that have
/// no such object (descriptors, errors, shared memory).
[[nodiscard]] WL_EXPORT Ref<Object> createObject(const MessageValue *value);

} // namespace wickerlane

#endif
