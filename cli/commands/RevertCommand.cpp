// wickerlane revert
#include <fmt/format.h>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> assets;
};

Result<> revert(const ManagedAsset &asset) {
    client::Request request(protocol::revertAsset);
    request.set(protocol::keys::assetURL, asset.assetURL());
    return waitForWork(request).map_error([&](Problem problem) {
        problem.text = fmt::format("{} was not reverted: {}", asset.record().uuid, problem.text);
        return problem;
    });
}

Result<ExitCode> revertAssets(const Options &options) {
    const auto named = askForAllOf(options.assets);
    if (!named)
        return passOn(named);
    ExitCode code = named->code;
    if (code != ExitCode::success)
        return code; // before anything is changed
    std::size_t reverted = 0;
    for (const auto &asset : named->assets)
        if (const auto result = revert(*asset))
            ++reverted;
        else
            code = report(result.error());
    print(countText(reverted, "asset", "assets") + " reverted");
    return code;
}

} // namespace

void setUpRevert(Command command) {
    command.footer("Example:\n  wickerlane revert 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10");
    Options &options = command.runs(revertAssets);
    command.addOption("ASSET", options.assets, "UUIDs, URLs or object IDs of assets").required();
}

} // namespace wickerlane::cli
