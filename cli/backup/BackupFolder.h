// The folder of a backup.
//
//   backup.json           says that this is a backup, and of which library
//   contents              one line for each file of the library as it was backed up last
//   files/3F/3F0A...JPG   the files, named by their SHA-256
//   unfinished/           what is just being written
//
// A file takes its place once it was read back, and `contents` is replaced as the last step: until then the
// earlier backup stands.
#ifndef CLI_BACKUP_BACKUPFOLDER_H
#define CLI_BACKUP_BACKUPFOLDER_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::cli {

/// A file of the library.
struct BackedUpFile {
    std::string path; ///< Relative to the library's folder, or one of those below.
    Sha256 sum{};
    std::uint64_t size = 0;
    std::int64_t modified = 0; ///< Nanoseconds since 1970.

    bool operator==(const BackedUpFile &) const = default;
};

// Paths of files that are not copied from the library's folder as they are there.
inline constexpr const char *pathOfStore = "PhotoData/Pixhold.sqlite";
inline constexpr const char *pathOfDecisions = "Consent.plist";

using Contents = std::vector<BackedUpFile>;

class BackupFolder {
public:
    /// A backup that exists. It is only read.
    static Result<BackupFolder> open(const std::string &folder);
    /// The backup of a library, which is made when the folder is empty or missing. Another folder is refused.
    /// One process at a time has it open for writing.
    static Result<BackupFolder> openForWriting(const std::string &folder, const std::string &libraryUUID);

    [[nodiscard]] const std::string &path() const noexcept { return folder; }
    /// Nothing when no backup was ever finished.
    [[nodiscard]] Result<std::optional<Contents>> readContents() const;
    /// Replaces the contents once all files are on the disk.
    Result<> writeContents(const Contents &contents) const;

    [[nodiscard]] std::string placeOf(const BackedUpFile &file) const;
    /// Whether a file is there in its size. It took its place in full, and its contents were right then.
    [[nodiscard]] bool has(const BackedUpFile &file) const;
    /// Copies a file of the given sum from anywhere.
    Result<> put(const BackedUpFile &file, const std::string &source) const;
    /// A name for something that is not finished yet.
    [[nodiscard]] std::string unfinished(const std::string &name) const {
        return folder + "/unfinished/" + name;
    }
    /// Removes the files that are not among the contents. Gives how many.
    Result<std::size_t> removeAllBut(const Contents &contents) const;

private:
    explicit BackupFolder(std::string path) : folder(std::move(path)) {}

    std::string folder;
    UniqueFd lock;
};

} // namespace wickerlane::cli

#endif
