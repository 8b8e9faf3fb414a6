#ifndef HOARDD_LIBRARY_INTERIM_H
#define HOARDD_LIBRARY_INTERIM_H
// While functions that give a text become functions that give a result.
#include "wickerlane/model/Result.h"
namespace wickerlane::hoardd {
inline Result<> asResult(std::string problem) {
    if (problem.empty())
        return {};
    return fail(ProblemKind::failed, std::move(problem));
}
} // namespace wickerlane::hoardd
#endif
