// The problems of what is not done because the process is ending, or the caller has cancelled it.
#ifndef HOARDD_SERVICE_ENDING_H
#define HOARDD_SERVICE_ENDING_H

#include "wickerlane/model/Result.h"

namespace wickerlane::hoardd {

/// Long work stops with it; what is left is known from the store.
[[nodiscard]] inline Failure stopped() {
    return fail(ProblemKind::ending, "hoardd is ending; ask again");
}

[[nodiscard]] inline Failure cancelled() {
    return fail(ProblemKind::cancelled, "the request was cancelled; what was done before stays");
}

} // namespace wickerlane::hoardd

#endif
