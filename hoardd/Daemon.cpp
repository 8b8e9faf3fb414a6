#include "hoardd/Daemon.h"

#include "hoardd/service/Dispatch.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/protocol/ServiceName.h"

namespace wickerlane::hoardd {

Daemon::Daemon(DaemonOptions options) : settings(options), jobQueue(options.mostJobs) {
}

bool Daemon::start(Handler<void()> ended, std::string &problem) {
    // What one client asks for is done in the order in which it asked; what takes long is handed on.
    listener = MessageListener::create(
        WickerlaneGatekeeperName, WorkQueue::global(),
        [this](ReceivedMessage *message) {
            if (const auto held = noteServing())
                dispatch(*this, Call(message));
        },
        {.idleTime = settings.idleTime, .idle = std::move(ended), .ordersEachPeer = true}, &problem);
    if (!listener)
        return false;
    listener->resume();
    return true;
}

void Daemon::stop() {
    jobQueue.close();
    longJobs.close();
    listener->cancel(); // after the saves, so that they are answered
    {
        std::unique_lock guard(servingLock);
        stopping = true;
        served.wait(guard, [this] { return serving == 0; });
    }
    const std::lock_guard guard(opening);
    if (opened)
        opened->close();
}

std::shared_ptr<void> Daemon::noteServing() {
    const std::lock_guard guard(servingLock);
    if (stopping)
        return nullptr;
    ++serving;
    return {this, [](void *daemon) { static_cast<Daemon *>(daemon)->endServing(); }};
}

void Daemon::endServing() {
    const std::lock_guard guard(servingLock);
    if (--serving == 0)
        served.notify_all();
}

Library *Daemon::library(const Call &call) {
    const std::lock_guard guard(opening);
    if (!opened) {
        std::string problem;
        opened = Library::open(store::LibraryPaths(), problem);
        if (!opened) {
            JX_LOG(JXLogLevelError, JXGenericLog, "%s", problem.c_str());
            call.refuse(problem);
        } else {
            // Beside whatever is asked for.
            static_cast<void>(longJobs.add({[this, library = opened.get()] {
                library->saver().finishDue([this] { return longJobs.isClosed(); });
            }}));
        }
    }
    return opened.get();
}

AccessStatus Daemon::accessOf(const PeerIdentity &peer) const {
    if (const auto decided = ConsentStore::shared().decision(kPVGServicePhotos, peer.executable, peer.user))
        return *decided ? AccessStatus::granted : AccessStatus::denied;
    // The library belongs to whoever owns its root; before there is one, to the user the daemon serves.
    return peer.user == ConsentStore::owner() ? AccessStatus::granted : AccessStatus::notAsked;
}

bool Daemon::isEntitled(const PeerIdentity &peer, const String *entitlement) const {
    return ConsentStore::shared().isEntitled(peer, entitlement->utf8());
}

} // namespace wickerlane::hoardd
