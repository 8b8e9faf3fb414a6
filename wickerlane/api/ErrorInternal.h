// How functions say why they failed.
#ifndef WICKERLANE_API_ERRORINTERNAL_H
#define WICKERLANE_API_ERRORINTERNAL_H

#include <string>

#include "wickerlane/api/WLError.h"
#include "wickerlane/client/LastError.h"

namespace wickerlane {

inline constexpr const char *noAsset = "there is no asset";
using client::noAnswer;

/// Stores the last error of this thread for a caller who asked for it, and passes the result on.
template <class Result>
Result withLastError(Result result, WLError **error) {
    if (error != nullptr)
        *error = client::lastErrorOfThread();
    return result;
}

/// Fails without asking the daemon.
template <class Result>
Result failing(Result result, ProblemKind kind, std::string text, WLError **error) {
    client::noteProblem({kind, std::move(text), {}});
    return withLastError(result, error);
}

} // namespace wickerlane

#endif
