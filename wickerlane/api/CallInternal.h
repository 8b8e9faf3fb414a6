// How functions call the client.
#ifndef WICKERLANE_API_CALLINTERNAL_H
#define WICKERLANE_API_CALLINTERNAL_H

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {

inline JXGatekeeperClient *sharedClient() {
    return JXGatekeeperClient::sharedInstance();
}

/// Calls a member of the client that blocks. Its result.
template <class Result, class... Parameters>
Result waitFor(Result (JXGatekeeperClient::*ask)(Parameters...), WLError **error,
               std::type_identity_t<Parameters>... arguments) {
    return withLastError((sharedClient()->*ask)(arguments...), error);
}

/// The same for one that gives an object: null is a failure, also when the daemon has answered.
template <class Result, class... Parameters>
Result *waitForObject(Result *(JXGatekeeperClient::*ask)(Parameters...), WLError **error,
                      std::type_identity_t<Parameters>... arguments) {
    Result *result = (sharedClient()->*ask)(arguments...);
    if (result == nullptr && client::lastErrorOfThread() == nullptr)
        return failing<Result *>(nullptr, ProblemKind::failed, noAnswer, error);
    return withLastError(result, error);
}

/// The same for one without a result: whether the daemon has done it.
template <class... Parameters>
bool waitFor(void (JXGatekeeperClient::*ask)(Parameters...), WLError **error,
             std::type_identity_t<Parameters>... arguments) {
    (sharedClient()->*ask)(arguments...);
    return withLastError(client::lastErrorOfThread() == nullptr, error);
}

/// The same for one that gives an object: owned. `null` says what null without an error is.
enum class Null { isAnAnswer, isAFailure };
template <class Result, class... Parameters>
Result *createBy(Result *(JXGatekeeperClient::*ask)(Parameters...), Null null, WLError **error,
                 std::type_identity_t<Parameters>... arguments) {
    Ref<Result> result;
    {
        ReleaseScope scope; // a program that loops need not keep all results
        result = (sharedClient()->*ask)(arguments...);
    }
    if (!result && null == Null::isAFailure && client::lastErrorOfThread() == nullptr)
        return failing<Result *>(nullptr, ProblemKind::failed, noAnswer, error);
    return withLastError(result.leak(), error);
}

} // namespace wickerlane

#endif
