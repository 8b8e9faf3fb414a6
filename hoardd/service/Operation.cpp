#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

std::optional<Answer> bySuccess(const Refusal &) {
    return Answer().set(keys::success, false);
}

std::optional<Answer> bySuccessAndEntitlement(const Refusal &refusal) {
    return Answer().set(keys::success, false).set(keys::hasEntitlement, refusal.isEntitled);
}

} // namespace wickerlane::hoardd
