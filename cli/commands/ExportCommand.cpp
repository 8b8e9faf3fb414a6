// wickerlane export
#include <fmt/format.h>

#include <filesystem>

#include "cli/AssetDescription.h"
#include "cli/DaemonRequests.h"
#include "cli/Interrupt.h"
#include "cli/NewFile.h"
#include "cli/Progress.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

struct Options {
    std::vector<std::string> assets;
    bool all = false;
    std::string to = ".";
    bool force = false;
    bool quiet = false;
};

using Assets = std::vector<Ref<store::ManagedAsset>>;

Result<> exportAsset(const store::ManagedAsset &asset, const std::string &path, bool force) {
    const ReleaseScope scope;
    const UniqueFd original(
        JXGatekeeperClient::sharedInstance()->fileDescriptorForAssetURL(asset.assetURL()));
    if (!original)
        return failRequest({ProblemKind::failed,
                            fmt::format("the original of {} could not be opened", asset.record().uuid),
                            {}});
    auto file = NewFile::create(path);
    if (!file)
        return passOn(file);
    return file->copyFrom(original.get()).and_then([&] { return file->finish(force); });
}

/// Exports all that it can.
Result<ExitCode> exportTo(const Options &options, const Assets &assets, ExitCode code) {
    const bool toFolder = fs::is_directory(options.to);
    if (!toFolder && (assets.size() > 1 || options.all))
        return fail(ProblemKind::invalid,
                    fmt::format("{} is not a folder; several assets need one", options.to));
    Progress progress("exported", assets.size(), options.quiet || assets.size() < 2);
    for (const auto &asset : assets) {
        if (isInterrupted())
            return fail(ProblemKind::failed, "interrupted; the rest was not exported");
        const std::string path =
            toFolder ? (fs::path(options.to) / outsideName(asset->record())).string() : options.to;
        if (const auto exported = exportAsset(*asset, path, options.force)) {
            if (assets.size() == 1 && !options.quiet)
                print(path);
        } else if (exported.error().kind == ProblemKind::unreachable) {
            return passOn(exported);
        } else {
            code = report(exported.error());
        }
        progress.advance(1);
    }
    return code;
}

Result<ExitCode> exportAssets(const Options &options) {
    if (!options.all && options.assets.empty())
        return fail(ProblemKind::invalid, "ASSET or --all is required");
    const auto store = openStore();
    if (!store)
        return passOn(store);
    if (options.all) {
        const auto assets = (*store)->assets();
        return assets ? exportTo(options, *assets, ExitCode::success) : failToReadStore(assets);
    }
    Assets assets;
    ExitCode code = ExitCode::success;
    for (const std::string &name : options.assets)
        if (const auto asset = findAsset(**store, name))
            assets.push_back(*asset);
        else
            code = report(asset.error());
    return exportTo(options, assets, code);
}

} // namespace

void setUpExport(Command command) {
    command.description("Copy originals out of the library");
    command.footer("The copies are the same byte for byte.\n\n"
                   "Examples:\n"
                   "  wickerlane export 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 --to beach.jpg\n"
                   "  wickerlane export --all --to ~/backup");
    Options &options = command.runs(exportAssets);
    const auto assets = command.addOption("ASSET", options.assets, "UUIDs, URLs or object IDs of assets");
    command.addFlag("--all", options.all, "Export all assets").excludes(assets);
    command.addOption("-o,--to", options.to, "File or folder to write to (default: the current folder)")
        .typeName("PATH");
    command.addFlag("--force", options.force, "Replace files that already exist");
    command.addFlag("-q,--quiet", options.quiet, "Show problems only");
}

} // namespace wickerlane::cli
