#include "cli/ProgramDecision.h"

#include <cerrno>
#include <filesystem>

#include "cli/FileFailures.h"
#include "cli/Output.h"
#include "cli/Texts.h"

namespace wickerlane::cli {

std::string programPath(const std::string &program) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::canonical(program, error);
    return error ? std::filesystem::absolute(program).lexically_normal().string() : path.string();
}

std::string pathToDecideAbout(const std::string &program) {
    std::string path = programPath(program);
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        advise(localized("there is no program {} yet; the decision is about what will be there", path));
    return path;
}

Result<> decisionsCount() {
    if (const std::string why = whyConsentIgnored(); !why.empty())
        return fail(ProblemKind::refused, localized("the decisions do not count: {}", why));
    return {};
}

Result<ExitCode> changeDecisions(const std::function<bool(ConsentStore &decisions)> &change) {
    if (change(ConsentStore::shared()))
        return ExitCode::success;
    const int error = errno;
    if (const auto counted = decisionsCount(); !counted)
        return passOn(counted);
    return fail(ProblemKind::failed,
                localized("the decisions can't be changed: {}. Only the owner of the library's root may "
                          "change them",
                          textOfError(error)));
}

} // namespace wickerlane::cli
