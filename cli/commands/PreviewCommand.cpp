// wickerlane preview
#include "cli/DaemonRequests.h"
#include "cli/FileFailures.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {
namespace {

constexpr std::size_t maxBytes = 255 << 20; // what fits into a message

struct Options {
    std::string asset;
    std::string picture;
};

Result<ExitCode> preview(const Options &options) {
    const auto asset = askForAsset(options.asset);
    if (!asset)
        return passOn(asset);
    std::vector<std::byte> bytes;
    if (!readFile(options.picture, bytes, maxBytes))
        return failToRead(options.picture);
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const auto data = Data::create(bytes);
    const auto set =
        waitForSuccess(localized("{} was not set", options.picture), [&](const SuccessHandler &handler) {
            JXGatekeeperClient::sharedInstance()->setLargePreviewImageForAssetWithURL(
                (*asset)->assetURL(), data.get(), nullptr, handler);
        });
    if (!set)
        return passOn(set);
    print(localized("{} is now shown as {}", (*asset)->record().uuid, options.picture));
    return ExitCode::success;
}

} // namespace

void setUpPreview(Command command) {
    command.footer("The original is kept. The library shows the edited picture instead of it.\n\n"
                   "Example:\n"
                   "  wickerlane preview 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 beach-brighter.jpg");
    Options &options = command.runs(preview);
    command.addOption("ASSET", options.asset, nameOfAsset).required();
    command.addOption("PICTURE", options.picture, "File with the edited picture").required();
}

} // namespace wickerlane::cli
