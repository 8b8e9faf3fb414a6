// The SQL of an AssetQuery and a TrashQuery.
#ifndef WICKERLANE_STORE_QUERYPLAN_H
#define WICKERLANE_STORE_QUERYPLAN_H

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/model/Trash.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::store {

/// The rest of a statement that begins with `selectAssets`, or with other columns of the same table.
struct Selection {
    using Value = std::variant<std::int64_t, double, std::string>;
    std::string narrowing;
    std::vector<Value> values{}; ///< Of its parameters, in order.

    /// They must stay unchanged until the statement is reset.
    WL_EXPORT void bindTo(sqlite::Statement &statement) const;
};

/// The statements that give the assets of a query from its cursor on, one after the other; each has as many
/// rows as there are. Fails with `invalid` when the query makes no sense.
[[nodiscard]] WL_EXPORT Result<std::vector<Selection>> selectionsFor(const AssetQuery &query,
                                                                     std::string_view storeUUID);

/// The rest of a statement that begins with `selectTrashedAssets`, which gives what a query asks for from its
/// cursor on. Fails with `invalid` when the query makes no sense.
[[nodiscard]] Result<Selection> selectionFor(const TrashQuery &query);

/// Whether an asset is one that the filter asks for, as far as its selections don't say so.
[[nodiscard]] bool isWanted(const AssetRecord &asset, const AssetFilter &filter);

/// The cursor behind an asset.
[[nodiscard]] std::string cursorAfter(const AssetRecord &asset, AssetOrder order);

} // namespace wickerlane::store

#endif
