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
    problem.text = say(std::strerror(error));
    return fail(std::move(problem));
}

} // namespace

Failure failToRead(const std::string &path) {
    return failCall(path, [&](const char *why) { return localized("can't read {}: {}", path, why); });
}

Failure failToWrite(const std::string &path) {
    return failCall(path, [&](const char *why) { return localized("can't write {}: {}", path, why); });
}

Failure failToMake(const std::string &path) {
    return failCall(path, [&](const char *why) { return localized("can't make {}: {}", path, why); });
}

Failure failToLock(const std::string &path) {
    return failCall(path, [&](const char *why) { return localized("can't lock {}: {}", path, why); });
}

Failure failToMove(const std::string &path) {
    return failCall(path, [&](const char *why) { return localized("can't move {}: {}", path, why); });
}

Failure failToRemove(const std::string &path) {
    return failCall(path, [&](const char *why) { return localized("can't remove {}: {}", path, why); });
}

} // namespace wickerlane::cli
