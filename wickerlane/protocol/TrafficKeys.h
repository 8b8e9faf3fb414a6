// Keys of the events by which hoardd says what travels between applications and itself.
#ifndef WICKERLANE_PROTOCOL_TRAFFICKEYS_H
#define WICKERLANE_PROTOCOL_TRAFFICKEYS_H

#include <string_view>

namespace wickerlane::protocol::traffic {

/// String: `request` or `answer`.
inline constexpr std::string_view event = "event";
inline constexpr const char *request = "request";
inline constexpr const char *answer = "answer";
/// Number: the same in a request and its answer.
inline constexpr std::string_view number = "number";
/// Dictionary: of each key of the message but the operation a dictionary with `kind`, `bytes` and perhaps
/// `value`.
inline constexpr std::string_view values = "values";
/// Number: of a value, a message, or data whose place in a value this takes.
inline constexpr std::string_view bytes = "bytes";
/// String: the kind of a value; "list" for a property list.
inline constexpr std::string_view kind = "kind";
/// What a value says, if it is shown.
inline constexpr std::string_view value = "value";

// Of requests.

/// Date: when hoardd began with it.
inline constexpr std::string_view date = "date";
/// Number: of the process that asks.
inline constexpr std::string_view process = "process";
/// Number: of the user whose process it is.
inline constexpr std::string_view user = "user";
/// String: path of the program that it runs.
inline constexpr std::string_view program = "program";
/// Number: the code of the operation.
inline constexpr std::string_view operation = "operation";
/// String: the name of the operation; missing when the message is no request of an operation.
inline constexpr std::string_view name = "name";
/// Number, boolean.
inline constexpr std::string_view wantsReply = "wantsReply";

// Of answers.

/// Number: from the request on.
inline constexpr std::string_view seconds = "seconds";
/// Number, of an error: a ProblemKind, or 0.
inline constexpr std::string_view errorKind = "errorKind";
/// String: the text of an error, if it is shown.
inline constexpr std::string_view error = "error";

} // namespace wickerlane::protocol::traffic

#endif
