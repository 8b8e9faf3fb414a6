#include "wickerlane/model/Problem.h"

#include <cerrno>
#include <cstring>

namespace wickerlane {

namespace {

ProblemKind kindOf(int errorNumber) {
    switch (errorNumber) {
    case ENOENT:
        return ProblemKind::notFound;
    case EEXIST:
        return ProblemKind::exists;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ProblemKind::noSpace;
    case EROFS:
    case EACCES:
    case EPERM:
        return ProblemKind::notWritable;
    case EBUSY:
    case EAGAIN:
        return ProblemKind::busy;
    default:
        return ProblemKind::failed;
    }
}

} // namespace

Problem systemProblem(std::string_view action, std::string file, int errorNumber) {
    std::string text = "can't ";
    text.append(action).append(" ").append(file).append(": ").append(std::strerror(errorNumber));
    return {kindOf(errorNumber), std::move(text), std::move(file)};
}

} // namespace wickerlane
