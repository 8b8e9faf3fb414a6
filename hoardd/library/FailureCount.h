// Failures of long work that goes on with the rest.
#ifndef HOARDD_LIBRARY_FAILURECOUNT_H
#define HOARDD_LIBRARY_FAILURECOUNT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

class FailureCount {
public:
    /// `what` is what the failure is about, such as a path.
    void add(std::string_view what, Problem problem) {
        problem.text.insert(0, std::string(what) + ": ");
        if (count++ == 0)
            first = std::move(problem);
    }

    /// The first failure with the number of all, such as "3 albums could not be made; the first: ...", if
    /// there was one.
    [[nodiscard]] Result<> result(std::string_view things) const {
        if (!first)
            return {};
        std::string text = std::to_string(count) + ' ';
        text.append(things).append("; the first: ").append(first->text);
        return fail(first->kind, std::move(text), first->file);
    }

private:
    std::size_t count = 0;
    std::optional<Problem> first;
};

} // namespace wickerlane::hoardd

#endif
