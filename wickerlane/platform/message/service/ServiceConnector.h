// Reaching a named service, whether it runs or not.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICECONNECTOR_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICECONNECTOR_H

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/message/wire/PeerVersion.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane {

enum class ConnectOutcome {
    connected,
    interrupted, ///< It is there but can't serve this client now.
    invalid,     ///< It does not run, and can't be started.
};

struct Connected {
    ConnectOutcome outcome = ConnectOutcome::interrupted;
    UniqueFd socket{};     ///< None unless connected.
    PeerVersion version{}; ///< The service's.
    /// Why the service refuses this client, or why what would start it does not count; else null.
    Ref<MessageError> refusal{};
};

/// Connects to a service, starts it when it does not run, and waits until it has said that it runs. Blocks as
/// long as that takes. Each has then told the other its version. `watch` is called with each socket that is
/// waited on, and with -1 before it is closed: shutting the socket down meanwhile ends the wait. When it
/// returns false, the attempt is over.
[[nodiscard]] Connected connectToService(const char *name, const Handler<bool(int)> &watch);

} // namespace wickerlane

#endif
