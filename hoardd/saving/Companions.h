// The second file of a shot, which is kept with the first as one asset.
#ifndef HOARDD_SAVING_COMPANIONS_H
#define HOARDD_SAVING_COMPANIONS_H

#include <optional>
#include <string>
#include <string_view>

#include "hoardd/library/Library.h"
#include "hoardd/library/StagedFile.h"

namespace wickerlane::hoardd {

/// A companion on its way to its place.
struct StagedCompanion {
    StagedFile file; ///< Sealed and closed.
    store::Companion row;
    bool isPlaced = false; ///< It has been moved to its place, so that `file` is empty.
};

/// Copies the second file of a shot, which came from a path, into a folder.
[[nodiscard]] Result<StagedCompanion> stageCompanion(int source, std::string_view path, std::string_view uuid,
                                                     const std::string &folder);

/// Puts it into its place, which survives a crash.
[[nodiscard]] Result<> placeCompanion(const store::LibraryPaths &paths, StagedCompanion &companion,
                                      std::string_view uuid);

enum class CompanionOutcome {
    none,       ///< The asset does not have it.
    wasSaved,   ///< It does now.
    wasPresent, ///< It did before.
};
/// Gives an asset of the library a companion, unless it has one: if hoardd is killed, the next one finishes
/// this. Blocks.
[[nodiscard]] Result<CompanionOutcome> attachCompanion(Library &library, const std::string &uuid,
                                                       StagedCompanion &companion);

/// The file in the place of an asset's companion, whether the store knows of it or not; nothing when there is
/// none.
[[nodiscard]] Result<std::optional<store::Companion>> companionOnDisk(const store::LibraryPaths &paths,
                                                                      const std::string &uuid);
/// Gives an asset without a companion the one that is on disk, if there is one.
[[nodiscard]] Result<> adoptCompanion(Library &library, const std::string &uuid);

/// Removes the companion's file of a UUID that has no row.
[[nodiscard]] Result<> removeCompanion(const store::LibraryPaths &paths, const std::string &uuid);

} // namespace wickerlane::hoardd

#endif
