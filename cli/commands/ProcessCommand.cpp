// wickerlane process
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/Output.h"
#include "wickerlane/util/identity/JXProcessIdentity.h"

namespace wickerlane::cli {
namespace {

ExitCode findProcess(const std::string &name, bool json) {
    const pid_t process = JXPIDForProcessNamed(name.c_str());
    if (process < 0)
        return fail(ExitCode::notFound, fmt::format("no process is named '{}'", name));
    if (json)
        printJSON({{"name", name}, {"process", process}});
    else
        print(std::to_string(process));
    return ExitCode::success;
}

} // namespace

void addProcess(Command app, Action &chosen) {
    const auto command = app.addSubcommand("process", "Find a process by its command name");
    command.footer("Only the first 16 characters of a name count.\n\nExample:\n  wickerlane process hoardd");
    struct Options {
        std::string name;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.addOption("NAME", options->name, "Command name of the process").required();
    command.addFlag("--json", options->json, "Write JSON");
    command.callback(
        [options, &chosen] { chosen = [options] { return findProcess(options->name, options->json); }; });
}

} // namespace wickerlane::cli
