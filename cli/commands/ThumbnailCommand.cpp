// wickerlane thumbnail
#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/NewFile.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/ImageDataFormats.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string asset;
    std::string format = "preview";
    std::optional<std::uint64_t> size;
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

protocol::ImageDataFormat formatOf(store::ThumbnailSize size) {
    switch (size) {
    case store::ThumbnailSize::small:
        return protocol::imageDataSmallJPEG;
    case store::ThumbnailSize::preview:
        return protocol::imageDataPreviewJPEG;
    case store::ThumbnailSize::large:
        return protocol::imageDataLargeJPEG;
    }
    return protocol::imageDataFullSizeJPEG;
}

/// The smallest that has as many pixels a side, unless the picture itself has fewer.
int formatOfSize(std::uint64_t pixels) {
    const auto kind = std::ranges::find_if(
        store::thumbnailKinds, [&](const store::ThumbnailKind &each) { return each.maxSide >= pixels; });
    return kind == store::thumbnailKinds.end() ? protocol::imageDataFullSizeJPEG : formatOf(kind->size);
}

/// The name of the file when none is given.
std::string defaultName(const ManagedAsset &asset, int format) {
    if (format == protocol::imageDataOriginal)
        return asset.record().filename;
    return asset.record().uuid + (format == protocol::imageDataFullSizePNG ? ".png" : ".jpg");
}

Result<ExitCode> writeThumbnail(const Options &options) {
    const auto found = askForAsset(options.asset);
    if (!found)
        return passOn(found);
    const ManagedAsset &asset = **found;
    const int format = options.size ? formatOfSize(*options.size) : formatNamed(options.format);
    const Data *data = JXGatekeeperClient::sharedInstance()->imageDataForAsset(asset.objectID(), format);
    if (data == nullptr) {
        const std::string &problem = asset.record().problem;
        return failRequest({ProblemKind::failed,
                            fmt::format("there is no such picture of {}{}", asset.record().uuid,
                                        problem.empty() ? "" : ", because it can't be decoded: " + problem),
                            {}});
    }
    const std::string path = options.to.empty() ? defaultName(asset, format) : options.to;
    auto file = NewFile::create(path);
    if (!file)
        return passOn(file);
    if (const auto written = file->write(data->span()).and_then([&] { return file->finish(options.force); });
        !written)
        return passOn(written);
    print(fmt::format("{} ({})", path, sizeText(data->length())));
    return ExitCode::success;
}

} // namespace

void setUpThumbnail(Command command) {
    command.footer(
        "Formats:\n"
        "  small     JPEG, upright, up to 256 pixels a side\n"
        "  preview   JPEG, upright, up to 1024 pixels a side (default)\n"
        "  large     JPEG, upright, up to 2048 pixels a side; kept once it has been asked for\n"
        "  full      JPEG, upright, full size\n"
        "  png       PNG, upright, full size\n"
        "  original  the file as it was saved\n\n"
        "Example:\n"
        "  wickerlane thumbnail 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10 --format small --to beach.jpg");
    Options &options = command.runs(writeThumbnail);
    command.addOption("ASSET", options.asset, "UUID, URL or object ID of the asset").required();
    const auto format = command.addOption("-f,--format", options.format, "Format of the picture, see below")
                            .oneOf(formatNames())
                            .typeName("FORMAT");
    command
        .addOption("-s,--size", options.size,
                   "Pixels that a side should have at least: chooses small, preview, large or full")
        .typeName("PIXELS")
        .positive()
        .excludes(format);
    command.addOption("-o,--to", options.to, "File to write (default: named after the asset)")
        .typeName("FILE");
    command.addFlag("--force", options.force, "Replace a file that already exists");
}

} // namespace wickerlane::cli
