// What was deleted and can still be had again.
#ifndef WICKERLANE_MODEL_TRASH_H
#define WICKERLANE_MODEL_TRASH_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane {

/// How long an asset stays in the trash, in seconds.
inline constexpr double trashLifetime = 30 * 86'400;

struct TrashedRecord {
    AssetRecord asset;
    double dateTrashed = 0; ///< Seconds since 2001-01-01 00:00:00 UTC.
};

/// The same, as an object.
struct TrashedAsset {
    Ref<ManagedAsset> asset;
    double dateTrashed = 0;
};

/// A page of what is in the trash, the latest first.
struct TrashQuery {
    std::size_t limit = 500; ///< At most 10,000.
    std::string cursor{};    ///< The `next` of the page before; empty at the start.
    /// Those of these UUIDs alone: at most 10,000.
    std::optional<std::vector<std::string>> uuids{};
};

struct TrashPage {
    std::vector<TrashedAsset> assets;
    std::string next; ///< The cursor of the page that follows; empty when this is the last.
};

} // namespace wickerlane

#endif
