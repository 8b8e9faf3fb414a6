#include "wickerlane/api/ReasonInternal.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ForkedChild.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane {

namespace {

Ref<Error> errorOf(const Problem &problem) {
    return errorOf(problem.kind, problem.text);
}

/// The entitlement that the client's error names.
const String *entitlementIn(const Error &error) {
    const Error *write =
        JXGatekeeperClient::securityPolicyErrorForMissingEntitlement(JXWriteAssetsEntitlement);
    return error.localizedDescription()->isEqual(write->localizedDescription()) ? JXWriteAssetsEntitlement
                                                                                : JXDeleteAssetsEntitlement;
}

} // namespace

Ref<Error> errorOf(ProblemKind kind, const std::string &text) {
    return Error::createWithDescription(WickerlaneRequestErrorDomain, static_cast<std::int64_t>(kind),
                                        String::create(text).get());
}

Ref<Error> reasonOf(const Error *error, const char *reason) {
    const ReleaseScope scope;
    if (isForkedChild())
        return errorOf(ProblemKind::unreachable, forkedChildText);
    if (error != nullptr && error->domain()->isEqual(WickerlaneRequestErrorDomain)) // which says all
        return errorOf(static_cast<ProblemKind>(error->code()),
                       std::string(error->localizedDescription()->utf8()));
    const std::int64_t code = error != nullptr ? error->code() : 0;
    const auto told = client::HandledReply::problem();
    if (told && (told->kind != ProblemKind::refused || code != WickerlaneErrorMissingEntitlement))
        return errorOf(*told);
    switch (code) {
    case WickerlaneErrorAccessStatusOne:
    case WickerlaneErrorAccessStatusTwo:
        return errorOf(client::accessRefused());
    case WickerlaneErrorMissingEntitlement:
        return errorOf(client::entitlementMissing(entitlementIn(*error)));
    case WickerlaneErrorService:
        return errorOf(ProblemKind::unreachable,
                       "The daemon hoardd refused, ended, or can't be reached. See that it is installed; "
                       "more is in its log.");
    case WickerlaneErrorJobQueueFull:
        return errorOf(client::jobQueueFull());
    case WickerlaneErrorNoData:
        return errorOf(client::noDataToSave());
    default:
        return errorOf(ProblemKind::failed, reason);
    }
}

} // namespace wickerlane
