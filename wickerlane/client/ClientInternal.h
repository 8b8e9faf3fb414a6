// Helpers of the files with operations.
#ifndef WICKERLANE_CLIENT_CLIENTINTERNAL_H
#define WICKERLANE_CLIENT_CLIENTINTERNAL_H

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Request.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::client {

/// Stops the process because a parameter of an operation does not satisfy `condition`.
[[noreturn]] void failParameter(const JXGatekeeperClient *client, const char *method, const char *condition);

/// An error in WickerlaneErrorDomain without user information, borrowed.
[[nodiscard]] Error *errorWithCode(std::int64_t code);

/// The UUIDs of the Photos in an array, borrowed; null for a null one.
[[nodiscard]] Array *uuidsOf(const Array *photos);

} // namespace wickerlane::client

#endif
