// What travels between a client and hoardd for one operation: a row.
#ifndef WICKERLANE_PROTOCOL_ROW_H
#define WICKERLANE_PROTOCOL_ROW_H

#include <array>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "wickerlane/protocol/Key.h"

namespace wickerlane::protocol {

/// The signed 64-bit value under "operation".
using OperationCode = std::int64_t;

/// One key of a row.
struct Field {
    const char *key = nullptr;
    std::span<const MessageKind> kinds{}; ///< The value is of any of these.
    bool optional = false;
    bool isList = false; ///< The value is the data of a property list.

    constexpr Field() = default;
    template <class Coding>
    constexpr Field(const Key<Coding> &described)
        : key(described.text), kinds(Coding::kinds),
          isList(std::is_same_v<Coding, coding::List> || std::is_same_v<Coding, coding::Mapping>) {}
};

/// A key that a request may leave out.
template <class Coding>
constexpr Field whenSet(const Key<Coding> &key) {
    Field field(key);
    field.optional = true;
    return field;
}

/// The keys of a request or a reply, in their order.
struct Fields {
    static constexpr std::size_t maxKeys = 6;
    std::array<Field, maxKeys> list{};
    std::size_t count = 0;

    [[nodiscard]] constexpr std::span<const Field> all() const { return {list.data(), count}; }
};

/// Does not compile when a key stands twice.
template <class... Each>
consteval Fields request(const Each &...each) {
    static_assert(sizeof...(each) <= Fields::maxKeys);
    const Fields fields{{Field(each)...}, sizeof...(each)};
    for (std::size_t i = 0; i < fields.count; ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (std::string_view(fields.list[i].key) == fields.list[j].key)
                throw "a key stands twice";
    return fields;
}
/// The keys that a client reads; each may be missing.
template <class... Each>
consteval Fields reply(const Each &...each) {
    return request(each...);
}

/// A kind of request: its code, the name of the client's operation, and the keys of request and reply.
/// "operation", the first key of every request, is not listed.
struct Row {
    OperationCode code;
    const char *name;
    Fields requestKeys;
    Fields replyKeys;
};

/// Why a received message is not a request of this row; empty when it is one. The message may have further
/// keys.
[[nodiscard]] WL_EXPORT std::string problemWith(const MessageDictionary *message, const Row &row);

} // namespace wickerlane::protocol

#endif
