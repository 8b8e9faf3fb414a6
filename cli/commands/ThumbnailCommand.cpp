// wickerlane thumbnail
#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include "cli/NewFile.h"
#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/ImageDataFormats.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string asset;
    std::string format = "preview";
    std::string to;
    bool force = false;
};

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const auto &each : protocol::imageDataFormats)
        names.emplace_back(each.name);
    return names;
}

/// The number of one of formatNames().
int formatNamed(const std::string &name) {
    for (const auto &each : protocol::imageDataFormats)
        if (name == each.name)
            return each.format;
    return -1;
}

/// A name for the file when none is given: the asset's UUID, and an extension that fits its contents.
std::string defaultName(const store::ManagedAsset &asset, int format) {
    if (format == protocol::imageDataOriginal)
        return asset.record().filename;
    return asset.record().uuid + (format == protocol::imageDataFullSizePNG ? ".png" : ".jpg");
}

ExitCode thumbnail(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    if (!store)
        return ExitCode::notFound;
    const auto asset = findAsset(*store, options.asset);
    if (!asset)
        return ExitCode::notFound;

    const int format = formatNamed(options.format);
    const Data *data = JXGatekeeperClient::sharedInstance()->imageDataForAsset(asset->objectID(), format);
    if (data == nullptr) {
        if (!daemonAnswers())
            return failUnreachable();
        const std::string &problem = asset->record().problem;
        return fail(ExitCode::failure,
                    fmt::format("there is no such picture of {}{}", asset->record().uuid,
                                problem.empty() ? "" : ", since it can't be decoded: " + problem));
    }

    const std::string path = options.to.empty() ? defaultName(*asset, format) : options.to;
    NewFile file(path);
    if (file.descriptor() < 0 || !writeAll(file.descriptor(), data->span()) || !file.finish(options.force))
        return failToWrite(path);
    print(fmt::format("{} ({})", path, sizeText(data->length())));
    return ExitCode::success;
}

} // namespace

void addThumbnail(Command app, Action &chosen) {
    const auto command =
        app.addSubcommand("thumbnail", "Write an asset's picture in one of the library's formats");
    command.footer(
        "Formats:\n"
        "  small     JPEG, upright, at most 256 pixels a side\n"
        "  preview   JPEG, upright, at most 1024 pixels a side (the default)\n"
        "  full      JPEG, upright, of full size\n"
        "  png       PNG, upright, of full size\n"
        "  original  the bytes that were saved\n\n"
        "Example:\n"
        "  wickerlane thumbnail 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 --format small --to beach.jpg");
    auto options = std::make_shared<Options>();
    command.addOption("ASSET", options->asset, "UUID, URL or object ID of the asset").required();
    command.addOption("-f,--format", options->format, "Which picture, see below")
        .oneOf(formatNames())
        .typeName("FORMAT");
    command.addOption("-o,--to", options->to, "File to write (default: named after the asset)")
        .typeName("FILE");
    command.addFlag("--force", options->force, "Replace a file that exists");
    command.callback([options, &chosen] { chosen = [options] { return thumbnail(*options); }; });
}

} // namespace wickerlane::cli
