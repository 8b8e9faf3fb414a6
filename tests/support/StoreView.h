// What a library's store holds, for tests that look behind the daemon.
#ifndef TESTS_SUPPORT_STOREVIEW_H
#define TESTS_SUPPORT_STOREVIEW_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/store/StoreReader.h"

namespace wickerlane::test {

/// Results are borrowed from the current release scope. What can't be read is null or nothing.
class StoreView {
public:
    /// Of the library below the current root; null when there is none that can be read.
    [[nodiscard]] static std::unique_ptr<StoreView> open(const store::LibraryPaths &paths = {});

    [[nodiscard]] const std::string &storeUUID() const noexcept { return reader->storeUUID(); }
    /// At most 10,000, in the order of date.
    [[nodiscard]] Array *assets(const AssetFilter &filter = {}) const;
    [[nodiscard]] std::optional<store::AssetCounts> counts() const;
    [[nodiscard]] ManagedAsset *assetWithUUID(std::string_view uuid) const;
    [[nodiscard]] ManagedAsset *assetWithURL(const URL *assetURL) const;
    [[nodiscard]] ManagedAsset *assetWithObjectID(const ManagedObjectID *objectID) const;
    [[nodiscard]] Array *albums() const;
    [[nodiscard]] ManagedAlbum *albumWithUUID(std::string_view uuid) const;
    [[nodiscard]] ManagedAlbum *albumNamed(std::string_view name) const;
    /// Those since a token, the oldest first.
    [[nodiscard]] std::optional<std::vector<AssetChange>> changes(const std::string &token = {}) const;

private:
    std::unique_ptr<store::StoreReader> reader;
};

} // namespace wickerlane::test

#endif
