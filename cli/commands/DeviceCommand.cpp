// wickerlane debug device
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <optional>

#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/device/DisplayList.h"
#include "wickerlane/util/identity/JXPictorama.h"
#include "wickerlane/util/identity/JXScreen.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
};

std::string modeText(const std::optional<PixelSize> &mode) {
    return mode ? fmt::format("{}x{}", mode->width, mode->height) : std::string();
}

JSON describeDevice(const std::vector<Display> &displays) {
    JSON listed = JSON::array();
    for (const Display &each : displays) {
        listed.push_back({{"connector", each.connector}, {"enabled", each.isEnabled}});
        if (const auto mode = each.mode()) {
            listed.back()["width"] = mode->width;
            listed.back()["height"] = mode->height;
        }
    }
    JSON described = {{"internal", deviceIsInternal()},
                      {"processors", deviceProcessorCount()},
                      {"tallScreen", JXIsTallScreen()},
                      {"displays", std::move(listed)},
                      {"pictoramaInstalled", JXIsPictoramaInstalled()}};
    if (const double scale = JXScreenScale(); scale > 0)
        described["screenScale"] = scale;
    return described;
}

void printDevice(const std::vector<Display> &displays) {
    const double scale = JXScreenScale();
    printField("Device", deviceIsInternal() ? "internal" : "a user's");
    printField("Processors", std::to_string(deviceProcessorCount()));
    printField("Screen",
               scale == 0 ? "none" : fmt::format("scale {}{}", scale, JXIsTallScreen() ? ", tall" : ""));
    for (const Display &each : displays)
        printField("Display",
                   fmt::format("{}: {}", each.connector,
                               each.isEnabled ? each.mode() ? modeText(each.mode()) : "on" : "off"));
    printField("Pictorama", JXIsPictoramaInstalled() ? "installed" : "not installed");
}

Result<ExitCode> showDevice(const Options &options) {
    const std::vector<Display> displays = displayList();
    if (options.json)
        printJSON(describeDevice(displays));
    else
        printDevice(displays);
    return ExitCode::success;
}

} // namespace

void setUpDevice(Command command) {
    command.footer("Example:\n  wickerlane debug device --json");
    Options &options = command.runs(showDevice);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
