#include "hoardd/service/OperationFamilies.h"

#include "hoardd/albums/AlbumStore.h"
#include "hoardd/albums/Albums.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/service/Call.h"
#include "wickerlane/protocol/AlbumRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

Result<Answer> addGroup(Library &library, const Call &call) {
    const String *name = call.get(keys::name);
    if (name == nullptr || name->utf8().empty())
        return fail(ProblemKind::invalid, "an album needs a name");
    const auto uuid = makeAlbum(library, name->utf8());
    if (!uuid && uuid.error().kind == ProblemKind::exists)
        return Answer().set(keys::nameTaken, true);
    if (!uuid)
        return fail(uuid.error().kind, "can't make the album: " + uuid.error().text);
    return Answer().set(keys::nameTaken, false).set(keys::groupURL, createAlbumURL(*uuid).get());
}

Result<Answer> addAssetToAlbum(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    const auto album = albumWithUUID(library, call.get(keys::albumUUID)->utf8());
    if (!album)
        return passOn(album);
    if (const auto added = addToAlbum(library, **asset, **album, call.peer().user); !added)
        return passOn(added);
    return Answer().set(keys::success, true);
}

Result<Answer> renameAlbum(Library &library, const Call &call) {
    return whenDone(renameAlbum(library, call.get(keys::albumUUID)->utf8(), call.get(keys::name)->utf8()));
}

Result<Answer> deleteAlbum(Library &library, const Call &call) {
    return whenDone(deleteAlbum(library, call.get(keys::albumUUID)->utf8()));
}

Result<Answer> removeFromAlbum(Library &library, const Call &call) {
    const auto *photos = as<Array>(call.get(keys::photoUUIDs));
    const auto uuids = uuidsIn(photos);
    if (!uuids)
        return passOn(uuids);
    return whenDone(removeFromAlbum(library, *uuids, call.get(keys::albumUUID)->utf8()));
}

Result<Answer> setExternalUsageIntent(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    const auto noted = library.writer().setExternalUsageIntent((*asset)->record().primaryKey,
                                                               call.get(keys::externalUsageIntent));
    if (!noted)
        return passOn(noted);
    return Answer().set(keys::success, true);
}

Result<Answer> recalculateCachedAlbumCounts(Library &library, const Call &) {
    return whenDone(library.writer().change(recountAlbums));
}

Result<Answer> automaticallyDeleteEmptyAlbum(Library &library, const Call &call) {
    const auto album = keyOfObject(library, call.value(keys::albumOID), albumEntity);
    if (!album)
        return passOn(album);
    return whenDone(deleteAlbumIfEmpty(library, *album));
}

constexpr Operation operations[] = {
    {&protocol::addGroup, addGroup},
    {.row = &protocol::addAssetToAlbum, .handler = addAssetToAlbum, .refusal = bySuccess},
    {&protocol::renameAlbum, renameAlbum},
    {&protocol::deleteAlbum, deleteAlbum},
    {&protocol::removeFromAlbum, removeFromAlbum},
    {.row = &protocol::setExternalUsageIntent, .handler = setExternalUsageIntent, .refusal = bySuccess},
    {&protocol::recalculateCachedAlbumCounts, recalculateCachedAlbumCounts},
    {&protocol::automaticallyDeleteEmptyAlbum, automaticallyDeleteEmptyAlbum},
};

} // namespace

std::span<const Operation> albumOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
