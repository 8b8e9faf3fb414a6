#include "wickerlane/api/WLDaemon.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/ReasonInternal.h"

using namespace wickerlane;

void WLRequestAccess(WLDoneHandler handler, void *context, WLReleaseContext release) {
    if (auto called = handlerOf(handler, context, release))
        sharedClient()->requestAccessWithHandler(withReason(std::move(called), noAnswer));
}

bool WLHasAccess(WLError **error) {
    return waitFor(&JXGatekeeperClient::requestAccess, error);
}

void WLLaunchDaemon() {
    sharedClient()->launchHoardd();
}

void WLWaitUntilSent() {
    sharedClient()->waitUntilConnectionSendsAllMessages();
}
