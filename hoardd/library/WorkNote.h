// Work on an asset's files that a check must not mistake for a fault, and that a kill must not leave half
// done.
#ifndef HOARDD_LIBRARY_WORKNOTE_H
#define HOARDD_LIBRARY_WORKNOTE_H

#include <optional>
#include <string>
#include <utility>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::hoardd {

enum class Work {
    rendition,        ///< An edited rendition takes its place before its row is committed.
    companion,        ///< The same of a companion that an asset gets.
    removal,          ///< The asset goes, with all its files.
    removalFromTrash, ///< The same of one in the trash.
};

/// A small file in the library's Saving folder, which goes with this object unless it is kept. Like all in
/// that folder its name begins with the asset's UUID: a check of the library leaves the files of such assets
/// alone, and recoverSaves() looks after those that a kill left behind.
class WorkNote {
public:
    /// The note of a removal survives a crash from here on, since it alone says that the files are to go.
    [[nodiscard]] static Result<WorkNote> write(const store::LibraryPaths &paths,
                                                const store::AssetRecord &asset, Work work);
    WorkNote(WorkNote &&other) noexcept : path(std::exchange(other.path, {})) {}
    WorkNote &operator=(WorkNote &&) = delete;
    ~WorkNote();

    /// The next recoverSaves() is to find it.
    void keep() noexcept { path.clear(); }

    /// The work that a file in the Saving folder notes, and the name of the asset's original; nothing when it
    /// is no note.
    struct Contents {
        Work work;
        std::string original;
    };
    [[nodiscard]] static std::optional<Contents> read(std::string_view filename);

private:
    explicit WorkNote(std::string written) : path(std::move(written)) {}
    std::string path;
};

} // namespace wickerlane::hoardd

#endif
