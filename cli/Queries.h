// What the daemon says is in the library.
#ifndef CLI_QUERIES_H
#define CLI_QUERIES_H

#include <string>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::cli {

/// Calls `use` with the assets that a query asks for, page by page, from the `offset`-th on and at most
/// `limit` of them. Memory for one page is held at a time.
Result<> forEachAsset(AssetQuery query, std::size_t offset, std::size_t limit,
                      const Handler<void(const ManagedAsset &)> &use);

/// An album by its name or UUID.
Result<Ref<ManagedAlbum>> askForAlbum(const std::string &name);

/// What has changed since a token: JXGatekeeperClient::changesSinceToken().
Result<ChangesPage> askForChanges(const std::string &token);

} // namespace wickerlane::cli

#endif
