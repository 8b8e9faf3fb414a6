// The rows of access and launch.
#ifndef WICKERLANE_PROTOCOL_COREROWS_H
#define WICKERLANE_PROTOCOL_COREROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

inline constexpr Row requestAccess{3, "requestAccessWithHandler:", request(), reply(keys::authorized)};

inline constexpr Row launchHoardd{10, "launchHoardd", request(), reply()};

/// For the command's `monitor`. The answer is complete unless the watch begins with it.
inline constexpr Row takeTraffic{1042, "takeTrafficWithTexts:", request(whenSet(keys::withTexts)),
                                 reply(keys::traffic, keys::lost, keys::isComplete)};

/// How far hoardd is with the long request of the same connection: zeros when that is not known.
inline constexpr Row progressOfWork{1047, "progressOfWork", request(), reply(keys::done, keys::total)};

} // namespace wickerlane::protocol

#endif
