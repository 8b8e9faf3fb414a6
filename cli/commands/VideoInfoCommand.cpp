// wickerlane video-info
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <optional>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/ObjectJSON.h"
#include "cli/Output.h"
#include "cli/SharedJSON.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace wickerlane::cli {
namespace {

namespace key = protocol::videoKey;

struct Options {
    std::string path;
    bool json = false;
};

std::optional<double> numberIn(const Dictionary &metadata, std::string_view name) {
    const auto *number = metadata.get<Number>(name);
    return number != nullptr ? std::optional(number->doubleValue()) : std::nullopt;
}

/// With the keys that assets have, where they have the same.
JSON describe(const Dictionary &metadata) {
    JSON described = JSON::object();
    for (const std::string_view same :
         {key::duration, key::width, key::height, key::rotation, key::frameRate, key::videoCodec,
          key::videoBitRate, key::audioCodec, key::audioBitRate, key::audioChannels, key::audioSampleRate,
          key::container, key::trackCount})
        if (const Object *value = metadata.get(same))
            described[same] = jsonOf(value);
    if (const Object *bytes = metadata.get(key::fileSize))
        described["bytes"] = jsonOf(bytes);
    if (const auto *date = metadata.get<Date>(key::creationDate)) {
        const auto *zone = metadata.get<Number>(key::zoneMinutes);
        const std::int64_t minutes = zone != nullptr ? zone->int64Value() : 0;
        described["created"] = isoClockText(date->referenceSeconds() + static_cast<double>(minutes) * 60,
                                            zone != nullptr ? std::optional(minutes) : std::nullopt);
    }
    const auto latitude = numberIn(metadata, key::latitude), longitude = numberIn(metadata, key::longitude);
    if (latitude && longitude)
        described["place"] = describePlace(*latitude, *longitude);
    return described;
}

std::string textOf(const JSON &value) {
    if (value.is_object()) // a place
        return fmt::format("{}, {}", value["latitude"].dump(), value["longitude"].dump());
    return value.is_string() ? value.get<std::string>() : value.dump();
}

Result<ExitCode> showVideoInfo(const Options &options) {
    const auto absolute = String::create(std::filesystem::absolute(options.path).lexically_normal().string());
    if (!absolute)
        return fail(ProblemKind::invalid, localized("the path is not UTF-8; rename the file first"));
    client::Request request(protocol::videoMetadata);
    request.set(protocol::keys::filePath, absolute.get());
    const auto answer = answerUnlessInterrupted(request);
    if (!answer)
        return passOn(answer);
    const Dictionary *metadata = as<Dictionary>(answer->get(protocol::keys::metadata));
    if (metadata == nullptr)
        return failRequest(
            {ProblemKind::failed, localized("{} can't be read as a video", options.path), options.path});
    const JSON all = describe(*metadata);
    if (options.json)
        printJSON(all);
    else
        for (const auto &[name, value] : all.items())
            print(fmt::format("{:<16} {}", name, textOf(value)));
    return ExitCode::success;
}

} // namespace

void setUpVideoInfo(Command command) {
    command.footer("Example:\n  wickerlane video-info beach.mp4 --json");
    Options &options = command.runs(showVideoInfo);
    command.addOption("FILE", options.path, "The video").required();
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
