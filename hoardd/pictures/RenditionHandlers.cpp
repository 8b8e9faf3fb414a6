// Edited renditions, thumbnails, the camera's preview well.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ServedImage.h"
#include "hoardd/service/Handlers.h"
#include "hoardd/service/LongWork.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/Entitlements.h"
#include "wickerlane/store/AssetURL.h"

namespace wickerlane::hoardd {

using namespace protocol;
using store::ManagedAsset;

// Comes twice for one call of a client: the second time there is nothing left to do.
void setLargePreviewImage(Daemon &daemon, const Call &call) {
    if (!daemon.isEntitled(call.peer(), JXWriteAssetsEntitlement))
        return call.answer(Answer().set(keys::success, false).set(keys::hasEntitlement, false));
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const Ref<ManagedAsset> asset = library->assets().assetWithURL(call.get(keys::assetURL));
    if (!asset)
        return call.refuse("there is no such asset");
    if (call.value(keys::properties) != nullptr && as<Dictionary>(call.get(keys::properties)) == nullptr)
        return call.refuse("properties is not a dictionary");
    runJob(daemon, call, [call, library, asset] {
        const Data *picture = call.get(keys::imageData);
        std::string problem = "the picture is empty";
        if (picture != nullptr && picture->length() != 0)
            problem = Renditions(*library).set(asset->record(), *picture,
                                               as<Dictionary>(call.get(keys::properties)));
        if (!problem.empty())
            JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't set the rendition of %@: %s", asset->uuid(),
                   problem.c_str());
        call.answer(Answer().set(keys::success, problem.empty()).set(keys::hasEntitlement, true));
    });
}

void updateThumbnails(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    if (as<Array>(call.get(keys::photoUUIDs)) == nullptr)
        return call.refuse("photoUUIDs is not an array");
    runJob(daemon, call, [call, library] {
        const auto *uuids = as<Array>(call.get(keys::photoUUIDs));
        const bool force = call.get(keys::forceRefresh), newIndex = call.get(keys::assignNewIndex);
        for (std::size_t i = 0; uuids != nullptr && i < uuids->count(); ++i) {
            ReleaseScope scope;
            const auto *uuid = as<String>(uuids->at(i));
            const ManagedAsset *asset =
                uuid != nullptr ? library->assets().assetWithUUID(uuid->utf8()) : nullptr;
            if (asset == nullptr || !asset->record().problem.empty())
                continue; // what can't be decoded has none
            const std::string problem = Renditions(*library).makeThumbnails(asset->record(), force, newIndex);
            if (!problem.empty())
                JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %@: %s", uuid,
                       problem.c_str());
        }
        call.answer(Answer());
    });
}

void updateCameraPreviewWell(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const std::string path = library->paths().previewWell();
    const String *uri = call.get(keys::objectIDText);
    if (uri == nullptr) {
        if (::unlink(path.c_str()) != 0 && errno != ENOENT)
            return call.refuse("can't clear " + path + ": " + std::strerror(errno));
        return call.answer(Answer());
    }
    const std::string text(uri->utf8());
    const ManagedAsset *asset = library->assets().assetWithObjectID(
        library->assets().managedObjectIDForURI(text.c_str(), text.size()));
    if (asset == nullptr)
        return call.refuse("there is no such asset");
    const UniqueFd thumbnail =
        openFile(library->paths().thumbnail(asset->record().uuid, store::ThumbnailSize::small), O_RDONLY);
    std::vector<std::byte> bytes;
    constexpr std::size_t mostBytes = 4 << 20; // far above any picture of 256 pixels a side
    if (!thumbnail ||
        !readFile(library->paths().thumbnail(asset->record().uuid, store::ThumbnailSize::small), bytes,
                  mostBytes) ||
        !replaceFile(path, bytes))
        return call.refuse("can't show the asset: " + std::string(std::strerror(errno)));
    call.answer(Answer());
}

// A library without a cloud has all its originals, so that nothing is ever fetched; a thumbnail that is
// missing can still be made.
void downloadAsset(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const Ref<ManagedAsset> asset = library->assets().assetWithObjectID(
        JXManagedObjectIDFromMsgValue(call.value(keys::objectID), &library->assets()));
    if (!asset)
        return call.refuse("there is no such asset");
    if (::access(library->paths().original(asset->record()).c_str(), R_OK) != 0)
        return call.refuse("the original is missing, and there is no cloud to fetch it from");
    if (!call.get(keys::requestThumbnail) || !asset->record().problem.empty())
        return call.answer(Answer());
    runJob(daemon, call, [call, library, asset] {
        call.finish(Renditions(*library).makeThumbnails(asset->record(), false, false));
    });
}

} // namespace wickerlane::hoardd
