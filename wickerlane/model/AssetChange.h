// What happens to the assets of a library.
#ifndef WICKERLANE_MODEL_ASSETCHANGE_H
#define WICKERLANE_MODEL_ASSETCHANGE_H

#include <cstdint>
#include <string>
#include <vector>

namespace wickerlane {

/// What has happened to an asset.
struct AssetChange {
    enum class What { added = 0, changed = 1, removed = 2 };
    std::int64_t number = 0; ///< Ascends with each change; given again after an older store was put back.
    double date = 0;         ///< Seconds since 2001-01-01 00:00:00 UTC.
    What what = What::added;
    std::string uuid; ///< Of the asset.
};

/// What has changed since a token was given out, the oldest first. A library remembers its last 10,000
/// changes.
struct ChangesPage {
    std::vector<AssetChange> changes;
    std::string token;  ///< To ask for what changes behind these.
    bool isLast = true; ///< Nothing more has changed yet.
    /// The library no longer knows all that has changed since then, or an older store or that of another
    /// library has taken the place of its store.
    /// List its assets again, and go on with this token. There are no changes then.
    bool isTooOld = false;
};

} // namespace wickerlane

#endif
