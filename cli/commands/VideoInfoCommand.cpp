// wickerlane video-info
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string path;
    bool json = false;
};

JSON valueOf(const Object *object) {
    if (const auto *number = as<Number>(object))
        return number->kind() == Number::Kind::real ? JSON(number->doubleValue())
                                                    : JSON(number->int64Value());
    if (const auto *date = as<Date>(object))
        return isoDateText(date->referenceSeconds());
    const auto *text = as<String>(object);
    return text != nullptr ? JSON(std::string(text->utf8())) : JSON(nullptr);
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
    JSON all = JSON::object();
    for (const auto &[key, value] : *metadata)
        all[std::string(as<String>(key)->utf8())] = valueOf(value);
    if (options.json)
        printJSON(all);
    else
        for (const auto &[key, value] : all.items())
            print(fmt::format("{:<16} {}", key, value.is_string() ? value.get<std::string>() : value.dump()));
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
