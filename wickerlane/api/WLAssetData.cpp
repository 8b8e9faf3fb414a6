#include "wickerlane/api/WLAssetData.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/ReasonInternal.h"
#include "wickerlane/protocol/ImageDataFormats.h"

using namespace wickerlane;

static_assert(WLPictureOriginal == static_cast<int>(protocol::imageDataOriginal));
static_assert(WLPictureSmallJPEG == static_cast<int>(protocol::imageDataSmallJPEG));
static_assert(WLPicturePreviewJPEG == static_cast<int>(protocol::imageDataPreviewJPEG));
static_assert(WLPictureFullJPEG == static_cast<int>(protocol::imageDataFullSizeJPEG));
static_assert(WLPictureFullPNG == static_cast<int>(protocol::imageDataFullSizePNG));
static_assert(WLPictureLargeJPEG == static_cast<int>(protocol::imageDataLargeJPEG));

int WLAssetOpenOriginal(const WLAsset *asset, WLError **error) {
    if (asset == nullptr)
        return failing(-1, ProblemKind::invalid, noAsset, error);
    const int descriptor = sharedClient()->fileDescriptorForAssetURL(asset->assetURL());
    if (descriptor < 0 && client::lastErrorOfThread() == nullptr)
        return failing(-1, ProblemKind::failed, noAnswer, error);
    return withLastError(descriptor, error);
}

WLData *WLAssetCreatePicture(const WLAsset *asset, int picture, WLError **error) {
    if (asset == nullptr)
        return failing<WLData *>(nullptr, ProblemKind::invalid, noAsset, error);
    return createBy(&JXGatekeeperClient::imageDataForAsset, Null::isAFailure, error, asset->objectID(),
                    picture);
}

void WLAssetRequestPicture(const WLAsset *asset, int picture, void (*handler)(void *, WLData *, WLError *),
                           void *context, WLReleaseContext release) {
    auto called = handlerOf(handler, context, release);
    if (!called)
        return;
    if (asset == nullptr) {
        failLater(std::move(called), noAsset);
        return;
    }
    const auto answered = [called = std::move(called)](Data *data, int) {
        called(data, data != nullptr
                         ? nullptr
                         : reasonOf(nullptr, "There is no such picture. More is in hoardd's log.").get());
    };
    sharedClient()->requestImageDataForAsset(asset->objectID(), picture, answered);
}

void WLAssetDownload(const WLAsset *asset, bool withThumbnail, bool isUrgent, bool isKept) {
    if (asset != nullptr)
        sharedClient()->downloadAsset(asset->objectID(), withThumbnail, isUrgent, isKept);
}

void WLAssetShowInCameraPreview(const WLAsset *asset) {
    sharedClient()->updateCameraPreviewWellImage(asset);
}

bool WLAssetsMakeThumbnails(WLArray *assets, bool isForced, bool assignsNewIndex, WLError **error) {
    return waitFor(&JXGatekeeperClient::updateThumbnailsForPhotos, error, assets, true, assignsNewIndex,
                   isForced);
}

void WLAssetsMakeThumbnailsInBackground(WLArray *assets, bool isForced, bool assignsNewIndex) {
    sharedClient()->updateThumbnailsForPhotos(assets, false, assignsNewIndex, isForced);
}

bool WLThumbnailsRebuild(WLError **error) {
    return waitFor(&JXGatekeeperClient::rebuildAllThumbnails, error);
}
