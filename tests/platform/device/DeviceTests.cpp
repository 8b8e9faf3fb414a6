#include "wickerlane/platform/device/Device.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <thread>

#include "wickerlane/platform/device/DeviceAnswers.h"
#include "wickerlane/platform/device/DisplayList.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;
namespace fs = std::filesystem;

TEST(Device, IsWhatTheMachineIsUnlessItsSettingsSayOtherwise) {
    const unsigned processors = deviceProcessorCount();
    EXPECT_GE(processors, 1u);
    EXPECT_FALSE(deviceIsInternal());
    ASSERT_TRUE(setPreferenceValue("InternalDevice", Number::of(true), deviceDomain));
    EXPECT_TRUE(deviceIsInternal());
    for (const auto &[set, expected] : {std::pair<std::int64_t, unsigned>{1, 1},
                                        {64, 64},
                                        {0, processors},
                                        {-2, processors},
                                        {1LL << 40, UINT_MAX}}) {
        ASSERT_TRUE(setPreferenceValue("ProcessorCount", Number::of(set), deviceDomain));
        EXPECT_EQ(deviceProcessorCount(), expected) << set;
    }
}

TEST(Device, AnswersWithItsSettingsWhereTheyAreNumbers) {
    const String *question = String::of("main-screen-scale");
    EXPECT_EQ(DVGetFloat32Answer(question, -1), -1);
    const std::pair<Object *, float> cases[] = {
        {Number::of(3), 3},        {Number::of(2.5), 2.5},   {Number::of(-1), -1},  {String::of("1.5"), 1.5},
        {Number::of(INFINITY), 9}, {String::of("nan"), 9},   {String::of("2x"), 9}, {String::of(""), 9},
        {Number::of(1e300), 9},    {String::of("1e300"), 9}, {Array::of({}), 9}};
    for (const auto &[set, answer] : cases) {
        ASSERT_TRUE(setPreferenceValue("main-screen-scale", set, deviceDomain));
        EXPECT_EQ(DVGetFloat32Answer(question, 9), answer) << set->description()->utf8();
    }
    EXPECT_EQ(DVGetFloat32Answer(nullptr, 4), 4);
}

namespace {

void connect(const std::string &connector, const std::string &status, const std::string &enabled,
             const std::string &modes) {
    const fs::path folder = fs::path(std::getenv("WICKERLANE_ROOT")) / "drm" / connector;
    fs::create_directories(folder);
    std::ofstream(folder / "status") << status << '\n';
    std::ofstream(folder / "enabled") << enabled << '\n';
    std::ofstream(folder / "modes") << modes;
}

} // namespace

TEST(Displays, AreListedPanelsFirstThenByName) {
    const std::string folder = fs::path(std::getenv("WICKERLANE_ROOT")) / "drm";
    EXPECT_TRUE(displayList(folder).empty());
    connect("card0-DP-10", "connected", "enabled", "1920x1080\n1280x720\n");
    connect("card0-DP-9", "connected", "enabled", "1920x1080i\n");
    connect("card1-eDP-1", "connected", "enabled", "640x1136\n");
    connect("card0-HDMI-A-1", "disconnected", "enabled", "1024x768\n");
    connect("card0-VGA-1", "connected", "disabled", "1024x768\n");
    connect("card0-DVI-1", "connected", "enabled", "x\n0x0\n-1x5\n10\n99999999999x1\n800x600");
    connect("card0-DVI-2", "connected", "enabled", "");
    fs::create_directories(folder + "/card0-Empty-1");
    connect("card0", "connected", "enabled", "1x1\n");
    connect("version", "connected", "enabled", "1x1\n");

    std::vector<std::string> shown;
    for (const Display &each : displayList(folder))
        shown.push_back(each.connector + (each.isEnabled ? " on" : " off") +
                        (each.mode() ? " " + std::to_string(static_cast<int>(each.mode()->width)) + "x" +
                                           std::to_string(static_cast<int>(each.mode()->height))
                                     : ""));
    EXPECT_EQ(shown, (std::vector<std::string>{"card1-eDP-1 on 640x1136", "card0-DP-9 on 1920x1080",
                                               "card0-DP-10 on 1920x1080", "card0-DVI-1 on 800x600",
                                               "card0-DVI-2 on", "card0-Empty-1 off", "card0-HDMI-A-1 off",
                                               "card0-VGA-1 off"}));
}
