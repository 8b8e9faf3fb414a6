#include "hoardd/library/CallersFile.h"

#include <fcntl.h>

#include <utility>

namespace wickerlane::hoardd {

Result<RegularFile> requireRegular(UniqueFd opened, const std::string &path) {
    struct stat status {};
    if (!opened || ::fstat(opened.get(), &status) != 0)
        return failSystem("read", path);
    if (!S_ISREG(status.st_mode))
        return fail(ProblemKind::invalid, "can't read " + path + ": it is not a regular file", path);
    return RegularFile{std::move(opened), status};
}

Result<RegularFile> openCallersFile(const std::string &path, bool mayRead) {
    if (!path.starts_with('/') || path.find('\0') != std::string::npos)
        return fail(ProblemKind::invalid, "the path of the file is not an absolute path");
    if (!mayRead)
        return fail(ProblemKind::refused,
                    "files are read only for the user that hoardd serves; send the bytes instead");
    return requireRegular(UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)), path);
}

} // namespace wickerlane::hoardd
