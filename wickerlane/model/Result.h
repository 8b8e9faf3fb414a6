// A value, or the problem for which there is none: how functions of the store, the daemon and the command
// fail.
//
//     Result<Store> opened = Store::open(paths);
//     if (!opened)
//         return passOn(opened);
//     use(*opened);
#ifndef WICKERLANE_MODEL_RESULT_H
#define WICKERLANE_MODEL_RESULT_H

#include <cerrno>
#include <utility>

#include <tl/expected.hpp>

#include "wickerlane/model/Problem.h"

namespace wickerlane {

template <class T = void>
using Result = tl::expected<T, Problem>;
/// What a function returns that fails.
using Failure = tl::unexpected<Problem>;

[[nodiscard]] inline Failure fail(ProblemKind kind, std::string text, std::string file = {}) {
    return Failure(Problem{kind, std::move(text), std::move(file)});
}
[[nodiscard]] inline Failure fail(Problem problem) {
    return Failure(std::move(problem));
}
/// Of a system call that has just failed; the action is a verb: "open".
[[nodiscard]] inline Failure failSystem(std::string_view action, std::string file) {
    const int errorNumber = errno;
    return Failure(systemProblem(action, std::move(file), errorNumber));
}
/// The failure of another function as one's own.
template <class T>
[[nodiscard]] Failure passOn(const Result<T> &failed) {
    return Failure(failed.error());
}

} // namespace wickerlane

#endif
