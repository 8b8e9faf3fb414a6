#include "wickerlane/api/ReasonInternal.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane {

Ref<Error> errorOf(ProblemKind kind, const std::string &text) {
    return Error::createWithDescription(WickerlaneRequestErrorDomain, static_cast<std::int64_t>(kind),
                                        String::create(text).get());
}

Ref<Error> reasonOf(const Error *error, const char *reason) {
    if (isForkedChild())
        return errorOf(ProblemKind::unreachable, forkedChildText);
    if (error == nullptr)
        return errorOf(ProblemKind::failed, reason);
    if (error->domain()->isEqual(WickerlaneRequestErrorDomain)) // it says all that there is to say
        return errorOf(static_cast<ProblemKind>(error->code()),
                       std::string(error->localizedDescription()->utf8()));
    switch (error->code()) {
    case WickerlaneErrorAccessStatusOne:
    case WickerlaneErrorAccessStatusTwo:
        return errorOf(ProblemKind::refused,
                       "This program may not use the photo library. The library's owner can allow it: "
                       "wickerlane consent grant " +
                           ownExecutable());
    case WickerlaneErrorMissingEntitlement: // the client says the same when hoardd can't be reached
        return errorOf(ProblemKind::refused,
                       std::string(error->localizedDescription()->utf8()) +
                           ", or hoardd can't be reached. The library's owner can grant it: wickerlane "
                           "entitlement grant " +
                           ownExecutable());
    case WickerlaneErrorService:
        return errorOf(ProblemKind::unreachable,
                       "The daemon hoardd refused, ended, or can't be reached. See that it is installed; "
                       "more is in its log.");
    case WickerlaneErrorJobQueueFull:
        return errorOf(ProblemKind::queueFull, "Too many jobs are waiting in hoardd. Try again later.");
    case WickerlaneErrorNoData:
        return errorOf(ProblemKind::empty, "The job holds no data to save.");
    default:
        return errorOf(ProblemKind::failed, reason);
    }
}

} // namespace wickerlane
