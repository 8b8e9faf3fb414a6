// Why an operation with a handler has failed, in the vocabulary of WLLastError().
#ifndef WICKERLANE_API_REASONINTERNAL_H
#define WICKERLANE_API_REASONINTERNAL_H

#include <string>

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/api/HandlerInternal.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {

[[nodiscard]] Ref<Error> errorOf(ProblemKind kind, const std::string &text);

/// The reason that stands for an error of a handler of the client; `reason` when that is null.
[[nodiscard]] Ref<Error> reasonOf(const Error *error, const char *reason);

/// A handler for the client that calls `handler` with the reason. `reason` must be a literal.
inline Handler<void(bool, Error *)> withReason(Handler<void(bool, Error *)> handler, const char *reason) {
    return [handler = std::move(handler), reason](bool done, const Error *error) {
        handler(done, done ? nullptr : reasonOf(error, reason).get());
    };
}

/// Fails without asking the daemon; later, as all handlers are called.
template <class Result>
void failLater(Handler<void(Result, Error *)> handler, const char *text) {
    WorkQueue::global()->async([handler = std::move(handler), text] {
        handler(Result{}, errorOf(ProblemKind::invalid, text).get());
    });
}

} // namespace wickerlane

#endif
