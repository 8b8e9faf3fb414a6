// Who may use the library.
#ifndef HOARDD_SERVICE_ACCESS_H
#define HOARDD_SERVICE_ACCESS_H

#include <cstdint>
#include <optional>

#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::hoardd {

/// What travels under "authorized".
enum class AccessStatus : std::int64_t {
    granted = 0,
    denied = 1,   ///< By a decision, or to a program of foreign namespaces.
    notAsked = 2, ///< Not decided yet.
};

/// Of the executable and the user that the kernel names.
[[nodiscard]] AccessStatus accessOf(const PeerIdentity &peer);
/// The same, if the file system need not be asked for it.
[[nodiscard]] std::optional<AccessStatus> knownAccessOf(const PeerIdentity &peer);
[[nodiscard]] bool isEntitled(const PeerIdentity &peer, const String *entitlement);

} // namespace wickerlane::hoardd

#endif
