#include "cli/FileFailures.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

/// `say` makes the text of why the call has failed. It may change errno.
template <class Say>
Failure failCall(const std::string &path, const Say &say) {
    const int error = errno;
    Problem problem = systemProblem("", path, error);
    problem.text = say(textOfError(error));
    return fail(std::move(problem));
}

} // namespace

std::string textOfError(int number) {
    switch (number) {
    case EACCES:
        return localized("Permission denied");
    case EEXIST:
        return localized("File exists");
    case EIO:
        return localized("Input/output error");
    case EISDIR:
        return localized("Is a directory");
    case ENOENT:
        return localized("No such file or directory");
    case ENOSPC:
        return localized("No space left on device");
    case ENOTDIR:
        return localized("Not a directory");
    case EROFS:
        return localized("Read-only file system");
    default:
        return std::strerror(number);
    }
}

Failure failToRead(const std::string &path) {
    return failCall(path, [&](const std::string &why) { return localized("can't read {}: {}", path, why); });
}

Failure failToWrite(const std::string &path) {
    return failCall(path, [&](const std::string &why) { return localized("can't write {}: {}", path, why); });
}

Failure failToMake(const std::string &path) {
    return failCall(path, [&](const std::string &why) { return localized("can't make {}: {}", path, why); });
}

Failure failToLock(const std::string &path) {
    return failCall(path, [&](const std::string &why) { return localized("can't lock {}: {}", path, why); });
}

Failure failToMove(const std::string &path) {
    return failCall(path, [&](const std::string &why) { return localized("can't move {}: {}", path, why); });
}

Failure failToRemove(const std::string &path) {
    return failCall(path,
                    [&](const std::string &why) { return localized("can't remove {}: {}", path, why); });
}

} // namespace wickerlane::cli
