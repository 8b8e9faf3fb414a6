// Why hoardd refuses requests, in texts for people that also say what can be done about it.
#ifndef WICKERLANE_CLIENT_REFUSALS_H
#define WICKERLANE_CLIENT_REFUSALS_H

#include <optional>

#include "wickerlane/model/Problem.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::client {

/// What hoardd said, and what can be done about it unless that is said already.
[[nodiscard]] Problem withAdvice(Problem said);

/// This program or its user has no access to the library.
[[nodiscard]] Problem accessRefused();
[[nodiscard]] Problem entitlementMissing(const String *entitlement);
[[nodiscard]] Problem noDataToSave();
[[nodiscard]] Problem jobQueueFull();

/// Why the asset of a job was not saved, from the result; nothing if it was. The kind is `failed` where an
/// older hoardd gives none.
[[nodiscard]] WL_EXPORT std::optional<Problem> problemOfJob(const Dictionary &result);

/// Of an error that says that hoardd does not know an operation, because it is older than this library; else
/// nothing.
[[nodiscard]] WL_EXPORT std::optional<Problem> unknownToOlderDaemon(const MessageError &error);

} // namespace wickerlane::client

#endif
