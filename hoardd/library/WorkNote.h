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
    begunRemoval,     ///< The asset goes, with all its files, if its row does.
    removal,          ///< Its row has gone, or is to go with the files if an older store has it.
    removalFromTrash, ///< The same of one in the trash.
};

/// A small file in the library's Saving folder, which goes with this object unless it is kept. Like all in
/// that folder its name begins with the asset's UUID: a check of the library leaves the files of such assets
/// alone, and recoverSaves() looks after those that a kill left behind.
class WorkNote {
public:
    /// That of a begun removal survives a crash from here on, since it alone says that the files are to go.
    [[nodiscard]] static Result<WorkNote> write(const store::LibraryPaths &paths, const AssetRecord &asset,
                                                Work work);
    WorkNote(WorkNote &&other) noexcept
        : start(std::move(other.start)), path(std::exchange(other.path, {})) {}
    WorkNote &operator=(WorkNote &&) = delete;
    ~WorkNote();

    /// Notes other work on the same asset. If that fails it stays what it was.
    void turnInto(Work work);

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
    WorkNote(std::string original, Work work);
    std::string start; ///< Of its path; the rest says which work.
    std::string path;
};

} // namespace wickerlane::hoardd

#endif
