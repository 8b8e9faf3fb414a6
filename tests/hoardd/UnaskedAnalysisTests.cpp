// Analyses that no client asked for, without a daemon.
#include <atomic>
#include <fstream>
#include <map>

#include "hoardd/analysis/LibraryAnalysis.h"
#include "hoardd/analysis/QuietTimer.h"
#include "hoardd/service/Battery.h"
#include "tests/hoardd/OpenLibrary.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/queue/Semaphore.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class UnaskedAnalysis : public OpenLibrary {
protected:
    const std::string supplies = paths.folder() + "/power";

    void supply(const std::string &name, const std::map<std::string, std::string> &files) const {
        fs::create_directories(supplies + '/' + name);
        for (const auto &[file, text] : files)
            std::ofstream(supplies + '/' + name + '/' + file) << text << '\n';
    }
    void setPreference(const char *name, std::int64_t value) const {
        ASSERT_TRUE(setPreferenceValue(name, Number::of(value), "org.wickerlane.hoardd"));
    }
};

TEST_F(UnaskedAnalysis, WaitsForPowerAndForLeave) {
    static_cast<void>(saved(jpegOf(scene(320, 240, 1))));
    supply("BAT0", {{"type", "Battery"}, {"status", "Discharging"}});
    EXPECT_EQ(analyzeUnasked(library(), supplies), UnaskedOutcome::onBattery);
    setPreference("AnalyzesUnasked", 0);
    EXPECT_EQ(analyzeUnasked(library(), supplies), UnaskedOutcome::unwanted);
    setPreference("AnalyzesUnasked", 1);
    EXPECT_EQ(isAnalyzed(library()), false);
    setPreference("AnalyzesOnBattery", 1);
    EXPECT_EQ(analyzeUnasked(library(), supplies), UnaskedOutcome::done);
    EXPECT_EQ(isAnalyzed(library()), true);
    setPreference("AnalyzesOnBattery", 0);
    EXPECT_EQ(analyzeUnasked(library(), supplies), UnaskedOutcome::done) << "there is nothing to wait for";
}

TEST_F(UnaskedAnalysis, KnowsTheBatteryOfTheDevice) {
    EXPECT_FALSE(isOnBattery(supplies)) << "there is no such folder";
    supply("AC", {{"type", "Mains"}, {"online", "0"}});
    supply("mouse", {{"type", "Battery"}, {"scope", "Device"}, {"status", "Discharging"}});
    supply("BAT0", {{"type", "Battery"}, {"status", "Full"}});
    EXPECT_FALSE(isOnBattery(supplies));
    supply("BAT1", {{"type", "Battery"}, {"status", "Discharging"}});
    EXPECT_TRUE(isOnBattery(supplies));
    supply("BAT1", {{"status", "Charging"}});
    EXPECT_FALSE(isOnBattery(supplies));
}

TEST(QuietTimer, CallsOnceForAllThatCameWhileItWaited) {
    const auto called = Semaphore::create(0);
    std::atomic<int> calls = 0;
    QuietTimer timer([&, called] {
        ++calls;
        called->signal();
    });
    const auto begun = std::chrono::steady_clock::now();
    timer.startAfter(std::chrono::milliseconds(200));
    for (int i = 0; i < 5; ++i)
        timer.startAfter(std::chrono::milliseconds(1));
    called->wait();
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(200));
    EXPECT_EQ(calls, 1);
    timer.startAfter(std::chrono::milliseconds(1));
    called->wait();
    EXPECT_EQ(calls, 2);
}

} // namespace
