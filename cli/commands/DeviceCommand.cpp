// wickerlane device
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <optional>

#include "cli/Output.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/device/DisplayList.h"
#include "wickerlane/util/identity/JXPictorama.h"
#include "wickerlane/util/identity/JXScreen.h"

namespace wickerlane::cli {
namespace {

std::string modeText(const std::optional<PixelSize> &mode) {
    return mode ? fmt::format("{}x{}", mode->width, mode->height) : std::string();
}

JSON describeDevice(const std::vector<Display> &displays) {
    JSON listed = JSON::array();
    for (const Display &each : displays)
        listed.push_back({{"connector", each.connector},
                          {"enabled", each.isEnabled},
                          {"mode", each.mode() ? JSON(modeText(each.mode())) : JSON()}});
    return {{"internal", deviceIsInternal()}, {"processors", deviceProcessorCount()},
            {"screenScale", JXScreenScale()}, {"tallScreen", JXIsTallScreen()},
            {"displays", std::move(listed)},  {"pictoramaInstalled", JXIsPictoramaInstalled()}};
}

void printDevice(const std::vector<Display> &displays) {
    const auto line = [](std::string_view label, std::string_view value) {
        print(fmt::format("{:<12}{}", label, value));
    };
    const double scale = JXScreenScale();
    line("Device", deviceIsInternal() ? "internal" : "a user's");
    line("Processors", std::to_string(deviceProcessorCount()));
    line("Screen", scale == 0 ? "none" : fmt::format("scale {}{}", scale, JXIsTallScreen() ? ", tall" : ""));
    for (const Display &each : displays)
        line("Display", fmt::format("{}: {}", each.connector,
                                    each.isEnabled ? each.mode() ? modeText(each.mode()) : "on" : "off"));
    line("Pictorama", JXIsPictoramaInstalled() ? "installed" : "not installed");
}

ExitCode showDevice(bool json) {
    const std::vector<Display> displays = displayList();
    if (json)
        printJSON(describeDevice(displays));
    else
        printDevice(displays);
    return ExitCode::success;
}

} // namespace

void addDevice(Command app, Action &chosen) {
    const auto command = app.addSubcommand("device", "Say what the library knows of this device");
    command.footer("Example:\n  wickerlane device --json");
    auto json = std::make_shared<bool>(false);
    command.addFlag("--json", *json, "Write JSON");
    command.callback([json, &chosen] { chosen = [json] { return showDevice(*json); }; });
}

} // namespace wickerlane::cli
