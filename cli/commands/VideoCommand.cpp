// wickerlane video-info, wickerlane estimate
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

Ref<String> absolutePath(const std::string &path) {
    return String::create(fs::absolute(path).lexically_normal().string());
}

JSON valueOf(const Object *object) {
    if (const auto *number = as<Number>(object))
        return number->kind() == Number::Kind::real ? JSON(number->doubleValue())
                                                    : JSON(number->int64Value());
    if (const auto *date = as<Date>(object))
        return isoDateText(date->referenceSeconds());
    const auto *text = as<String>(object);
    return text != nullptr ? JSON(std::string(text->utf8())) : JSON(nullptr);
}

ExitCode videoInfo(const std::string &path, bool json) {
    ReleaseScope scope;
    const auto absolute = absolutePath(path);
    if (!absolute)
        return fail(ExitCode::usage, "the path is not UTF-8; rename the file first");
    const Dictionary *metadata = JXGatekeeperClient::sharedInstance()->videoMetadataAtPath(absolute.get());
    if (metadata == nullptr) {
        if (!daemonAnswers())
            return failUnreachable();
        return fail(ExitCode::failure, fmt::format("{} can't be read as a video", path));
    }
    JSON all = JSON::object();
    for (const auto &[key, value] : *metadata)
        all[std::string(as<String>(key)->utf8())] = valueOf(value);
    if (json) {
        printJSON(all);
        return ExitCode::success;
    }
    for (const auto &[key, value] : all.items())
        print(fmt::format("{:<16} {}", key, value.is_string() ? value.get<std::string>() : value.dump()));
    return ExitCode::success;
}

struct EstimateOptions {
    std::string video;
    std::string preset{protocol::defaultExportPreset};
    double start = -1;
    double duration = -1;
    bool json = false;
};

/// A file, or an asset that is named in any of its ways. Null, after an error on standard error.
Ref<URL> urlOf(const std::string &video) {
    std::error_code unknown;
    if (fs::exists(video, unknown))
        return URL::ofPath(fs::absolute(video).lexically_normal().string());
    const auto store = openStore();
    const auto asset = store ? findAsset(*store, video) : nullptr;
    return asset ? Ref<URL>(asset->assetURL()) : nullptr;
}

ExitCode estimate(const EstimateOptions &options) {
    ReleaseScope scope;
    const auto url = urlOf(options.video);
    if (!url)
        return ExitCode::notFound;
    auto properties = MutableDictionary::create();
    if (options.start >= 0)
        properties->set(protocol::exportProperty::startTime, Number::of(options.start));
    if (options.duration >= 0)
        properties->set(protocol::exportProperty::duration, Number::of(options.duration));
    const std::int64_t bytes = JXGatekeeperClient::sharedInstance()->estimatedOutputFileLengthForVideoURL(
        url.get(), nullptr, String::of(options.preset), properties.get());
    if (bytes < 0) {
        if (!daemonAnswers())
            return failUnreachable();
        return fail(ExitCode::failure, fmt::format("{} can't be read as a video", options.video));
    }
    if (options.json)
        printJSON({{"preset", options.preset}, {"bytes", bytes}});
    else
        print(sizeText(static_cast<std::uint64_t>(bytes)));
    return ExitCode::success;
}

} // namespace

void addVideoInfo(Command app, Action &chosen) {
    const auto command = app.addSubcommand("video-info", "Show what a video file says of itself");
    command.footer("Example:\n  wickerlane video-info beach.mp4 --json");
    struct Options {
        std::string path;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.addOption("FILE", options->path, "The video").required();
    command.addFlag("--json", options->json, "Write JSON");
    command.callback(
        [options, &chosen] { chosen = [options] { return videoInfo(options->path, options->json); }; });
}

void addEstimate(Command app, Action &chosen) {
    const auto command = app.addSubcommand("estimate", "Estimate how large an export of a video would be");
    std::string footer = "Presets:\n";
    std::vector<std::string> names;
    for (const protocol::ExportPreset &each : protocol::exportPresets) {
        names.emplace_back(each.name);
        footer += each.longestSide == 0
                      ? fmt::format("  {:<12} the tracks as they are\n", each.name)
                      : fmt::format("  {:<12} at most {} pixels a side, {:.1f} Mbit/s\n", each.name,
                                    each.longestSide, static_cast<double>(each.videoBitRate) / 1e6);
    }
    command.footer(footer + "\nExample:\n  wickerlane estimate beach.mp4 --preset low");
    auto options = std::make_shared<EstimateOptions>();
    command.addOption("VIDEO", options->video, "A file, or the UUID, URL or object ID of an asset")
        .required();
    command.addOption("--preset", options->preset, "How it would be exported, see below")
        .oneOf(names)
        .showDefault()
        .typeName("PRESET");
    command.addOption("--start", options->start, "Export from there on").notNegative().typeName("SECONDS");
    command.addOption("--duration", options->duration, "Export so much").notNegative().typeName("SECONDS");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return estimate(*options); }; });
}

} // namespace wickerlane::cli
