// wickerlane purge
#include <nlohmann/json.hpp>

#include <optional>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::optional<std::uint64_t> bytes;
    bool isDryRun = false;
    bool json = false;
};

Result<ExitCode> purge(const Options &options) {
    if (!options.bytes && !options.isDryRun)
        return fail(ProblemKind::invalid, localized("BYTES or --dry-run is required"));
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const std::int64_t bytes = options.isDryRun ? client->purgeableSharedAssetsSpace()
                                                : client->attemptToPurgeSharedAssetsSpace(*options.bytes);
    if (options.json)
        printJSON({{options.isDryRun ? "purgeableBytes" : "freedBytes", bytes}});
    else
        print(options.isDryRun ? localized("{} could be freed", sizeText(static_cast<std::uint64_t>(bytes)))
                               : localized("{} freed", sizeText(static_cast<std::uint64_t>(bytes))));
    return ExitCode::success;
}

} // namespace

void setUpPurge(Command command) {
    command.footer("Only larger thumbnails are deleted. They are made again when they are needed.\n\n"
                   "Example:\n  wickerlane purge 50MB");
    Options &options = command.runs(purge);
    const auto bytes = command.addOption("BYTES", options.bytes, "How much to free, such as 50MB").asSize();
    command.addFlag("-n,--dry-run", options.isDryRun, "Only say how much could be freed").excludes(bytes);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
