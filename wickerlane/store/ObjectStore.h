// Reading a library's store without going through the daemon.
#ifndef WICKERLANE_STORE_OBJECTSTORE_H
#define WICKERLANE_STORE_OBJECTSTORE_H

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/ManagedAlbum.h"
#include "wickerlane/store/ManagedAsset.h"

namespace wickerlane::store {

/// Which assets, in which order.
struct AssetQuery {
    std::optional<AssetKind> kind{}; ///< All kinds when there is none.
    std::int64_t album = 0;          ///< Only those in that album, by its primary key; 0 for all.
    bool newestFirst = false;        ///< By date of creation, those of one date by age in the library.
    std::size_t offset = 0;          ///< How many of the first to leave out.
    std::size_t limit = std::numeric_limits<std::size_t>::max();
};

/// What has happened to an asset.
struct AssetChange {
    enum class What { added = 0, changed = 1, removed = 2 };
    std::int64_t number = 0; ///< Ascends with each change; never used again.
    double date = 0;         ///< Seconds since 2001-01-01 00:00:00 UTC.
    What what = What::added;
    std::string uuid; ///< Of the asset.
};

struct AssetCounts {
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    std::uint64_t photoBytes = 0; ///< Of the originals.
    std::uint64_t videoBytes = 0;
};

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

    [[nodiscard]] const LibraryPaths &paths() const noexcept { return libraryPaths; }
    /// The identity of this store, which its object IDs carry.
    [[nodiscard]] const std::string &storeUUID() const noexcept { return identity; }

    /// ManagedAssets; null on failure.
    [[nodiscard]] Array *assets(const AssetQuery &query = {});
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
    struct Connection;
    ObjectStore(LibraryPaths paths, std::string uuid, std::unique_ptr<Connection> opened);
    ManagedAsset *assetWithKey(std::int64_t primaryKey);
    ManagedAlbum *albumWhere(std::string_view narrowing, std::string_view value);

    LibraryPaths libraryPaths;
    std::string identity;
    std::unique_ptr<Connection> connection;
};

} // namespace wickerlane::store

#endif
