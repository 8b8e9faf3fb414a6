// What an operation is: one row of the table of all that travels between a client and hoardd.
#ifndef WICKERLANE_PROTOCOL_ROW_H
#define WICKERLANE_PROTOCOL_ROW_H

#include <array>
#include <initializer_list>
#include <span>
#include <string>

#include "wickerlane/protocol/Key.h"

namespace wickerlane::protocol {

/// The signed 64-bit value under "operation".
using OperationCode = std::int64_t;

/// One key of a row.
struct Field {
    const char *key = nullptr;
    std::span<const MessageKind> kinds{}; ///< Any of these.
    bool optional = false;

    constexpr Field() = default;
    template <class Coding>
    constexpr Field(const Key<Coding> &described) : key(described.text), kinds(Coding::kinds) {}
};

/// A key that the request carries only when there is something to say.
template <class Coding>
constexpr Field whenSet(const Key<Coding> &key) {
    Field field(key);
    field.optional = true;
    return field;
}

/// The keys of a request or a reply, in their order.
struct Fields {
    static constexpr std::size_t most = 6;
    std::array<Field, most> list{};
    std::size_t count = 0;

    [[nodiscard]] constexpr std::span<const Field> all() const { return {list.data(), count}; }
};

template <class... Each>
constexpr Fields request(const Each &...each) {
    static_assert(sizeof...(each) <= Fields::most);
    return {{Field(each)...}, sizeof...(each)};
}
/// Reply keys are what a client reads; any may be absent.
template <class... Each>
constexpr Fields reply(const Each &...each) {
    return request(each...);
}

/// A shape of request: its code, the name of the client's operation, and the keys that travel. "operation",
/// first in every request, is not listed.
struct Row {
    OperationCode code;
    const char *name;
    Fields requestKeys;
    Fields replyKeys;
};

/// Why a received message is not a request of this row; empty when it is one. Keys that the row does not know
/// are allowed.
[[nodiscard]] WL_EXPORT std::string problemWith(const MessageDictionary *message, const Row &row);

} // namespace wickerlane::protocol

#endif
