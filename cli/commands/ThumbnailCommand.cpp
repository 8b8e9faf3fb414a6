// wickerlane thumbnail
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>

#include "cli/DaemonRequests.h"
#include "cli/ForeignProblems.h"
#include "cli/Formatting.h"
#include "cli/NewFile.h"
#include "cli/Output.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/TargetFolder.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/ImageDataFormats.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {
namespace {

struct Options {
    Selection selection;
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

/// Gives what to say of the file.
Result<std::string> writeThumbnail(const Options &options, const ManagedAsset &asset, const std::string &to) {
    const int format = options.size ? formatOfSize(*options.size) : formatNamed(options.format);
    const Data *data = JXGatekeeperClient::sharedInstance()->imageDataForAsset(asset.objectID(), format);
    if (data == nullptr) {
        const std::string &problem = asset.record().problem;
        return failRequest({ProblemKind::failed,
                            problem.empty()
                                ? localized("there is no such picture of {}", asset.record().uuid)
                                : localized("there is no such picture of {}, because it can't be decoded: {}",
                                            asset.record().uuid, translated(problem)),
                            {}});
    }
    const std::string path = to.empty() || to.ends_with('/') ? to + defaultName(asset, format) : to;
    auto file = NewFile::create(path);
    if (!file)
        return passOn(file);
    if (const auto written = file->write(data->span()).and_then([&] { return file->finish(options.force); });
        !written)
        return passOn(written);
    return fmt::format("{} ({})", path, sizeText(data->length()));
}

Result<ExitCode> writeThumbnails(const Options &options) {
    const auto selected = select(options.selection);
    if (!selected)
        return passOn(selected);
    if (options.selection.isDryRun)
        return printDryRun(selected->uuids,
                           localizedCount(selected->uuids.size(), "{} asset would be written as pictures",
                                          "{} assets would be written as pictures"));
    std::string to = options.to;
    const bool isOne = selected->uuids.size() == 1 && !options.selection.isOpen();
    std::error_code unknown;
    if (!to.empty() && (!isOne || std::filesystem::is_directory(to, unknown))) {
        if (const auto made = requireTargetFolder(to); !made)
            return passOn(made);
        if (!to.ends_with('/'))
            to += '/';
    }
    const auto outcome =
        forEachSelected(selected->uuids, localized("writing"), [&](const ManagedAsset &asset) {
            return writeThumbnail(options, asset, to).map([&](const std::string &written) {
                if (isOne)
                    summarize(written);
            });
        });
    if (!outcome)
        return passOn(outcome);
    if (!isOne)
        summarize(localizedCount(outcome->done, "{} file written", "{} files written"));
    return outcome->code != ExitCode::success ? outcome->code : selected->code;
}

} // namespace

void setUpThumbnail(Command command) {
    command.footer("Formats:\n"
                   "  small     JPEG, upright, up to 256 pixels a side\n"
                   "  preview   JPEG, upright, up to 1024 pixels a side (default)\n"
                   "  large     JPEG, upright, up to 2048 pixels a side; kept once it has been asked for\n"
                   "  full      JPEG, upright, full size\n"
                   "  png       PNG, upright, full size\n"
                   "  original  the file as it was saved\n\n"
                   "Examples:\n"
                   "  wickerlane thumbnail 7F3D0A52 --format small --to beach.jpg\n"
                   "  wickerlane thumbnail --where album=Dunes --size 300 --to pages");
    Options &options = command.runs(writeThumbnails);
    addSelection(command, options.selection);
    addDryRun(command, options.selection);
    const auto format = command.addOption("-f,--format", options.format, "Format of the picture, see below")
                            .oneOf(formatNames())
                            .typeName("FORMAT");
    command
        .addOption("-s,--size", options.size,
                   "Pixels that a side should have at least: chooses small, preview, large or full")
        .typeName("PIXELS")
        .positive()
        .excludes(format);
    command.addOption("-o,--to", options.to, "File or folder to write to (default: named after the asset)")
        .typeName("PATH");
    command.addFlag("--force", options.force, "Replace a file that already exists");
}

} // namespace wickerlane::cli
