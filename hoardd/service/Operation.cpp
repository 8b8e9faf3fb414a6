#include "hoardd/service/Operation.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

std::optional<Answer> bySuccess(const Refusal &refusal) {
    return Answer()
        .set(keys::success, false)
        .set(keys::problemKind, static_cast<std::int64_t>(refusal.problem.kind))
        .set(keys::problemText, String::create(refusal.problem.text).get());
}

std::optional<Answer> bySuccessAndEntitlement(const Refusal &refusal) {
    return bySuccess(refusal)->set(keys::hasEntitlement, refusal.isEntitled);
}

} // namespace wickerlane::hoardd
