// Answers that never change within a process: each case starts this program again, under another name.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "wickerlane/platform/applications/ApplicationWorkspace.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/device/Screen.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/util/identity/JXPictorama.h"
#include "wickerlane/util/identity/JXProcessIdentity.h"
#include "wickerlane/util/identity/JXScreen.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

using Answers = std::map<std::string, double>;
using Environment = std::map<std::string, std::string>;

fs::path root() {
    return std::getenv("WICKERLANE_ROOT");
}

// The answers of a process with that first argument, or without arguments for null.
Answers answersOf(const char *firstArgument, const Environment &changed = {}) {
    Environment all;
    for (char **each = environ; *each != nullptr; ++each) {
        const std::string_view entry = *each;
        all[std::string(entry.substr(0, entry.find('=')))] = entry.substr(entry.find('=') + 1);
    }
    all["WICKERLANE_TEST_SHARED_ROOT"] = root();
    all["GTEST_FILTER"] = "DISABLED_Identity.AnswersAlikeOnAllThreads";
    all["GTEST_ALSO_RUN_DISABLED_TESTS"] = all["GTEST_BRIEF"] = "1";
    for (const auto &[name, value] : changed)
        all[name] = value;
    std::vector<std::string> entries;
    for (const auto &[name, value] : all)
        entries.push_back(name + "=" + value);
    std::vector<char *> environment;
    for (std::string &each : entries)
        environment.push_back(each.data());
    environment.push_back(nullptr);
    std::string name = firstArgument != nullptr ? firstArgument : "";
    char *arguments[] = {firstArgument != nullptr ? name.data() : nullptr, nullptr};

    fs::remove(root() / "answers");
    pid_t process = -1;
    int status = -1;
    EXPECT_EQ(posix_spawn(&process, "/proc/self/exe", nullptr, nullptr, arguments, environment.data()), 0);
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    Answers answers;
    std::ifstream file(root() / "answers");
    for (std::string question; file >> question;)
        file >> answers[question];
    return answers;
}

class FixedScreen : public Screen {
public:
    FixedScreen(double shownScale, PixelSize shown) : fixedScale(shownScale), size(shown) {}
    [[nodiscard]] double scale() const override { return fixedScale; }
    [[nodiscard]] std::optional<PixelSize> currentMode() const override {
        return size.width > 0 ? std::optional(size) : std::nullopt;
    }

private:
    double fixedScale;
    PixelSize size;
};

class EmptyWorkspace : public ApplicationWorkspace {
public:
    static const Class registered;
    [[nodiscard]] bool isInstalled(const String *) const override { return false; }
};
constinit const Class EmptyWorkspace::registered{ApplicationWorkspace::registeredName,
                                                 &ApplicationWorkspace::classInfo,
                                                 []() -> Object * { return new EmptyWorkspace; }};

// "SCALE WIDTH HEIGHT", or "none".
Ref<Screen> screenOf(const std::string &described) {
    double scale = 0, width = 0, height = 0;
    if (std::sscanf(described.c_str(), "%lf %lf %lf", &scale, &width, &height) != 3)
        return nullptr;
    return makeRef<FixedScreen>(scale, PixelSize{width, height});
}

Answers askAll() {
    return {{"hoardd", JXIsHoardd()},        {"camlinkd", JXIsCamlinkd()},
            {"homeshell", JXIsHomeshell()},  {"camera", JXIsCamera()},
            {"ignore", JXIgnoreHomeshell()}, {"scale", JXScreenScale()},
            {"tall", JXIsTallScreen()},      {"pictorama", JXIsPictoramaInstalled()}};
}

} // namespace

