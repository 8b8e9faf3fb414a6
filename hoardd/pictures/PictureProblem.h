// Problems of media workers, as callers are to know them.
#ifndef HOARDD_PICTURES_PICTUREPROBLEM_H
#define HOARDD_PICTURES_PICTUREPROBLEM_H

#include <string>

#include "wickerlane/model/Problem.h"

namespace wickerlane::hoardd {

/// Only `invalid` says something about the picture. That there is no worker becomes `busy`: it may be
/// different later.
[[nodiscard]] inline Problem pictureProblem(const Problem &problem, const std::string &picture) {
    if (problem.kind == ProblemKind::unreachable)
        return {ProblemKind::busy, problem.text, problem.file};
    return {problem.kind, problem.text, problem.kind == ProblemKind::invalid ? picture : problem.file};
}

} // namespace wickerlane::hoardd

#endif
