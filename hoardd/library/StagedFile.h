// Writing a file of the library so that its place holds all of it or nothing, even if the process is killed.
#ifndef HOARDD_LIBRARY_STAGEDFILE_H
#define HOARDD_LIBRARY_STAGEDFILE_H

#include <string>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Data.h"

namespace wickerlane::hoardd {

/// A file on its way to its place: written in a folder that readers don't look into, synced, and published.
/// It goes with this object unless it has been published.
class StagedFile {
public:
    /// Makes an empty file, with a name of its own, in a folder of the same file system as its place.
    [[nodiscard]] static Result<StagedFile> create(const std::string &folder);
    StagedFile(StagedFile &&other) noexcept
        : file(std::move(other.file)), stagedPath(std::exchange(other.stagedPath, {})) {}
    StagedFile &operator=(StagedFile &&other) noexcept {
        std::swap(file, other.file);
        std::swap(stagedPath, other.stagedPath);
        return *this;
    }
    ~StagedFile();

    /// Open for reading and writing; -1 after close().
    [[nodiscard]] int descriptor() const noexcept { return file.get(); }

    [[nodiscard]] Result<> write(Bytes bytes);
    /// Copies a regular file, see copyFile().
    [[nodiscard]] Result<> copyFrom(int source);
    [[nodiscard]] Result<Sha256> sum() const;
    /// Lets the disk begin to take it; it is not synced by that.
    void startSync() noexcept;
    [[nodiscard]] Result<> sync();
    /// Makes it an original, which nothing alters from here on: read-only.
    [[nodiscard]] Result<> protect();
    /// The same, synced.
    [[nodiscard]] Result<> seal();
    /// Closes the descriptor; the file can still be published.
    void close() noexcept { file.reset(); }

    // Publishing: afterwards the caller syncs the folder, so that many files need one sync.

    /// Moves it to its place, and replaces what is there.
    [[nodiscard]] Result<> moveTo(const std::string &place);
    /// Moves it into an open folder, and replaces the file of that name; a link of that name, too.
    [[nodiscard]] Result<> moveInto(int folder, const std::string &name);

    /// Removes what a killed process left in a folder.
    static void removeLeftovers(const std::string &folder);

private:
    StagedFile(UniqueFd opened, std::string path) : file(std::move(opened)), stagedPath(std::move(path)) {}

    UniqueFd file;
    std::string stagedPath; // empty once it has been published
};

} // namespace wickerlane::hoardd

#endif
