// The rows of all operations, for those who look one up.
#ifndef WICKERLANE_PROTOCOL_ALLROWS_H
#define WICKERLANE_PROTOCOL_ALLROWS_H

#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

/// Two that differ in their code alone may have one name.
[[nodiscard]] WL_EXPORT std::span<const Row *const> allRows();

/// The first row of an operation's name; null when there is none.
[[nodiscard]] WL_EXPORT const Row *rowNamed(std::string_view name);

/// The row that a received message is a request of; null when there is none.
[[nodiscard]] WL_EXPORT const Row *rowOf(const MessageDictionary *request);

} // namespace wickerlane::protocol

#endif