// Several threads ask all questions at once, and one asks again after the settings have changed.
TEST(DISABLED_Identity, AnswersAlikeOnAllThreads) {
    std::atomic<int> asked = 0;
    if (const char *screen = std::getenv("IDENTITY_SCREEN"))
        setMainScreenProvider([&asked, screen] {
            ++asked;
            return screenOf(screen);
        });
    if (std::getenv("IDENTITY_WORKSPACE") != nullptr) {
        ASSERT_TRUE(registerClass(&EmptyWorkspace::registered));
    }
    constexpr int count = 8;
    std::barrier start(count);
    std::vector<Answers> given(count);
    {
        std::vector<std::jthread> threads;
        for (Answers &mine : given)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                mine = askAll();
            });
    }
    for (const Answers &each : given)
        EXPECT_EQ(each, given[0]);
    setMainScreenProvider([] { return screenOf("5 640 1136"); });
    ASSERT_TRUE(setPreferenceValue("main-screen-scale", Number::of(7), deviceDomain));
    EXPECT_EQ(askAll(), given[0]);
    ASSERT_TRUE(setPreferenceValue("main-screen-scale", nullptr, deviceDomain));
    given[0]["asked"] = asked;
    std::ofstream file(root() / "answers");
    for (const auto &[question, answer] : given[0])
        file << question << ' ' << answer << '\n';
}

TEST(JXProcessIdentity, AProcessIsWhatItsFirstArgumentEndsWith) {
    const struct {
        const char *argument;
        const char *who;
    } cases[] = {{"/usr/libexec/hoardd", "hoardd"},
                 {"hoardd", "hoardd"},
                 {"./camlinkd", "camlinkd"},
                 {"/a b/Homeshell", "homeshell"},
                 {"/Camera", "camera"},
                 {"/usr/libexec/Hoardd", nullptr},
                 {"/usr/libexec/hoardd/", nullptr},
                 {"hoardd ", nullptr},
                 {"hoardd/x", nullptr},
                 {"hoardd2", nullptr},
                 {"\xFFhoardd", nullptr},
                 {"", nullptr},
                 {"/", nullptr},
                 {nullptr, nullptr}};
    for (const auto &[argument, who] : cases) {
        const Answers answers = answersOf(argument);
        for (const char *each : {"hoardd", "camlinkd", "homeshell", "camera"})
            EXPECT_EQ(answers.at(each), who != nullptr && who == std::string_view(each))
                << (argument != nullptr ? argument : "no argument") << ", " << each;
    }
}

TEST(JXProcessIdentity, IgnoringHomeshellHasNoEffectWhateverThePreferenceSays) {
    ASSERT_TRUE(setPreferenceValue("IgnoreHomeshell", Number::of(true), JXHoarddPreferencesDomain));
    EXPECT_EQ(answersOf("Homeshell").at("ignore"), 0);
}

TEST(JXScreen, IsWhatTheDeviceSaysOrElseTheScreen) {
    const struct {
        const char *screen;
        double setting; // 0: none
        double scale;
        bool tall;
        int asked;
    } cases[] = {
        {"1 1024 768", 0, 1, false, 2},    {"1 2048 1536", 0, 2, false, 2},  {"1 1536 2048", 0, 2, false, 2},
        {"1 640 960", 0, 2, false, 2},     {"1 960 640", 0, 2, false, 2},    {"1 640 1136", 0, 2, true, 2},
        {"1 1136 640", 0, 2, false, 2},    {"1 640 1136.5", 0, 1, false, 2}, {"1 0 0", 0, 1, false, 2},
        {"1.5 640 960", 0, 1.5, false, 2}, {"0 640 1136", 0, 0, true, 2},    {"none", 0, 0, false, 2},
        {"1 640 1136", 3, 3, true, 1},     {"none", 3, 3, false, 1},         {"1 640 960", 1, 1, false, 1},
        {"1 640 960", -1, 2, false, 2},    {"4 640 960", -1, 4, false, 2},
    };
    for (const auto &[screen, setting, scale, tall, asked] : cases) {
        Object *set = setting == 0 ? nullptr : Number::of(setting);
        ASSERT_TRUE(setPreferenceValue("main-screen-scale", set, deviceDomain));
        const Answers answers = answersOf("any", {{"IDENTITY_SCREEN", screen}});
        EXPECT_EQ(answers.at("scale"), scale) << screen << ", set " << setting;
        EXPECT_EQ(answers.at("tall"), tall) << screen;
        EXPECT_EQ(answers.at("asked"), asked) << screen << ": once for each answer that needs the screen";
    }
}

