// Reading a library's store without going through the daemon.
#ifndef WICKERLANE_STORE_OBJECTSTORE_H
#define WICKERLANE_STORE_OBJECTSTORE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Listing.h"

namespace wickerlane::store {

class StoreReader;

/// A library's store, open for reading: finds assets, and resolves object IDs. It sees what the daemon has
/// committed at the time of each call, and never blocks or changes the store. Thread-safe; calls on one
/// object take turns. Results are borrowed from the current release scope.
class WL_EXPORT ObjectStore final : public Object, public ObjectIDResolver {
    WL_OBJECT
public:
    /// Opens a library's store; by default, that of the current root. Null, with the reason in `problem` when
    /// that is not null, when there is none yet, or it can't be read, or its model is another version.
    [[nodiscard]] static Ref<ObjectStore> open(const LibraryPaths &paths, std::string *problem = nullptr);
    [[nodiscard]] static Ref<ObjectStore> open(std::string *problem = nullptr) { return open({}, problem); }

    [[nodiscard]] const LibraryPaths &paths() const noexcept;
    /// The identity of this store, which its object IDs carry.
    [[nodiscard]] const std::string &storeUUID() const noexcept;

    /// ManagedAssets; null on failure.
    [[nodiscard]] Array *assets(const Listing &query = {});
    /// Nothing on failure.
    [[nodiscard]] std::optional<AssetCounts> counts();

    // Null when there is no such asset, or on failure.
    [[nodiscard]] ManagedAsset *assetWithUUID(std::string_view uuid); ///< In either case of letters.
    [[nodiscard]] ManagedAsset *assetWithURL(const URL *assetURL);
    [[nodiscard]] ManagedAsset *assetWithObjectID(const ManagedObjectID *objectID);

    /// ManagedAlbums by name; null on failure.
    [[nodiscard]] Array *albums();
    // Null when there is no such album, or on failure.
    [[nodiscard]] ManagedAlbum *albumWithUUID(std::string_view uuid); ///< In either case of letters.
    [[nodiscard]] ManagedAlbum *albumNamed(std::string_view name);

    /// The changes with higher numbers than `since`, oldest first; the store keeps the latest 10,000. Nothing
    /// on failure.
    [[nodiscard]] std::optional<std::vector<AssetChange>> changes(std::int64_t since = 0);

    /// Of the form that this store gives its assets; whether there is one is found out by asking for it.
    ManagedObjectID *managedObjectIDForURI(const char *uri, std::size_t length) override;

    ~ObjectStore() override;

private:
    explicit ObjectStore(std::unique_ptr<StoreReader> opened);
    std::unique_ptr<StoreReader> reader;
};

} // namespace wickerlane::store

#endif
