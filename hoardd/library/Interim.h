#ifndef HOARDD_LIBRARY_INTERIM_H
#define HOARDD_LIBRARY_INTERIM_H
// While functions that give a text become functions that give a result.
#include "hoardd/library/Library.h"
#include "wickerlane/model/Result.h"
namespace wickerlane::hoardd {
inline Result<> asResult(std::string problem) {
    if (problem.empty())
        return {};
    return fail(ProblemKind::failed, std::move(problem));
}
template <class T>
std::string asText(const Result<T> &result) {
    return result ? std::string() : result.error().text;
}
inline std::optional<sqlite::Database> openReader(const Library &library, std::string &problem) {
    auto opened = library.openReader();
    problem = asText(opened);
    return opened ? std::optional(*std::move(opened)) : std::nullopt;
}
} // namespace wickerlane::hoardd
#endif
