#include "wickerlane/api/WLAssetData.h"

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/ImageDataFormats.h"

using namespace wickerlane;

static_assert(WLPictureOriginal == static_cast<int>(protocol::imageDataOriginal));
static_assert(WLPictureSmallJPEG == static_cast<int>(protocol::imageDataSmallJPEG));
static_assert(WLPicturePreviewJPEG == static_cast<int>(protocol::imageDataPreviewJPEG));
static_assert(WLPictureFullJPEG == static_cast<int>(protocol::imageDataFullSizeJPEG));
static_assert(WLPictureFullPNG == static_cast<int>(protocol::imageDataFullSizePNG));
static_assert(WLPictureLargeJPEG == static_cast<int>(protocol::imageDataLargeJPEG));

namespace {

constexpr const char *noAsset = "there is no asset";
constexpr const char *noAnswer = "hoardd's answer can't be read: is it another version?";

} // namespace

int WLAssetOpenOriginal(const WLAsset *asset, WLError **error) {
    if (asset == nullptr)
        return failing(-1, ProblemKind::invalid, noAsset, error);
    const int descriptor = JXGatekeeperClient::sharedInstance()->fileDescriptorForAssetURL(asset->assetURL());
    if (descriptor < 0 && client::lastErrorOfThread() == nullptr)
        return failing(-1, ProblemKind::failed, noAnswer, error);
    return withLastError(descriptor, error);
}

WLData *WLAssetCreatePicture(const WLAsset *asset, int picture, WLError **error) {
    if (asset == nullptr)
        return failing<WLData *>(nullptr, ProblemKind::invalid, noAsset, error);
    Ref<Data> data;
    {
        ReleaseScope scope; // a program that loops over its assets need not keep all pictures
        data = JXGatekeeperClient::sharedInstance()->imageDataForAsset(asset->objectID(), picture);
    }
    if (!data && client::lastErrorOfThread() == nullptr)
        return failing<WLData *>(nullptr, ProblemKind::failed, noAnswer, error);
    return withLastError(data.leak(), error);
}
