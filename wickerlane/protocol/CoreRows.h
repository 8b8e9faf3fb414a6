// The rows of the client's core.
#ifndef WICKERLANE_PROTOCOL_COREROWS_H
#define WICKERLANE_PROTOCOL_COREROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::protocol {

inline constexpr Operation requestAccess{3, "requestAccessWithHandler:", request(), reply(keys::authorized)};

inline constexpr Operation launchHoardd{10, "launchHoardd", request(), reply()};

} // namespace wickerlane::protocol

#endif
