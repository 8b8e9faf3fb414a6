// Finding what a request names, or the problem that it isn't there or can't be read.
#ifndef HOARDD_LIBRARY_LOOKUP_H
#define HOARDD_LIBRARY_LOOKUP_H

#include <string_view>
#include <vector>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Array.h"

namespace wickerlane::hoardd {

// An asset by its persistent URL, its object ID or its UUID; a null URL, ID or text names none.

[[nodiscard]] Result<Ref<ManagedAsset>> assetWithURL(Library &library, const URL *url);
/// `objectID` is the value that travels.
[[nodiscard]] Result<Ref<ManagedAsset>> assetWithObjectID(Library &library, MessageValue *objectID);
[[nodiscard]] Result<Ref<ManagedAsset>> assetWithURI(Library &library, std::string_view uri);
[[nodiscard]] Result<Ref<ManagedAsset>> assetWithUUID(Library &library, std::string_view uuid);

/// Fails when there is no asset of a UUID as the store is now: for those that hold its lock.
[[nodiscard]] Result<> requireAsset(Library &library, std::string_view uuid);

/// The UUIDs of 1 to 10,000 assets that a request lists; they live as long as the list.
[[nodiscard]] Result<std::vector<std::string_view>> uuidsIn(const Array *photos);

[[nodiscard]] Result<Ref<ManagedAlbum>> albumWithUUID(Library &library, std::string_view uuid);

/// The primary key of a moment, a list of moments or an album, by the value of its object ID that travels.
[[nodiscard]] Result<std::int64_t> keyOfObject(Library &library, const MessageValue *objectID,
                                               std::string_view entity);

} // namespace wickerlane::hoardd

#endif
