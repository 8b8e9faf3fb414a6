#include "wickerlane/api/WLTrash.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/ReasonInternal.h"

using namespace wickerlane;

namespace {

constexpr const char *notDone =
    "hoardd did not do it. See that there is such an asset, where it should be; more is in hoardd's log.";

using Done = Handler<void(bool, Error *)>;

void ask(void (JXGatekeeperClient::*operation)(URL *, Done), WLURL *assetURL, Done handler) {
    if (!handler)
        return;
    if (assetURL == nullptr)
        failLater(std::move(handler), noAsset);
    else
        (sharedClient()->*operation)(assetURL, withReason(std::move(handler), notDone));
}

} // namespace

bool WLAssetDelete(const WLAsset *asset, WLError **error) {
    return waitFor(&JXGatekeeperClient::deleteAsset, error, WLAssetURL(asset));
}

void WLAssetDeleteWithHandler(const WLAsset *asset, WLDoneHandler handler, void *context,
                              WLReleaseContext release) {
    ask(&JXGatekeeperClient::deleteAssetWithURL, WLAssetURL(asset), handlerOf(handler, context, release));
}

bool WLTrashRestore(WLURL *assetURL, WLError **error) {
    return waitFor(&JXGatekeeperClient::restoreTrashedAsset, error, assetURL);
}

void WLTrashRestoreWithHandler(WLURL *assetURL, WLDoneHandler handler, void *context,
                               WLReleaseContext release) {
    ask(&JXGatekeeperClient::restoreTrashedAssetWithURL, assetURL, handlerOf(handler, context, release));
}

bool WLTrashRemove(WLURL *assetURL, WLError **error) {
    return waitFor(&JXGatekeeperClient::removeAsset, error, assetURL);
}

void WLTrashRemoveWithHandler(WLURL *assetURL, WLDoneHandler handler, void *context,
                              WLReleaseContext release) {
    ask(&JXGatekeeperClient::removeAssetWithURL, assetURL, handlerOf(handler, context, release));
}

bool WLTrashEmpty(WLError **error) {
    return waitFor(&JXGatekeeperClient::emptyTrash, error);
}

void WLTrashEmptyWithHandler(WLDoneHandler handler, void *context, WLReleaseContext release) {
    if (auto called = handlerOf(handler, context, release))
        sharedClient()->emptyTrashWithHandler(withReason(std::move(called), notDone));
}
