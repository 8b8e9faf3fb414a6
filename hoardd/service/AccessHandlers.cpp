#include "hoardd/service/OperationFamilies.h"

#include "hoardd/service/Access.h"
#include "hoardd/service/Call.h"
#include "wickerlane/protocol/CoreRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

Answer answerAccess(AccessStatus status) {
    return Answer().set(keys::authorized, static_cast<std::int64_t>(status));
}

Result<Answer> requestAccess(const Call &call) {
    return answerAccess(accessOf(call.peer()));
}

std::optional<Answer> knownAccess(Library *, const Call &call) {
    const auto status = knownAccessOf(call.peer());
    return status ? std::optional(answerAccess(*status)) : std::nullopt;
}

/// A reply without "authorized" would read as access granted.
std::optional<Answer> byAuthorized(const Refusal &) {
    return answerAccess(AccessStatus::denied);
}

// The request has done its work by arriving.
Result<Answer> launchHoardd(const Call &) {
    return Answer();
}

std::optional<Answer> nothingToSay(Library *, const Call &) {
    return Answer();
}

Result<Answer> takeTraffic(const Call &call) {
    if (!call.mayReadFiles())
        return fail(ProblemKind::refused, "only the user that hoardd serves may watch what travels");
    const auto noted = Traffic::ofProcess().take(call.peer(), call.get(keys::withTexts));
    if (!noted)
        return passOn(noted);
    return Answer()
        .set(keys::traffic, noted->events.get())
        .set(keys::lost, noted->lost)
        .set(keys::isComplete, !noted->isBegun);
}

Result<Answer> progressOfWork(const Call &call) {
    const WorkDone work = call.doneOnConnection();
    return Answer().set(keys::done, work.done).set(keys::total, work.total);
}

constexpr Operation operations[] = {
    {.row = &protocol::requestAccess,
     .handler = requestAccess,
     .callers = Callers::everybody,
     .refusal = byAuthorized,
     .known = knownAccess},
    {.row = &protocol::launchHoardd,
     .handler = launchHoardd,
     .callers = Callers::everybody,
     .known = nothingToSay},
    {.row = &protocol::takeTraffic, .handler = takeTraffic},
    {.row = &protocol::progressOfWork, .handler = progressOfWork},
};

} // namespace

std::span<const Operation> accessOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
