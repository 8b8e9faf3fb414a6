// Starting on demand and ending when idle. The test program runs itself again as the service, and as clients.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <latch>
#include <thread>

#include "Service.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/service/ServiceConsole.h"
#include "wickerlane/platform/message/service/ServiceDescription.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

constexpr const char *roleVariable = "WICKERLANE_TEST_ROLE";
constexpr const char *startedName = "org.wickerlane.test.Started";

std::string startsFile() {
    return rootPath() + "/starts";
}

// Each start adds a line with its process id.
void noteStart() {
    const UniqueFd file(open(startsFile().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    const std::string line = std::to_string(getpid()) + "\n";
    if (write(file.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        _exit(2);
}

std::vector<pid_t> starts() {
    std::ifstream file(startsFile());
    std::vector<pid_t> ids;
    for (pid_t id = 0; file >> id;)
        ids.push_back(id);
    return ids;
}

constexpr std::size_t talkedLines = 12'000;

std::string talkedLine() {
    return std::string(1000, 'x');
}

void talk() {
    keepServiceConsole(startedName);
    for (std::size_t i = 0; i < talkedLines; ++i)
        consoleLogText(talkedLine());
    constexpr std::string_view other = "not a line of the console\n";
    if (write(STDERR_FILENO, other.data(), other.size()) < 0)
        _exit(4);
}

[[noreturn]] void serve(std::chrono::milliseconds idleTime) {
    noteStart();
    std::promise<void> ended;
    MessageListener::Options options;
    options.idleTime = idleTime;
    options.idle = [&] { ended.set_value(); };
    const auto listener = MessageListener::create(startedName, nullptr, echo, options);
    if (listener == nullptr)
        _exit(3);
    listener->resume();
    resultOf(ended);
    _exit(0);
}

// Runs the role that the environment names; returns when there is none.
class Roles : public ::testing::Environment {
    void SetUp() override {
        const char *role = std::getenv(roleVariable);
        if (role == nullptr)
            return;
        const std::string_view name = role;
        const bool isService = std::getenv("LISTEN_PID") != nullptr;
        if (isService && name == "dies") {
            noteStart();
            _exit(1);
        }
        if (isService && name == "talks")
            talk();
        if (isService)
            serve(std::chrono::milliseconds(name == "hasty" ? 1 : 0));
        const auto reply = connect({}, startedName)->sendWithReplySync(numbered(getpid()).get());
        _exit(numberOf(reply.get()) == getpid() ? 0 : 1);
    }
};
[[maybe_unused]] ::testing::Environment *const roles = ::testing::AddGlobalTestEnvironment(new Roles);

class Start : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string folder = pathUnderRoot("/Library/Services");
        ASSERT_TRUE(makeFolders(folder));
        char self[4096] = {};
        ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
        std::ofstream(folder + "/" + startedName + ".plist")
            << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist "
               "version=\"1.0\"><dict><key>Program</key><string>"
            << self << "</string></dict></plist>\n";
    }
    void TearDown() override {
        unsetenv(roleVariable);
        for (const pid_t id : starts()) {
            const UniqueFd process(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
            if (!process)
                continue;
            syscall(SYS_pidfd_send_signal, process.get(), SIGKILL, nullptr, 0);
            pollfd ended{.fd = process.get(), .events = POLLIN, .revents = 0};
            EXPECT_EQ(poll(&ended, 1, -1), 1);
        }
    }
    /// What a request is answered with when nothing may be started.
    [[nodiscard]] static std::string refusal() {
        const auto reply = connect({}, startedName)->sendWithReplySync(numbered(1).get());
        const auto *error = as<MessageError>(reply.get());
        return error != nullptr ? std::string(error->text()) : "an answer";
    }
    static void play(const char *role) { ASSERT_EQ(setenv(roleVariable, role, 1), 0); }
};

} // namespace

TEST_F(Start, HappensOnceHoweverManyProcessesAsk) {
    play("serves");
    constexpr int count = 8;
    std::vector<pid_t> clients;
    for (int i = 0; i < count; ++i) {
        pid_t id = 0;
        const char *arguments[] = {"client", nullptr};
        ASSERT_EQ(
            posix_spawn(&id, "/proc/self/exe", nullptr, nullptr, const_cast<char **>(arguments), environ), 0);
        clients.push_back(id);
    }
    for (const pid_t id : clients) {
        int status = -1;
        ASSERT_EQ(waitpid(id, &status, 0), id);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(starts().size(), 1U);
}

TEST_F(Start, RunsDetachedWithItsConsoleInAFile) {
    play("serves");
    const auto connection = connect({}, startedName);
    ASSERT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    int status = 0;
    EXPECT_EQ(waitpid(-1, &status, WNOHANG), -1);
    EXPECT_EQ(access(pathUnderRoot(std::string("/var/log/wickerlane/") + startedName + ".log").c_str(), F_OK),
              0);
}

// The role writes lines of 1 KiB in front of its answers.
TEST_F(Start, KeepsItsConsoleInFilesOfLimitedSize) {
    play("talks");
    const auto connection = connect({}, startedName);
    ASSERT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    const std::string path = pathUnderRoot(std::string("/var/log/wickerlane/") + startedName);
    const pid_t service = starts().at(0);
    std::vector<std::string> lines;
    std::uintmax_t bytes = 0;
    for (const char *name : {".1.log", ".log"}) {
        std::ifstream file(path + name);
        for (std::string line; std::getline(file, line);)
            if (line.find("[=") == line.npos && line.find("[-") == line.npos) // of the test framework
                lines.push_back(line);
        const auto size = std::filesystem::file_size(path + name);
        EXPECT_LE(size, std::uintmax_t{10} << 20) << name;
        bytes += size;
    }
    EXPECT_GT(bytes, std::uintmax_t{11} << 20);
    ASSERT_EQ(lines.size(), talkedLines + 1);
    EXPECT_EQ(lines.back(), "not a line of the console") << "descriptor 2 goes along";
    lines.pop_back();
    const std::string end = " [" + std::to_string(service) + "] " + talkedLine();
    for (const std::string &line : lines)
        ASSERT_THAT(line, ::testing::AllOf(
                              ::testing::MatchesRegex("[0-9]{4}(/[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2} .*"),
                              ::testing::EndsWith(end)));
}

TEST_F(Start, IsTriedSeveralTimesBeforeTheServiceIsInvalid) {
    play("dies");
    std::promise<MessageValue *> event;
    const auto connection = connect([&](MessageValue *value) { event.set_value(value); }, startedName);
    connection->send(numbered(1).get());
    EXPECT_EQ(resultOf(event), MessageError::connectionInvalid());
    EXPECT_EQ(starts().size(), static_cast<std::size_t>(MessageLimits::startAttempts));
}

TEST_F(Start, FailsWhereThereIsNothingToRun) {
    const std::string file = pathUnderRoot("/Library/Services/") + startedName + ".plist";
    for (const char *contents :
         {"{ Program = \"/nowhere/at/all\"; }", "{ Program = \"\"; }", "no property list", ""}) {
        std::ofstream(file, std::ios::trunc) << contents;
        EXPECT_EQ(connect({}, startedName)->sendWithReplySync(numbered(1).get()).get(),
                  MessageError::connectionInvalid())
            << contents;
    }
}

// Who may write on the way to a program decides what runs.
TEST_F(Start, RunsNothingThatAnotherUserCouldHavePutThere) {
    play("serves");
    const std::string folder = pathUnderRoot("/Library/Services");
    const std::string file = folder + "/" + startedName + ".plist";
    const std::string programs = rootPath() + "/programs";
    ASSERT_TRUE(makeFolders(programs));
    const std::string written = " may be written by other users; chmod go-w ends that";
    const auto openTo = [](const std::string &path, mode_t mode) { ASSERT_EQ(chmod(path.c_str(), mode), 0); };

    openTo(rootPath(), 0777);
    EXPECT_EQ(refusal(), "the root " + rootPath() + " is not used: " + rootPath() + written);
    openTo(rootPath(), 0700);
    openTo(folder, 0777);
    EXPECT_EQ(refusal(), "the description " + file + " is not used: " + folder + written);
    openTo(folder, 0700);
    openTo(programs, 0777);
    std::ofstream(file, std::ios::trunc) << "{ Program = \"" << programs << "/it\"; }";
    EXPECT_EQ(refusal(), "the program " + programs + "/it is not used: " + programs + written);
    EXPECT_TRUE(starts().empty());
}

TEST_F(Start, FindsDescriptionsWhereTheEnvironmentSaysFirst) {
    const std::string folder = rootPath() + "/elsewhere";
    ASSERT_TRUE(makeFolders(folder));
    std::ofstream(folder + "/" + startedName + ".plist")
        << "{ Program = \"../bin/it\"; Arguments = (one, two); }";
    ASSERT_EQ(setenv("WICKERLANE_SERVICES", ("/missing::" + folder).c_str(), 1), 0);
    const auto found = findServiceDescription(startedName);
    unsetenv("WICKERLANE_SERVICES");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->program, folder + "/../bin/it");
    EXPECT_EQ(found->arguments, (std::vector<std::string>{"one", "two"}));
}

TEST_F(Start, LosesNothingToServicesThatEndWhenIdle) {
    play("hasty");
    constexpr int threads = 3;
    constexpr int each = 40;
    std::atomic<int> lost{0};
    // A thread that has ended and was not joined yet looks like a leak where another forks meanwhile.
    std::latch done(threads);
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t)
        running.emplace_back([&, t] {
            for (int i = 0; i < each; ++i) {
                // Connected for this request only, so that the service is idle again and again.
                const int number = t * each + i;
                if (numberOf(connect({}, startedName)->sendWithReplySync(numbered(number).get()).get()) !=
                    number)
                    ++lost;
                // The next request comes before, while or after the service ends.
                const std::vector<pid_t> started = starts();
                if (started.empty())
                    continue;
                const UniqueFd process(static_cast<int>(syscall(SYS_pidfd_open, started.back(), 0)));
                pollfd ended{.fd = process.get(), .events = POLLIN, .revents = 0};
                if (process)
                    poll(&ended, 1, i % 5);
            }
            done.arrive_and_wait();
        });
    for (auto &thread : running)
        thread.join();
    EXPECT_EQ(lost, 0);
    EXPECT_GT(starts().size(), 1U);
}
