#include "hoardd/service/Call.h"

#include <unistd.h>

#include "wickerlane/log/JXLog.h"

namespace wickerlane::hoardd {

bool Call::mayReadFiles() const noexcept {
    return peer().user == ::geteuid();
}

void Call::refuse(const Problem &problem, bool isEntitled) const {
    JX_LOG(JXLogLevelWarning, JXGatekeeperMsgLog, "refused %s of process %d: %s",
           served != nullptr ? served->row->name : "a request", peer().process, problem.text.c_str());
    if (!received->wantsReply())
        return;
    const SayNo sayNo = served != nullptr ? served->sayNo : nullptr;
    if (const auto own = sayNo != nullptr ? sayNo({problem, isEntitled}) : std::nullopt)
        answer(*own);
    else
        received->replyError(problem.text); // its kind as well
}

} // namespace wickerlane::hoardd
