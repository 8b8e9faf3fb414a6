// The first steps of a save, before any file is in its place: see Saving.h.
#ifndef HOARDD_SAVING_STAGING_H
#define HOARDD_SAVING_STAGING_H

#include <sys/stat.h>

#include <optional>
#include <string>
#include <utility>

#include "hoardd/library/Library.h"
#include "hoardd/library/StagedFile.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/Companions.h"
#include "hoardd/saving/SaveJob.h"

namespace wickerlane::hoardd {

/// What a save may bring beside the original.
enum class SavedPart { sidecar, companion };

/// The folder that stands for one unfinished save, in the library's Saving folder. It goes with this object
/// unless it is kept.
class SaveFolder {
public:
    [[nodiscard]] static Result<SaveFolder> create(const store::LibraryPaths &paths,
                                                   const AssetRecord &asset);
    SaveFolder(SaveFolder &&other) noexcept
        : folder(std::move(other.folder)), isKept(std::exchange(other.isKept, true)) {}
    SaveFolder &operator=(SaveFolder &&) = delete;
    ~SaveFolder();

    [[nodiscard]] const std::string &path() const noexcept { return folder; }
    /// From here on the folder says which files to look for after a kill.
    void keep() noexcept { isKept = true; }
    /// Notes that the caller was told that the save failed, as far as there is room for it: unless the row is
    /// found after a crash nevertheless, its files are to go.
    void markRefused() const;
    [[nodiscard]] static bool isRefused(const std::string &folder);
    /// Notes that the save brings such a file: the one in that place is its own.
    [[nodiscard]] Result<> mark(SavedPart part) const;
    [[nodiscard]] static bool has(const std::string &folder, SavedPart part);

private:
    explicit SaveFolder(std::string made) : folder(std::move(made)) {}
    std::string folder;
    bool isKept = false;
};

/// The file in Incoming or Found that an asset was copied from.
struct TakenFile {
    std::string path;      ///< Empty when there is none.
    struct stat status {}; ///< When it was copied.

    /// Removes it, unless it is another one or has changed meanwhile.
    void remove() const;
};

/// An asset whose files have been written, but are not in their places.
struct StagedAsset {
    AssetLocks::Reservation reservation; ///< Of a UUID that came with the job; else of nothing.
    SaveFolder folder;
    StagedFile original; ///< Not synced yet.
    AssetRecord record;
    std::optional<StagedFile> sidecar{};        ///< A file of metadata that came with it; sealed and closed.
    std::optional<StagedCompanion> companion{}; ///< The second file of the shot that came with it.
    /// The companion that is on disk already for the UUID that came with the job.
    std::optional<store::Companion> companionOnDisk{};
    std::optional<StagedThumbnails> thumbnails{}; ///< Its own, or what serves for the moment.
    /// They are not of the picture itself: whether it can be decoded is known only when those are made.
    bool thumbnailsAreDue = true;
    Store::DueFacts dueFacts = Store::DueFacts::none; ///< What the first look could not read.
    bool unlessPresent = false;                       ///< Not to be saved when its bytes are there already.
    bool hasGivenUUID = false;                        ///< The job said which UUID it gets.
    std::optional<AssetRecord> present{};             ///< The asset that has them.
    bool cameBack = false;                            ///< `present` was in the trash until now.
    TakenFile takenFrom{};                            ///< Goes once the asset is saved.
};

/// Puts the file of metadata that came with an asset into its place.
[[nodiscard]] Result<> placeSidecar(const store::LibraryPaths &paths, StagedFile &sidecar,
                                    std::string_view uuid);

/// Writes what a job brings into a folder of its own, and takes a first look at it.
[[nodiscard]] Result<StagedAsset> stageAsset(Library &library, const SaveJob &job);

} // namespace wickerlane::hoardd

#endif
