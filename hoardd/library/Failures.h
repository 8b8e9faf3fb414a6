// Problems with what they are about, and those of long work that goes on with the rest.
#ifndef HOARDD_LIBRARY_FAILURES_H
#define HOARDD_LIBRARY_FAILURES_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

/// A problem with its context, such as a path, before its text: "/a/b.jpg: the file is empty". It is about
/// the same file, unless another is named.
[[nodiscard]] inline Problem inContext(std::string_view context, const Problem &problem,
                                       std::string_view file = {}) {
    return {problem.kind, std::string(context).append(": ").append(problem.text),
            file.empty() ? problem.file : std::string(file)};
}

class FailureCount {
public:
    /// `what` is what the failure is about, such as a path.
    void add(std::string_view what, const Problem &problem) {
        if (count++ == 0)
            first = inContext(what, problem);
    }

    /// The first failure with the number of all, such as "3 albums could not be made; the first: ...", if
    /// there was one.
    [[nodiscard]] Result<> result(std::string_view things) const {
        if (!first)
            return {};
        return fail(inContext(std::to_string(count) + ' ' + std::string(things) + "; the first", *first));
    }

private:
    std::size_t count = 0;
    std::optional<Problem> first;
};

} // namespace wickerlane::hoardd

#endif
