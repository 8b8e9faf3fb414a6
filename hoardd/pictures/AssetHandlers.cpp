#include "hoardd/service/OperationFamilies.h"

#include <fcntl.h>

#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/ServedImage.h"
#include "hoardd/pictures/ShownPicture.h"
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
    if (!call.get(keys::withAdjustments))
        return Answer().set(keys::fileURL, (*asset)->fileURL());
    const auto path = shownPicturePath(library, (*asset)->record());
    if (!path)
        return passOn(path);
    return Answer().set(keys::fileURL, URL::ofPath(*path));
}

Result<Answer> imageDataForAsset(Library &library, const Call &call) {
    const auto asset = assetWithObjectID(library, call.value(keys::objectID));
    if (!asset)
        return passOn(asset);
    const auto image = imageOf(library, (*asset)->record(), call.get(keys::format));
    if (!image)
        return passOn(image);
    return Answer().setValue(keys::imageData, image->get());
}

constexpr Operation operations[] = {
    reading(protocol::fileDescriptorForAssetURL, fileDescriptorForAssetURL),
    reading(protocol::fileURLForAssetURL, fileURLForAssetURL),
    reading(protocol::imageDataForAsset, imageDataForAsset, Runs::beside),
};

} // namespace

std::span<const Operation> assetOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
