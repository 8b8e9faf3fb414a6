#include "wickerlane/api/WLEdit.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/ReasonInternal.h"

using namespace wickerlane;

bool WLAssetSetEdit(const WLAsset *asset, WLData *picture, WLDictionary *properties, WLError **error) {
    return waitFor(&JXGatekeeperClient::setLargePreviewImage, error, WLAssetURL(asset), picture, properties);
}

WLURL *WLAssetGetEdit(const WLAsset *asset, WLDictionary **properties, WLError **error) {
    if (properties != nullptr)
        *properties = nullptr;
    if (asset == nullptr)
        return failing<WLURL *>(nullptr, ProblemKind::invalid, noAsset, error);
    const auto edit = sharedClient()->renditionOfAsset(asset->assetURL());
    if (edit && edit->properties && properties != nullptr)
        *properties = autorelease(edit->properties);
    return withLastError(edit && edit->file ? autorelease(edit->file) : nullptr, error);
}

bool WLAssetRevert(const WLAsset *asset, WLError **error) {
    return waitFor(&JXGatekeeperClient::revertAsset, error, WLAssetURL(asset));
}

bool WLAssetsAdjustDates(WLArray *assets, int64_t seconds, WLError **error) {
    return waitFor(&JXGatekeeperClient::adjustDatesBySeconds, error, seconds, assets);
}

bool WLAssetSetExternalUsageIntent(const WLAsset *asset, uint64_t intent, WLError **error) {
    return waitFor(&JXGatekeeperClient::setUsageIntent, error, intent, WLAssetURL(asset));
}

void WLAssetSetExternalUsageIntentWithHandler(const WLAsset *asset, uint64_t intent, WLDoneHandler handler,
                                              void *context, WLReleaseContext release) {
    auto called = handlerOf(handler, context, release);
    if (!called)
        return;
    if (asset == nullptr)
        failLater(std::move(called), noAsset);
    else
        sharedClient()->setExternalUsageIntent(
            intent, asset->assetURL(),
            withReason(std::move(called),
                       "hoardd did not record the use. See that there is such an asset; more is in "
                       "hoardd's log."));
}
