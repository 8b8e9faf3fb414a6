// wickerlane delete
#include <fmt/format.h>
#include <unistd.h>

#include <iostream>

#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> assets;
    bool yes = false;
};

/// Whether a person at the terminal means it.
bool isConfirmed(std::size_t count) {
    if (isatty(STDIN_FILENO) == 0)
        return false;
    note(fmt::format("{} will be gone for good. Go on? [y/N]", countText(count, "asset", "assets")));
    std::string line;
    return std::getline(std::cin, line) && (line == "y" || line == "yes");
}

ExitCode remove(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    std::vector<Ref<store::ManagedAsset>> assets;
    for (const std::string &name : options.assets)
        if (const auto asset = findAsset(*store, name))
            assets.push_back(asset);
    if (assets.size() != options.assets.size())
        return ExitCode::notFound; // nothing has been done
    if (!options.yes && !isConfirmed(assets.size()))
        return fail(ExitCode::failure, "nothing was deleted; --yes deletes without asking");
    if (!daemonAnswers())
        return failUnreachable();
    ExitCode code = ExitCode::success;
    std::size_t deleted = 0;
    for (const auto &asset : assets) {
        Awaited<std::pair<bool, std::string>> outcome;
        JXGatekeeperClient::sharedInstance()->deleteAssetWithURL(
            asset->assetURL(), [outcome](bool success, Error *error) {
                outcome.give({success, error != nullptr ? std::string(error->localizedDescription()->utf8())
                                                        : std::string("the daemon's log says why")});
            });
        if (const auto [success, why] = outcome.take(); success)
            ++deleted;
        else
            code = fail(ExitCode::failure, fmt::format("{} was not deleted: {}", asset->record().uuid, why));
    }
    print(countText(deleted, "asset", "assets") + " deleted");
    return code;
}

} // namespace

void addDelete(Command app, Action &chosen) {
    const auto command = app.addSubcommand("delete", "Delete assets with all that belongs to them");
    command.footer("There is no way back: take what you want to keep out first, with `wickerlane export`.\n\n"
                   "Example:\n  wickerlane delete 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10");
    auto options = std::make_shared<Options>();
    command.addOption("ASSET", options->assets, "UUIDs, URLs or object IDs of assets").required();
    command.addFlag("-y,--yes", options->yes, "Do not ask");
    command.callback([options, &chosen] { chosen = [options] { return remove(*options); }; });
}

} // namespace wickerlane::cli
