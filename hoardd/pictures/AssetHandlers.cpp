// Asset files and their pictures.
#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "hoardd/Daemon.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ServedImage.h"
#include "hoardd/saving/FileType.h"
#include "hoardd/service/Handlers.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

using namespace protocol;
using store::ManagedAsset;

namespace {

/// The asset that a call names by its URL. Null, and the call answered, when there is none.
ManagedAsset *assetNamedBy(Library *library, const Call &call) {
    if (library == nullptr)
        return nullptr;
    ManagedAsset *asset = library->assets().assetWithURL(call.get(keys::assetURL));
    if (asset == nullptr)
        call.refuse("there is no such asset");
    return asset;
}

} // namespace

void fileDescriptorForAssetURL(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    const ManagedAsset *asset = assetNamedBy(library, call);
    if (asset == nullptr)
        return;
    const UniqueFd original = openFile(library->paths().original(asset->record()), O_RDONLY);
    if (!original)
        return call.refuse(std::string("the asset's file can't be opened: ") + std::strerror(errno));
    call.answer(Answer().set(keys::fileDescriptor, original.get()));
}

void fileURLForAssetURL(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    const ManagedAsset *asset = assetNamedBy(library, call);
    if (asset == nullptr)
        return;
    const std::string rendition =
        call.get(keys::withAdjustments) ? Renditions(*library).pathOf(asset->record()) : std::string();
    call.answer(Answer().set(keys::fileURL, rendition.empty() ? asset->fileURL() : URL::ofPath(rendition)));
}

void fileURLForNewAsset(Daemon &daemon, const Call &call) {
    if (call.get(keys::assetType) > 1)
        return call.refuse("assetType is neither 0 (photo) nor 1 (video)");
    const std::string_view extension = call.get(keys::extension)->utf8();
    if (!isPlainExtension(extension))
        return call.refuse("an extension is 1 to 16 letters and digits");
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    // A UUID reserves the name: it is given once only.
    const auto uuid = UUID::createRandom();
    std::string path = library->paths().incoming() + '/';
    path.append(uuid->uuidString()->utf8()).append(".").append(extension);
    call.answer(Answer().set(keys::url, URL::ofPath(path)));
}

void imageDataForAsset(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const ManagedAsset *asset = library->assets().assetWithObjectID(
        JXManagedObjectIDFromMsgValue(call.value(keys::objectID), &library->assets()));
    if (asset == nullptr)
        return call.refuse("there is no such asset");
    const ServedImage image = imageOf(*library, *asset, call.get(keys::format));
    if (!image.value)
        return call.refuse(image.problem);
    call.answer(Answer().setValue(keys::imageData, image.value.get()));
}

} // namespace wickerlane::hoardd
