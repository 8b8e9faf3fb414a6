// Opening files that callers name.
#ifndef HOARDD_LIBRARY_CALLERSFILE_H
#define HOARDD_LIBRARY_CALLERSFILE_H

#include <sys/stat.h>

#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd {

struct RegularFile {
    UniqueFd file;
    struct stat status;
};

/// A file that has just been opened, if that succeeded and it is a regular one.
[[nodiscard]] Result<RegularFile> requireRegular(UniqueFd opened, const std::string &path);

/// Opens a file of the caller's for reading, without waiting for a pipe. It is read with this process's
/// rights, so that the caller must have them itself: `mayRead` says whether it does.
[[nodiscard]] Result<RegularFile> openCallersFile(const std::string &path, bool mayRead);

} // namespace wickerlane::hoardd

#endif
