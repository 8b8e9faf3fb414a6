#include "cli/FileFailures.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

Failure failFile(std::string text, std::string path, int error) {
    Problem problem = systemProblem("", std::move(path), error);
    problem.text = std::move(text);
    return fail(std::move(problem));
}

} // namespace

Failure failToRead(const std::string &path) {
    const int error = errno;
    return failFile(localized("can't read {}: {}", path, std::strerror(error)), path, error);
}

Failure failToWrite(const std::string &path) {
    const int error = errno;
    return failFile(localized("can't write {}: {}", path, std::strerror(error)), path, error);
}

Failure failToMake(const std::string &path) {
    const int error = errno;
    return failFile(localized("can't make {}: {}", path, std::strerror(error)), path, error);
}

Failure failToLock(const std::string &path) {
    const int error = errno;
    return failFile(localized("can't lock {}: {}", path, std::strerror(error)), path, error);
}

Failure failToMove(const std::string &path) {
    const int error = errno;
    return failFile(localized("can't move {}: {}", path, std::strerror(error)), path, error);
}

Failure failToRemove(const std::string &path) {
    const int error = errno;
    return failFile(localized("can't remove {}: {}", path, std::strerror(error)), path, error);
}

} // namespace wickerlane::cli
