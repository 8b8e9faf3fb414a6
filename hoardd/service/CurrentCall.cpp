#include "hoardd/service/CurrentCall.h"

#include <unordered_map>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"

namespace wickerlane::hoardd {
namespace {

thread_local constinit CurrentCall *callOfThread = nullptr;

/// Of the calls that have said how far they are.
struct Reports {
    struct Report {
        const MessagePeer *peer = nullptr;
        WorkDone done;
    };
    Mutex mutex;
    std::unordered_map<const CurrentCall *, Report> all WL_GUARDED_BY(mutex);
};

Reports &reports() {
    static NeverDestroyed<Reports> object;
    return *object;
}

} // namespace

CurrentCall::CurrentCall(ReceivedMessage *received) noexcept : message(received), outer(callOfThread) {
    callOfThread = this;
}

CurrentCall::~CurrentCall() {
    callOfThread = outer;
    if (!isReported)
        return;
    const MutexLock lock(reports().mutex);
    reports().all.erase(this);
}

bool CurrentCall::isCancelled() {
    return callOfThread != nullptr && callOfThread->message->isCancelled();
}

void CurrentCall::report(WorkDone done) {
    if (callOfThread == nullptr)
        return;
    callOfThread->isReported = true;
    const MutexLock lock(reports().mutex);
    reports().all[callOfThread] = {callOfThread->message->peer(), done};
}

WorkDone CurrentCall::doneFor(const MessagePeer *peer) {
    const MutexLock lock(reports().mutex);
    for (const auto &[call, report] : reports().all)
        if (report.peer == peer)
            return report.done;
    return {};
}

} // namespace wickerlane::hoardd
