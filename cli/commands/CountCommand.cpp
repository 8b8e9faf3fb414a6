// wickerlane count
#include <nlohmann/json.hpp>

#include "cli/LibraryCounts.h"
#include "cli/Subcommands.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
};

Result<ExitCode> count(const Options &options) {
    const auto counts = countLibrary();
    if (!counts)
        return passOn(counts);
    if (options.json)
        printJSON(describe(*counts));
    else
        print(textOf(*counts));
    return ExitCode::success;
}

} // namespace

void setUpCount(Command command) {
    command.footer("Example:\n  wickerlane count --json");
    Options &options = command.runs(count);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
