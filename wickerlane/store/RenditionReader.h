// The edited renditions of assets, for readers of a library's store.
#ifndef WICKERLANE_STORE_RENDITIONREADER_H
#define WICKERLANE_STORE_RENDITIONREADER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

struct Rendition {
    std::string filename;                   ///< In LibraryPaths::renditionFolder().
    Sha256 sum{};                           ///< Of its bytes.
    std::vector<std::byte> codedProperties; ///< As a property list; may be empty.

    /// What the editor said of it; null when it said nothing.
    [[nodiscard]] WL_EXPORT Ref<Dictionary> properties() const;
};

/// The edited rendition of an asset, if it has one.
[[nodiscard]] WL_EXPORT Result<std::optional<Rendition>> readRendition(sqlite::Database &database,
                                                                       std::string_view uuid);
/// The same, over a connection of its own.
[[nodiscard]] WL_EXPORT Result<std::optional<Rendition>> readRendition(const LibraryPaths &paths,
                                                                       std::string_view uuid);

} // namespace wickerlane::store

#endif
