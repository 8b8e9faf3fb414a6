// wickerlane sizes
#include <map>
#include <nlohmann/json.hpp>

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "wickerlane/api/RZLibrary.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
};

constexpr struct Kind {
    std::uint32_t bit;
    const char *name;
    const char *label;
} kinds[] = {{1, "photos", "Photos"},
             {2, "videos", "Videos"},
             {4, "derived", "Thumbnails and edited renditions"},
             {8, "database", "Store"}};

/// Bytes by kind.
using Sizes = std::map<std::uint32_t, std::uint64_t>;

Sizes askSizes() {
    constexpr std::uint32_t allBits = 15;
    const auto queue = WorkQueue::create("sizes"); // serial, so that the map needs no lock
    const Awaited<Sizes> answer;
    RZGetLibrarySizes(queue.get(), allBits,
                      [answer, sizes = Sizes()](std::uint32_t kind, std::uint64_t bytes) mutable {
                          sizes[kind] = bytes;
                          if (sizes.size() == std::size(kinds))
                              answer.give(sizes);
                      });
    return answer.take();
}

Result<ExitCode> showSizes(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const Sizes sizes = askSizes();
    JSON described;
    for (const Kind &kind : kinds) {
        const std::uint64_t bytes = sizes.at(kind.bit);
        if (bytes == RZLibrarySizeUnknown)
            return fail(ProblemKind::failed, "the daemon can't say the sizes; see its log");
        described[kind.name] = bytes;
        if (!options.json)
            print(std::string(kind.label) + ": " + sizeText(bytes));
    }
    if (options.json)
        printJSON(described);
    return ExitCode::success;
}

} // namespace

void setUpSizes(Command command) {
    command.description("Say how much disk space the library uses");
    Options &options = command.runs(showSizes);
    command.addFlag("--json", options.json, "Write JSON, in bytes");
}

} // namespace wickerlane::cli
