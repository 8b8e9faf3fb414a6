#include "wickerlane/client/Refusals.h"

#include <utility>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::client {

namespace {

constexpr std::string_view tryAgain = " Try again later.";

std::string accessAdvice() {
    return " The library's owner can allow it: wickerlane consent grant " + ownExecutable();
}

std::string adviceFor(const Problem &said) {
    const bool saysAgain = said.text.find("again") != std::string::npos;
    switch (said.kind) {
    case ProblemKind::refused:
        return accessAdvice();
    case ProblemKind::busy:
    case ProblemKind::ending:
    case ProblemKind::queueFull:
        return saysAgain ? "" : std::string(tryAgain);
    case ProblemKind::noSpace:
        return saysAgain ? "" : " Free some space on the library's disk, then try again.";
    default:
        return "";
    }
}

} // namespace

Problem withAdvice(Problem said) {
    if (const std::string advice = adviceFor(said); !advice.empty())
        said.text += (said.text.ends_with('.') ? "" : ".") + advice;
    return said;
}

Problem accessRefused() {
    return {ProblemKind::refused, "This program may not use the photo library." + accessAdvice(), {}};
}

Problem entitlementMissing(const String *entitlement) {
    const std::string name(entitlement->utf8());
    return {ProblemKind::refused,
            "This program lacks the entitlement " + name +
                ". The library's owner can grant it: wickerlane entitlement grant " + ownExecutable() + ' ' +
                name.substr(name.rfind('.') + 1),
            {}};
}

Problem noDataToSave() {
    return {ProblemKind::empty, "The job holds no data to save.", {}};
}

Problem jobQueueFull() {
    return {ProblemKind::queueFull, "Too many jobs are waiting in hoardd." + std::string(tryAgain), {}};
}

std::optional<Problem> problemOfJob(const Dictionary &result) {
    const auto *text = result.get<String>(protocol::jobResult::error);
    if (text == nullptr)
        return std::nullopt;
    const auto *ofRequest = result.get<Number>(protocol::jobResult::requestErrorKind);
    const auto *kind = ofRequest != nullptr ? ofRequest : result.get<Number>(protocol::jobResult::errorKind);
    Problem problem{kind != nullptr ? static_cast<ProblemKind>(kind->int64Value()) : ProblemKind::failed,
                    std::string(text->utf8()),
                    {}};
    // Advice is there already where a request has failed, and a refusal is about the file, not about access.
    const bool isAdvised = ofRequest != nullptr || problem.kind == ProblemKind::refused;
    return isAdvised ? problem : withAdvice(std::move(problem));
}

std::optional<Problem> unknownToOlderDaemon(const MessageError &error) {
    const PeerVersion own = PeerVersion::own();
    const PeerVersion service = error.service();
    if (service.protocol >= own.protocol ||
        error.errorKind() != static_cast<std::int64_t>(ProblemKind::invalid) ||
        !error.text().starts_with("there is no operation ")) // as each version says it
        return std::nullopt;
    return Problem{ProblemKind::invalid,
                   "The daemon hoardd is older (version " + service.text() +
                       ") than this program's library (" + own.text() +
                       "), and does not know this operation. Restart it: wickerlane daemon restart. If it is "
                       "still older then, upgrade it.",
                   {}};
}

} // namespace wickerlane::client
