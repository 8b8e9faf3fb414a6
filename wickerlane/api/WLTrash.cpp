#include "wickerlane/api/WLTrash.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/PageInternal.h"
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

TrashPageObject *create(const TrashQuery &query, WLError **error) {
    const auto objectsOf = [](TrashPage page) {
        std::vector<Ref<TrashedObject>> objects;
        objects.reserve(page.assets.size());
        for (TrashedAsset &each : page.assets)
            objects.push_back(makeRef<TrashedObject>(std::move(each)));
        return objects;
    };
    return createPage<TrashPageObject>(&JXGatekeeperClient::trashMatchingQuery, query, objectsOf, error);
}

const TrashedObject *trashedAt(const WLTrashPage *page, std::size_t index) {
    return page != nullptr ? page->at(index) : nullptr;
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

WLTrashPage *WLTrashPageCreate(size_t limit, WLError **error) {
    return create({.limit = limit}, error);
}

WLTrashPage *WLTrashPageCreateNext(const WLTrashPage *page, WLError **error) {
    return createNext(page, create, error);
}

size_t WLTrashPageCount(const WLTrashPage *page) {
    return page != nullptr ? page->count() : 0;
}

WLAsset *WLTrashPageGet(const WLTrashPage *page, size_t index) {
    const TrashedObject *trashed = trashedAt(page, index);
    return trashed != nullptr ? trashed->record().asset.get() : nullptr;
}

double WLTrashPageDate(const WLTrashPage *page, size_t index) {
    const TrashedObject *trashed = trashedAt(page, index);
    return trashed != nullptr ? trashed->record().dateTrashed : 0;
}
