#include "cli/DaemonRequests.h"

#include <fmt/format.h>

#include "cli/Awaited.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {
namespace {

bool daemonAnswers() {
    return JXGatekeeperClient::sharedInstance()->getCurrentModelVersion() >= 0;
}

} // namespace

Failure failUnreachable() {
    return fail(ProblemKind::unreachable,
                fmt::format("the daemon hoardd can't be reached (library below {}). It starts on demand if "
                            "it is installed. Look for its messages on standard error, or run: wickerlane "
                            "daemon status --start",
                            rootPath()));
}

Result<> requireDaemon() {
    if (!daemonAnswers())
        return failUnreachable();
    return {};
}

Result<> waitUntilReceived() {
    return requireDaemon();
}

Failure failRequest(Problem problem) {
    return daemonAnswers() ? fail(std::move(problem)) : failUnreachable();
}

Result<> waitForSuccess(std::string withoutReason, const Handler<void(const SuccessHandler &)> &send) {
    const Awaited<Result<>> outcome;
    send([outcome, withoutReason](bool success, Error *error) {
        if (success)
            outcome.give({});
        else
            outcome.give(fail(ProblemKind::failed, error != nullptr
                                                       ? std::string(error->localizedDescription()->utf8())
                                                       : withoutReason));
    });
    return outcome.take();
}

} // namespace wickerlane::cli
