// wickerlane sizes
#include <map>
#include <nlohmann/json.hpp>

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "wickerlane/api/RZLibrary.h"
#include "wickerlane/protocol/SizeKind.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
};

using protocol::SizeKind;

constexpr struct Kind {
    SizeKind kind;
    const char *name;
    const char *label;
    [[nodiscard]] constexpr std::uint32_t bit() const { return static_cast<std::uint32_t>(kind); }
} kinds[] = {{SizeKind::photos, "photos", "Photos"},
             {SizeKind::videos, "videos", "Videos"},
             {SizeKind::derived, "derived", "Thumbnails and edited renditions"},
             {SizeKind::database, "database", "Store"},
             {SizeKind::trash, "trash", "Trash"}};

/// Bytes by kind.
using Sizes = std::map<std::uint32_t, std::uint64_t>;

Sizes askSizes() {
    std::uint32_t allBits = 0;
    for (const Kind &kind : kinds)
        allBits |= kind.bit();
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
        const std::uint64_t bytes = sizes.at(kind.bit());
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
    Options &options = command.runs(showSizes);
    command.addFlag("--json", options.json, "Write JSON, in bytes");
}

} // namespace wickerlane::cli
