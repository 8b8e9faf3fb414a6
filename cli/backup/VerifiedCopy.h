// A copy of a file that was read back before it took its place.
#ifndef CLI_BACKUP_VERIFIEDCOPY_H
#define CLI_BACKUP_VERIFIEDCOPY_H

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::cli {

/// Opens a regular file for reading, without waiting for what a pipe in its place would send.
Result<UniqueFd> openForCopy(const std::string &path);
Result<Sha256> sumOfFile(const std::string &path);

/// The copy is written under a temporary name in the same file system, and removed unless it takes its place.
class VerifiedCopy {
public:
    static Result<VerifiedCopy> create(std::string temporaryPath);
    VerifiedCopy(VerifiedCopy &&other) = default;
    ~VerifiedCopy();

    /// Copies all that `source` holds, syncs it, and reads it back from the disk. Fails unless both have the
    /// sum.
    Result<> copyFrom(int source, const std::string &sourcePath, const Sha256 &sum);
    /// Gives the file a mode, and a time of last change in nanoseconds since 1970.
    Result<> setAttributes(mode_t mode, std::int64_t modified);
    /// Takes the place of what may be there. The folder is made when it is missing.
    Result<> replace(const std::string &place);
    /// The same, and fails with `exists` when something is there.
    Result<> moveToFree(const std::string &place);

private:
    VerifiedCopy(std::string path, UniqueFd opened) : temporary(std::move(path)), fd(std::move(opened)) {}

    std::string temporary;
    UniqueFd fd;
};

} // namespace wickerlane::cli

#endif
