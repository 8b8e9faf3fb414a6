// wickerlane estimate
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;
namespace keys = protocol::keys;

struct Options {
    std::string video;
    std::string preset{protocol::defaultExportPreset};
    double start = -1;
    double duration = -1;
    bool json = false;
};

/// Of a file, or of an asset.
Result<Ref<URL>> urlOf(const std::string &video) {
    std::error_code unknown;
    if (fs::exists(video, unknown))
        return URL::ofPath(fs::absolute(video).lexically_normal().string());
    return askForAsset(video).map([](const auto &asset) { return Ref<URL>(asset->assetURL()); });
}

Result<ExitCode> estimate(const Options &options) {
    const auto url = urlOf(options.video);
    if (!url)
        return passOn(url);
    const auto properties = MutableDictionary::create();
    if (options.start >= 0)
        properties->set(protocol::exportProperty::startTime, Number::of(options.start));
    if (options.duration >= 0)
        properties->set(protocol::exportProperty::duration, Number::of(options.duration));
    client::Request request(protocol::estimatedOutputFileLength);
    request.set(keys::videoURL, url->get());
    request.set(keys::exportPreset, String::of(options.preset));
    if (properties->count() != 0)
        request.set(keys::exportProperties, properties.get());
    const auto answer = answerUnlessInterrupted(request);
    if (!answer)
        return passOn(answer);
    if (!answer->isDictionary())
        return failRequest(
            {ProblemKind::failed, localized("{} can't be read as a video", options.video), {}});
    const std::int64_t bytes = answer->get(keys::fileLength);
    if (options.json)
        printJSON({{"preset", options.preset}, {"bytes", bytes}});
    else
        print(sizeText(static_cast<std::uint64_t>(bytes)));
    return ExitCode::success;
}

std::string describePreset(const protocol::ExportPreset &preset) {
    if (preset.maxSide == 0)
        return fmt::format("  {:<12} a copy of the tracks, not encoded again\n", preset.name);
    return fmt::format("  {:<12} up to {} pixels a side, {:.1f} Mbit/s\n", preset.name, preset.maxSide,
                       static_cast<double>(preset.videoBitRate) / 1e6);
}

} // namespace

void setUpEstimate(Command command) {
    std::string footer = "Presets:\n";
    std::vector<std::string> names;
    for (const protocol::ExportPreset &each : protocol::exportPresets) {
        names.emplace_back(each.name);
        footer += describePreset(each);
    }
    command.footer(footer + "\nExample:\n  wickerlane estimate beach.mp4 --preset low");
    Options &options = command.runs(estimate);
    command.addOption("VIDEO", options.video, "A file, or the UUID, URL or object ID of an asset").required();
    command.addOption("--preset", options.preset, "Quality of the export, see below")
        .oneOf(names)
        .showDefault()
        .typeName("PRESET");
    command.addOption("--start", options.start, "Where the export starts (default: 0)")
        .notNegative()
        .typeName("SECONDS");
    command.addOption("--duration", options.duration, "Length of the export (default: to the end)")
        .notNegative()
        .typeName("SECONDS");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
