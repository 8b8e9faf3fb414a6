// wickerlane debug process
#include <nlohmann/json.hpp>

#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/util/identity/JXProcessIdentity.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string name;
    bool json = false;
};

Result<ExitCode> findProcess(const Options &options) {
    const pid_t process = JXPIDForProcessNamed(options.name.c_str());
    if (process < 0)
        return fail(ProblemKind::notFound, localized("no process is named '{}'", options.name));
    if (options.json)
        printJSON({{"name", options.name}, {"process", process}});
    else
        print(std::to_string(process));
    return ExitCode::success;
}

} // namespace

void setUpProcess(Command command) {
    command.footer("Only the first 16 characters of a name are compared.\n\nExample:\n  wickerlane debug "
                   "process hoardd");
    Options &options = command.runs(findProcess);
    command.addOption("NAME", options.name, "Command name of the process").required();
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
