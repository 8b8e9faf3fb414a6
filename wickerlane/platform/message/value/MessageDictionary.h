// Dictionaries: what is sent and received.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDICTIONARY_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDICTIONARY_H

#include <optional>
#include <string_view>

#include "wickerlane/platform/message/value/MessageArray.h"
#include "wickerlane/platform/message/value/MessageData.h"

namespace wickerlane {

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

} // namespace wickerlane

#endif
