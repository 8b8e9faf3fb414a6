#include "wickerlane/client/Refusals.h"

#include "wickerlane/platform/process/ProcessFacts.h"

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

} // namespace wickerlane::client
