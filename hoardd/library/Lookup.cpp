#include "hoardd/library/Lookup.h"

#include "wickerlane/message/JXMsgUtilities.h"

namespace wickerlane::hoardd {

namespace {

constexpr const char *noSuchAsset = "there is no such asset";

template <class Found>
Result<Ref<Found>> orMissing(Result<Ref<Found>> found, const char *what) {
    if (found && !*found)
        return fail(ProblemKind::notFound, what);
    return found;
}

Result<Ref<ManagedAsset>> orNoAsset(Result<Ref<ManagedAsset>> found) {
    return orMissing(std::move(found), noSuchAsset);
}

} // namespace

Result<Ref<ManagedAsset>> assetWithURL(Library &library, const URL *url) {
    return orNoAsset(library.assets().assetWithURL(url));
}

Result<Ref<ManagedAsset>> assetWithObjectID(Library &library, MessageValue *objectID) {
    return orNoAsset(
        library.assets().assetWithObjectID(JXManagedObjectIDFromMsgValue(objectID, &library.assets())));
}

Result<Ref<ManagedAsset>> assetWithURI(Library &library, std::string_view uri) {
    return orNoAsset(library.assets().assetWithURI(uri));
}

Result<Ref<ManagedAsset>> assetWithUUID(Library &library, std::string_view uuid) {
    return orNoAsset(library.assets().assetWithUUID(uuid));
}

Result<> requireAsset(Library &library, std::string_view uuid) {
    const auto isThere = library.writer().contains(uuid);
    if (!isThere)
        return passOn(isThere);
    if (!*isThere)
        return fail(ProblemKind::notFound, noSuchAsset);
    return {};
}

Result<std::vector<std::string_view>> uuidsIn(const Array *photos) {
    constexpr std::size_t maxPhotos = 10'000;
    if (photos == nullptr || photos->count() < 1 || photos->count() > maxPhotos)
        return fail(ProblemKind::invalid, "photoUUIDs must name 1 to 10000 assets");
    std::vector<std::string_view> uuids;
    for (const Object *each : *photos) {
        const auto *uuid = as<String>(each);
        if (uuid == nullptr)
            return fail(ProblemKind::invalid, "photoUUIDs must hold texts");
        uuids.push_back(uuid->utf8());
    }
    return uuids;
}

Result<Ref<ManagedAlbum>> albumWithUUID(Library &library, std::string_view uuid) {
    return orMissing(library.assets().albumWithUUID(uuid), "there is no such album");
}

Result<std::int64_t> keyOfObject(Library &library, const MessageValue *objectID, std::string_view entity) {
    const auto *uri = as<MessageData>(objectID);
    const std::int64_t key = uri != nullptr
                                 ? primaryKeyInURI({static_cast<const char *>(uri->bytes()), uri->length()},
                                                   library.assets().storeUUID(), entity)
                                 : 0;
    if (key == 0)
        return fail(ProblemKind::notFound,
                    "the object ID is not that of a " + std::string(entity) + " of this library");
    return key;
}

} // namespace wickerlane::hoardd
