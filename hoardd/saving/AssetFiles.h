// Which files are an asset's.
#ifndef HOARDD_SAVING_ASSETFILES_H
#define HOARDD_SAVING_ASSETFILES_H

#include <string>
#include <string_view>
#include <vector>

#include "hoardd/library/Library.h"

namespace wickerlane::hoardd {

enum class FileOwner {
    none,
    asset,      ///< It is an asset's original, thumbnail or edited rendition.
    unfinished, ///< An asset of the UUID in its name is being saved or removed.
};

/// The UUID that a file's name begins with, in upper case; empty when it begins with none.
[[nodiscard]] std::string uuidInName(const std::string &path);

/// The regular files in a folder whose names begin with an asset's UUID; none when there is no folder.
[[nodiscard]] Result<std::vector<std::string>> filesOfAsset(const std::string &folder, std::string_view uuid);

/// Calls `act`, which gives a result, with whose the file of a path is, and gives that result. It stays so
/// until `act` returns: the asset's lock is held, and a UUID without an asset is reserved.
[[nodiscard]] Result<> withOwnerOf(Library &library, const std::string &path,
                                   const Handler<Result<>(FileOwner)> &act);

/// Moves a file that no asset had into a folder, unless it has become one's or is about to.
[[nodiscard]] Result<> moveStray(Library &library, const std::string &path, const std::string &folder);

} // namespace wickerlane::hoardd

#endif
