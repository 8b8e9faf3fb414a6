#include "cli/DaemonRequests.h"

#include <fmt/format.h>

#include "cli/Awaited.h"
#include "cli/Interrupt.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::cli {
namespace {

bool daemonAnswers() {
    return JXGatekeeperClient::sharedInstance()->getCurrentModelVersion() >= 0;
}

Result<> outcomeIn(const client::Reply &reply) {
    const MessageError *error = reply.error();
    if (error == nullptr)
        return {};
    if (error == MessageError::connectionInterrupted() || error == MessageError::connectionInvalid())
        return failUnreachable();
    auto kind = static_cast<ProblemKind>(error->errorKind());
    // What was asked for made sense, and was there: a part of the work failed.
    if (kind == ProblemKind::invalid || kind == ProblemKind::notFound)
        kind = ProblemKind::failed;
    return fail(kind, std::string(error->text()));
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

Result<> waitForWork(const client::Request &request) {
    const Awaited<Result<>> outcome;
    request.sendWithReply(JXGatekeeperClient::sharedInstance()->connection(), WorkQueue::global(),
                          [outcome](const client::Reply &reply) {
                              outcome.give(outcomeIn(reply));
                              interruptSemaphore().signal();
                          });
    for (;;) {
        if (auto given = outcome.takeIfGiven())
            return *std::move(given);
        if (isInterrupted())
            return fail(ProblemKind::failed, "interrupted; the daemon goes on with what it has begun");
        interruptSemaphore().wait();
    }
}

} // namespace wickerlane::cli
