#include "hoardd/pictures/AssetHandlers.h"

#include <fcntl.h>

#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/ServedImage.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

Result<Answer> fileDescriptorForAssetURL(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    const std::string path = library.paths().original((*asset)->record());
    const UniqueFd original = openFile(path, O_RDONLY);
    if (!original)
        return failSystem("open", path);
    return Answer().set(keys::fileDescriptor, original.get());
}

Result<Answer> fileURLForAssetURL(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    const std::string rendition =
        call.get(keys::withAdjustments) ? Renditions(library).pathOf((*asset)->record()) : std::string();
    return Answer().set(keys::fileURL, rendition.empty() ? (*asset)->fileURL() : URL::ofPath(rendition));
}

Result<Answer> imageDataForAsset(Library &library, const Call &call) {
    const auto asset = assetWithObjectID(library, call.value(keys::objectID));
    if (!asset)
        return passOn(asset);
    const ServedImage image = imageOf(library, **asset, call.get(keys::format));
    if (!image.value)
        return fail(ProblemKind::failed, image.problem);
    return Answer().setValue(keys::imageData, image.value.get());
}

constexpr Operation operations[] = {
    {&protocol::fileDescriptorForAssetURL, fileDescriptorForAssetURL},
    {&protocol::fileURLForAssetURL, fileURLForAssetURL},
    {&protocol::imageDataForAsset, imageDataForAsset, Runs::beside},
};

} // namespace

std::span<const Operation> assetOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
