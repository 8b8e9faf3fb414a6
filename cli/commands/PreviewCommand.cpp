// wickerlane preview
#include <fcntl.h>
#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {
namespace {

constexpr std::size_t mostBytes = 255 << 20; // what fits a message

struct Outcome {
    bool success = false;
    std::string error;
};

ExitCode preview(const std::string &name, const std::string &picture) {
    ReleaseScope scope;
    const auto store = openStore();
    const auto asset = store ? findAsset(*store, name) : nullptr;
    if (!asset)
        return ExitCode::notFound;
    std::vector<std::byte> bytes;
    if (!readFile(picture, bytes, mostBytes))
        return fail(ExitCode::failure, fmt::format("can't read {}: {}", picture, std::strerror(errno)));
    if (!daemonAnswers())
        return failUnreachable();
    const auto data = Data::create(bytes.data(), bytes.size());
    Awaited<Outcome> outcome;
    JXGatekeeperClient::sharedInstance()->setLargePreviewImageForAssetWithURL(
        asset->assetURL(), data.get(), nullptr, [outcome](bool success, Error *error) {
            outcome.give({success, error != nullptr ? std::string(error->localizedDescription()->utf8())
                                                    : std::string()});
        });
    const Outcome result = outcome.take();
    if (!result.success)
        return fail(ExitCode::failure, !result.error.empty()
                                           ? result.error
                                           : fmt::format("{} can't be decoded as a picture", picture));
    print(fmt::format("{} is shown as {}", asset->record().uuid, picture));
    return ExitCode::success;
}

} // namespace

void addPreview(Command app, Action &chosen) {
    const auto command = app.addSubcommand("preview", "Give an asset an edited rendition");
    command.footer("The original stays as it is; the library shows the edited picture instead.\n\n"
                   "Example:\n"
                   "  wickerlane preview 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 beach-brighter.jpg");
    struct Options {
        std::string asset;
        std::string picture;
    };
    auto options = std::make_shared<Options>();
    command.addOption("ASSET", options->asset, "UUID, URL or object ID of the asset").required();
    command.addOption("PICTURE", options->picture, "The edited picture").required();
    command.callback(
        [options, &chosen] { chosen = [options] { return preview(options->asset, options->picture); }; });
}

} // namespace wickerlane::cli