TEST(JXPictorama, IsInstalledWhenItsEntryExistsOrNothingKnows) {
    const fs::path data = root() / "share";
    fs::create_directories(data / "applications");
    Environment environment{{"XDG_DATA_HOME", data}, {"XDG_DATA_DIRS", data}};
    EXPECT_EQ(answersOf("any", environment).at("pictorama"), 0);
    std::ofstream(data / "applications" / (std::string(JXPictoramaBundleIdentifier) + ".desktop"))
        << "[Desktop Entry]\nType=Application\nName=Pictorama\n";
    EXPECT_EQ(answersOf("any", environment).at("pictorama"), 1);
    environment["IDENTITY_WORKSPACE"] = "empty";
    EXPECT_EQ(answersOf("any", environment).at("pictorama"), 0)
        << "the class that was registered first counts";

    // A copy of the library without the application-services library beside it.
    fs::create_directory(root() / "alone");
    fs::create_symlink(WICKERLANE_LIBRARY, root() / "alone/libwickerlane.so.1");
    Environment alone{
        {"XDG_DATA_HOME", root()}, {"XDG_DATA_DIRS", root()}, {"LD_LIBRARY_PATH", root() / "alone"}};
    EXPECT_EQ(answersOf("any", alone).at("pictorama"), 1);
}

namespace {

// A process with a given name, which runs until the object is destroyed.
class NamedProcess {
public:
    explicit NamedProcess(const std::string &name) : path(root() / name) {
        fs::copy_file("/bin/cat", path, fs::copy_options::skip_existing);
        int in[2] = {}, out[2] = {};
        EXPECT_EQ(pipe2(in, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        std::string program = path;
        char *arguments[] = {program.data(), nullptr};
        EXPECT_EQ(posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        input = in[1];
        // Once it echoes it has its name.
        char echo = 0;
        EXPECT_EQ(write(input, "x", 1), 1);
        EXPECT_EQ(read(out[0], &echo, 1), 1);
        close(out[0]);
    }
    ~NamedProcess() {
        close(input);
        waitpid(process, nullptr, 0);
    }
    NamedProcess(const NamedProcess &) = delete;
    NamedProcess &operator=(const NamedProcess &) = delete;

    fs::path path;
    pid_t process = -1;

private:
    int input = -1;
};

pid_t find(const std::string &name) {
    return JXPIDForProcessNamed(name.c_str());
}

} // namespace

TEST(JXPIDForProcessNamed, ComparesSixteenCharacters) {
    char unique[16];
    std::snprintf(unique, sizeof unique, "wl%07dpid", getpid() % 10'000'000);
    const std::string base = unique; // twelve characters
    const std::string fifteen = base + "abc", sixteen = fifteen + "d", longer = sixteen + "efgh";
    {
        const NamedProcess running(longer);
        EXPECT_EQ(find(longer), running.process);
        EXPECT_EQ(find(sixteen), running.process);
        EXPECT_EQ(find(sixteen + " and whatever follows"), running.process);
        EXPECT_EQ(find(fifteen), -1);
        EXPECT_EQ(find(fifteen + "D"), -1);
        fs::remove(running.path);
        EXPECT_EQ(find(longer), running.process) << "its file may be replaced meanwhile";
    }
    EXPECT_EQ(find(longer), -1) << "it has ended";
    {
        const NamedProcess running(fifteen);
        EXPECT_EQ(find(fifteen), running.process);
        EXPECT_EQ(find(sixteen), -1);
        EXPECT_EQ(find(base), -1);
        const NamedProcess another(fifteen);
        EXPECT_EQ(find(fifteen), std::min(running.process, another.process))
            << "the first in the kernel's order";
    }
    EXPECT_EQ(JXPIDForProcessNamed(nullptr), -1);
    // A name may contain any characters.
    char own[16];
    prctl(PR_GET_NAME, own);
    prctl(PR_SET_NAME, (base + "\n)").c_str());
    EXPECT_EQ(find(base + "\n)"), getpid());
    prctl(PR_SET_NAME, own);
}
