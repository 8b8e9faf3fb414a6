#include "hoardd/service/Call.h"

#include <unistd.h>

#include "hoardd/service/Access.h"
#include "hoardd/service/PeerLog.h"
#include "wickerlane/log/JXLog.h"

namespace wickerlane::hoardd {

bool Call::mayReadFiles() const noexcept {
    return peer().user == ::geteuid();
}

void Call::refuse(const Problem &problem) const {
    const PeerLogScope logged(peer().process);
    // Without a reply only the log says so.
    JX_LOG(received->wantsReply() ? JXLogLevelWarning : JXLogLevelError, JXGatekeeperMsgLog,
           "refused %s of process %d: %s", served != nullptr ? served->row->name : "a request",
           peer().process, shownInLog(problem.text).c_str());
    if (!received->wantsReply())
        return;
    if (served != nullptr && served->refusal != nullptr) {
        const bool hasEntitlement =
            served->entitlement == nullptr || isEntitled(peer(), *served->entitlement);
        if (const auto own = served->refusal({problem, hasEntitlement}))
            return answer(*own);
    }
    received->replyError(problem.text, static_cast<std::int64_t>(problem.kind));
}

} // namespace wickerlane::hoardd
