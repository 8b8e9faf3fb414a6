// Which handler serves which request.
#ifndef HOARDD_SERVICE_DISPATCH_H
#define HOARDD_SERVICE_DISPATCH_H

#include <span>

#include "hoardd/service/Call.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::hoardd {

class Daemon;

struct DispatchEntry {
    const protocol::Row *row;
    void (*handle)(Daemon &daemon, const Call &call);
    bool isForEverybody = false; ///< Served whoever asks; all others serve only who has access.
    bool mayTakeLong = false;    ///< Served beside what the same client asks for next, not before it.
};

/// One entry for each row that is served.
[[nodiscard]] std::span<const DispatchEntry> dispatchTable();

/// Serves one request: finds its row, checks it against the row, checks the peer's access, and runs the
/// handler. What fails on the way is answered with an error that says why.
void dispatch(Daemon &daemon, const Call &call);

} // namespace wickerlane::hoardd

#endif
