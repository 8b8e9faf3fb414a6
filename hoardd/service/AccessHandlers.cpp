// Who may use the library.
#include "hoardd/Daemon.h"
#include "hoardd/service/Handlers.h"

namespace wickerlane::hoardd {

using namespace protocol;

// Always says "authorized": its absence would read as access granted.
void requestAccess(Daemon &daemon, const Call &call) {
    call.answer(Answer().set(keys::authorized, static_cast<std::int64_t>(daemon.accessOf(call.peer()))));
}

// The request has done its work by arriving.
void launchHoardd(Daemon &, const Call &call) {
    call.answer(Answer());
}

} // namespace wickerlane::hoardd
