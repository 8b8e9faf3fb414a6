#include "cli/FollowedChanges.h"

#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/ForeignProblems.h"
#include "cli/Formatting.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane::cli {
namespace {

using namespace std::chrono_literals;

/// As a filter ends that writes into such a pipe. No stream can be flushed any more.
[[noreturn]] void endAtClosedPipe() {
    std::_Exit(128 + SIGPIPE);
}

/// Nothing else would notice the end of the reader before the next change.
void endWhenOutputIsClosed() {
    struct stat status = {};
    if (::fstat(STDOUT_FILENO, &status) != 0 || !(S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)))
        return;
    const auto source = DescriptorSource::create(STDOUT_FILENO, [](std::uint32_t) { endAtClosedPipe(); });
    if (source != nullptr)
        source->arm(0); // an error or hang-up
}

std::string linesOf(const ChangesPage &page, bool json) {
    if (page.isTooOld)
        return json ? JSON{{"startOver", true}}.dump() + "\n"
                    : localized("The library no longer knows all changes. Begin again with all assets: "
                                "wickerlane list") +
                          "\n";
    std::string lines;
    for (const AssetChange &each : page.changes)
        lines += json ? describe(each).dump() + "\n"
                      : fmt::format("{:>8}  {}  {:<7}  {}\n", each.number, dateText(each.date),
                                    nameOf(each.what), each.uuid);
    return lines;
}

Failure failureIn(const Error *error) {
    return fail(withKindInWords(
        {static_cast<ProblemKind>(error->code()), std::string(error->localizedDescription()->utf8()), {}}));
}

/// The token of the present.
Result<std::string> presentToken() {
    const auto page = JXGatekeeperClient::sharedInstance()->changesSinceToken("", 0);
    if (!page)
        return failureIn(JXGatekeeperClient::lastError());
    return page->token;
}

/// What comes after a token; nothing when Ctrl-C comes before.
Result<std::optional<ChangesPage>> nextPage(const std::string &token) {
    const Awaited<Result<ChangesPage>> outcome;
    {
        const ReplyTimeLimit none(0ns); // --timeout is for answers that are due
        JXGatekeeperClient::sharedInstance()->awaitChangesSinceToken(
            token, 1'000, 600s, [outcome](const ChangesPage *page, Error *error) {
                outcome.give(page != nullptr ? Result<ChangesPage>(*page) : failureIn(error));
                interruptSemaphore().signal();
            });
    }
    for (;;) {
        if (auto given = outcome.takeIfGiven())
            return given->map([](ChangesPage &page) { return std::optional(std::move(page)); });
        if (isInterrupted())
            return std::nullopt;
        interruptSemaphore().wait();
    }
}

/// Whether a question is to be asked again, after a pause. Says once that the daemon is busy.
bool passes(const Problem &problem, bool &hasSaidBusy) {
    const bool isBusy = problem.kind == ProblemKind::busy;
    if (!isBusy && problem.kind != ProblemKind::ending)
        return false;
    if (isBusy && !std::exchange(hasSaidBusy, true))
        note(localized("the daemon is busy ({}); trying until it is not", problem.text));
    static_cast<void>(interruptSemaphore().wait(200ms));
    return true;
}

} // namespace

const char *nameOf(AssetChange::What what) {
    switch (what) {
    case AssetChange::What::added:
        return "added";
    case AssetChange::What::changed:
        return "changed";
    case AssetChange::What::removed:
        return "removed";
    }
    return "";
}

JSON describe(const AssetChange &change) {
    return {{"number", change.number},
            {"date", isoDateText(change.date)},
            {"what", nameOf(change.what)},
            {"uuid", change.uuid}};
}

Result<ExitCode> followChanges(std::int64_t since, bool json) {
    endWhenOutputIsClosed();
    const InterruptScope scope;
    bool hasSaidBusy = false;
    std::optional<std::string> token;
    if (since >= 0)
        token = since > 0 ? std::to_string(since) : std::string();
    while (!isInterrupted()) {
        const ReleaseScope releases;
        if (!token) {
            const auto present = presentToken();
            if (present)
                token = *present;
            else if (!passes(present.error(), hasSaidBusy))
                return failRequest(present.error());
            continue;
        }
        const auto page = nextPage(*token);
        if (!page && !passes(page.error(), hasSaidBusy))
            return failRequest(page.error());
        if (!page || !*page)
            continue;
        printText(linesOf(**page, json));
        if (const auto written = flushOutput(); !written)
            return passOn(written);
        token = (*page)->token;
    }
    return ExitCode::interrupted;
}

} // namespace wickerlane::cli
