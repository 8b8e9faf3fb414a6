#include "hoardd/service/OperationFamilies.h"

#include <limits>

#include "hoardd/library/Lookup.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/saving/Trash.h"
#include "hoardd/service/Call.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

Answer done() {
    return Answer().set(keys::success, true).set(keys::hasEntitlement, true);
}

std::string uuidIn(const Call &call) {
    return std::string(uuidOfAssetURL(call.get(keys::assetURL)));
}

Result<Answer> deleteAsset(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    return trashAsset(library, (*asset)->record()).map(done);
}

Result<Answer> removeAsset(Library &library, const Call &call) {
    const auto trashed = library.assets().trashedWithUUID(uuidIn(call));
    if (!trashed)
        return passOn(trashed);
    if (trashed->asset)
        return removeAsset(library, trashed->asset->record(), AssetPlace::trash).map(done);
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    return removeAsset(library, (*asset)->record()).map(done);
}

Result<Answer> restoreTrashedAsset(Library &library, const Call &call) {
    return restoreFromTrash(library, uuidIn(call)).map(done);
}

Result<Answer> emptyWholeTrash(Library &library, const Call &) {
    return emptyTrash(library, std::numeric_limits<double>::max()).map(done);
}

constexpr Operation deletion(const protocol::Row &row, LibraryHandler handler, Runs runs = Runs::beside) {
    return {.row = &row,
            .handler = handler,
            .runs = runs,
            .entitlement = &JXDeleteAssetsEntitlement,
            .refusal = bySuccessAndEntitlement};
}

constexpr Operation operations[] = {
    deletion(protocol::deleteAsset, deleteAsset),
    deletion(protocol::removeAsset, removeAsset),
    deletion(protocol::restoreTrashedAsset, restoreTrashedAsset),
    deletion(protocol::emptyTrash, emptyWholeTrash, Runs::longWork),
};

} // namespace

std::span<const Operation> trashOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
