// What an operation of hoardd is: a row that says how a request of the protocol is served.
#ifndef HOARDD_SERVICE_OPERATION_H
#define HOARDD_SERVICE_OPERATION_H

#include <optional>
#include <variant>

#include "hoardd/service/Answer.h"
#include "hoardd/service/JobQueue.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::hoardd {

class Call;
class Library;
class LibraryFolder;

/// Serves without a library.
using PlainHandler = Result<Answer> (*)(const Call &);
/// Serves the library's folder, with or without a store in it.
using FolderHandler = Result<Answer> (*)(LibraryFolder &, const Call &);
/// Serves the open library.
using LibraryHandler = Result<Answer> (*)(Library &, const Call &);
/// The same; nothing when the call is kept, and answered later.
using WaitingHandler = Result<std::optional<Answer>> (*)(Library &, const Call &);
/// Begins jobs on the open library, the last of which answers the call.
using JobsHandler = Result<> (*)(Library &, ClientJobs, const Call &);

/// The answer when it is known without a file, the store, or a lock that may be held for more than a moment:
/// it is then given on the thread that reads the requests of all peers. Nothing: the handler serves. The
/// library is null when it is not open and sound.
using KnownAnswer = std::optional<Answer> (*)(Library *, const Call &);

enum class Callers {
    everybody,
    withAccess, ///< To the photo library.
};

/// When and where a handler runs. Requests of one peer begin in the order in which they came.
enum class Runs {
    inOrder,  ///< Before the peer's next request: what is quick.
    beside,   ///< Beside the peer's next requests, a few at a time: what reads or decodes for a moment.
    asJob,    ///< In the bounded queue of saves and pictures.
    longWork, ///< In the bounded queue of long work, one at a time.
};

/// Why a request is refused, and whether its sender has the entitlement that the operation asks for.
struct Refusal {
    const Problem &problem;
    bool isEntitled;
};

/// An operation's own reply to a request that it refuses; nothing when it has none for that problem.
using RefusalReply = std::optional<Answer> (*)(const Refusal &refusal);

/// By "success" false, with the reason.
[[nodiscard]] std::optional<Answer> bySuccess(const Refusal &refusal);
/// The same, with "hasEntitlement" as it is.
[[nodiscard]] std::optional<Answer> bySuccessAndEntitlement(const Refusal &refusal);

struct Operation {
    const protocol::Row *row;
    std::variant<PlainHandler, FolderHandler, LibraryHandler, WaitingHandler, JobsHandler> handler;
    Runs runs = Runs::inOrder;
    Callers callers = Callers::withAccess;
    const String *const *entitlement = nullptr; ///< What callers need besides; null for nothing.
    RefusalReply refusal = nullptr;             ///< Null: a problem is answered with an error.
    KnownAnswer known = nullptr;                ///< Null: never known. With an entitlement it is not asked.
    bool onlyReads = false;                     ///< Not served for a peer that has gone.
};

/// An operation that this version does not serve any more. Older clients are told so.
struct DroppedOperation {
    protocol::OperationCode code;
    const char *name;
    const char *release; ///< The first without it.
};

/// Of an operation that changes nothing.
template <class Handler>
constexpr Operation reading(const protocol::Row &row, Handler handler, Runs runs = Runs::inOrder) {
    return {.row = &row, .handler = handler, .runs = runs, .onlyReads = true};
}

} // namespace wickerlane::hoardd

#endif
