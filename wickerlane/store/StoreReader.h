// Reading a library's store without going through the daemon, for code that says why it can't.
#ifndef WICKERLANE_STORE_STOREREADER_H
#define WICKERLANE_STORE_STOREREADER_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/model/Trash.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::sqlite {
class Statement;
}

namespace wickerlane::store {

struct AssetCounts {
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    std::uint64_t photoBytes = 0; ///< Of the originals.
    std::uint64_t videoBytes = 0;
};

/// What hoardd finds in its library, and ObjectStore resolves object IDs by. It sees what the daemon has
/// committed at the time of each call, and never blocks or changes the store. Thread-safe; calls on one
/// reader take turns.
class WL_EXPORT StoreReader final : public ObjectIDResolver {
public:
    /// Kinds of problems: notFound when there is no store yet, refused when its permissions forbid reading,
    /// newerVersion, damagedStore, and those of the system.
    [[nodiscard]] static Result<std::unique_ptr<StoreReader>> open(const LibraryPaths &paths);

    [[nodiscard]] const LibraryPaths &paths() const noexcept { return libraryPaths; }
    /// The identity of this store, which its object IDs carry.
    [[nodiscard]] const std::string &storeUUID() const noexcept { return identity; }

    [[nodiscard]] Result<AssetCounts> counts();

    /// Records instead of assets.
    struct Page {
        std::vector<AssetRecord> records;
        std::string next; ///< As in AssetPage.
    };
    /// Kinds of problems: also `invalid` when the query makes no sense.
    [[nodiscard]] Result<Page> page(const wickerlane::AssetQuery &query);
    /// In the order of date, the first first or the last first.
    [[nodiscard]] Result<std::vector<AssetSection>> sections(const AssetFilter &filter, SectionUnit unit,
                                                             bool isDescending);
    /// How many assets a filter asks for. A row that a check finds to be damaged counts.
    [[nodiscard]] Result<std::uint64_t> count(const AssetFilter &filter);

    // Null when there is no such asset.
    [[nodiscard]] Result<Ref<ManagedAsset>>
    assetWithUUID(std::string_view uuid); ///< In either case of letters.
    [[nodiscard]] Result<Ref<ManagedAsset>> assetWithURL(const URL *assetURL);
    [[nodiscard]] Result<Ref<ManagedAsset>> assetWithObjectID(const ManagedObjectID *objectID);
    [[nodiscard]] Result<Ref<ManagedAsset>> assetWithURI(std::string_view uri); ///< Of its object ID.

    /// What is in the trash, the latest first. Nothing else here finds these assets.
    [[nodiscard]] Result<std::vector<TrashedAsset>> trash();
    struct TrashedPage {
        std::vector<TrashedRecord> records;
        std::string next; ///< As in TrashPage.
    };
    [[nodiscard]] Result<TrashedPage> trash(const TrashQuery &query);
    /// Of a UUID, in either case of letters; no asset when there is none.
    [[nodiscard]] Result<TrashedAsset> trashedWithUUID(std::string_view uuid);

    /// By name.
    [[nodiscard]] Result<std::vector<Ref<ManagedAlbum>>> albums();
    /// In either case of letters; null when there is no such album.
    [[nodiscard]] Result<Ref<ManagedAlbum>> albumWithUUID(std::string_view uuid);

    /// The changes since a token, the oldest first; all that the store knows, which keeps the latest 10,000,
    /// since an empty one. At most `limit`: with 0, the token
    /// of the present. A number alone is the token behind the change with that number. Fails with `invalid`
    /// when the token is none.
    [[nodiscard]] Result<ChangesPage> changesSince(std::string_view token, std::size_t limit);

    /// Of the form that this store gives its assets; whether there is one is found out by asking for it.
    ManagedObjectID *managedObjectIDForURI(const char *uri, std::size_t length) override;

    ~StoreReader() override;

private:
    struct Connection;
    StoreReader(LibraryPaths paths, std::string uuid, std::unique_ptr<Connection> opened);
    [[nodiscard]] Ref<ManagedAsset> assetOf(AssetRecord record) const;
    [[nodiscard]] Failure failToList() const;
    [[nodiscard]] TrashedAsset readTrashed(const sqlite::Statement &row) const;
    template <class Value>
    [[nodiscard]] Result<Ref<ManagedAsset>> assetWhere(std::string_view narrowing, const Value &value);

    LibraryPaths libraryPaths;
    std::string identity;
    std::unique_ptr<Connection> connection;
};

} // namespace wickerlane::store

#endif
