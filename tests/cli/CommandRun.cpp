#include "tests/cli/CommandRun.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::test {
namespace {

namespace fs = std::filesystem;

std::string readFrom(int descriptor) {
    std::string text;
    char buffer[4096];
    ssize_t count = 0;
    off_t position = 0;
    while ((count = pread(descriptor, buffer, sizeof buffer, position)) > 0) {
        text.append(buffer, static_cast<std::size_t>(count));
        position += count;
    }
    return text;
}

// Two threads that write at once would share a place in it otherwise.
int makeOutput(const char *name) {
    const int descriptor = memfd_create(name, MFD_CLOEXEC);
    EXPECT_EQ(fcntl(descriptor, F_SETFL, O_APPEND), 0);
    return descriptor;
}

} // namespace

std::vector<std::byte> jpegPicture() {
    return jpegOf(fourCorners(64, 48));
}

std::vector<std::byte> pngPicture() {
    return pngOf(fourCorners(40, 40));
}

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

std::ostream &operator<<(std::ostream &stream, const CommandResult &result) {
    return stream << "exit code " << result.exitCode << "\n--- output\n"
                  << result.output << "--- errors\n"
                  << result.errors;
}

RunningCommand::RunningCommand(const std::vector<std::string> &arguments,
                               const std::vector<std::string> &wrapper)
    : RunningCommand([&] {
          CommandLine line{wrapper};
          line.words.emplace_back(WICKERLANE_COMMAND);
          line.words.insert(line.words.end(), arguments.begin(), arguments.end());
          return line;
      }()) {
}

RunningCommand::RunningCommand(CommandLine line)
    : outputFile(makeOutput("output")), errorFile(makeOutput("errors")) {
    std::vector<char *> pointers;
    for (std::string &word : line.words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, outputFile, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errorFile, STDERR_FILENO);
    EXPECT_EQ(posix_spawnp(&pid, pointers[0], &actions, nullptr, pointers.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
}

bool RunningCommand::isRunning() const {
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0;
}

std::string RunningCommand::output() const {
    return readFrom(outputFile);
}

CommandResult RunningCommand::wait() {
    CommandResult result;
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid)
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    pid = -1;
    result.output = readFrom(outputFile);
    result.errors = readFrom(errorFile);
    return result;
}

RunningCommand::~RunningCommand() {
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    close(outputFile);
    close(errorFile);
}

TerminalCommand::TerminalCommand(const std::vector<std::string> &arguments, unsigned short columns) {
    std::vector<std::string> words{WICKERLANE_COMMAND};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char *> pointers;
    for (std::string &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    setenv("TERM", "xterm", 1);
    const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    pid = forkpty(&terminal, nullptr, nullptr, &size);
    if (pid == 0) {
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    EXPECT_GT(pid, 0);
    fcntl(terminal, F_SETFD, FD_CLOEXEC);
    // Before that, what is typed may reach no process.
    const fs::path program = "/proc/" + std::to_string(pid) + "/exe";
    EXPECT_TRUE(waitUntil([&] {
        std::error_code gone;
        const fs::path runs = fs::read_symlink(program, gone);
        return gone || runs == WICKERLANE_COMMAND;
    }));
}

TerminalCommand::~TerminalCommand() {
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    close(terminal);
}

bool TerminalCommand::readMore() {
    char buffer[4096];
    const ssize_t count = retryInterrupted([&] { return read(terminal, buffer, sizeof buffer); });
    if (count <= 0) // an error when no process has the terminal any more
        return false;
    shown.append(buffer, static_cast<std::size_t>(count));
    return true;
}

bool TerminalCommand::shows(std::string_view text) {
    while (shown.find(text) == std::string::npos)
        if (!readMore())
            return false;
    return true;
}

void TerminalCommand::type(std::string_view text) const {
    EXPECT_EQ(write(terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

CommandResult TerminalCommand::wait() {
    while (readMore()) {
    }
    CommandResult result;
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid)
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    pid = -1;
    result.output = shown;
    return result;
}

CommandResult runShell(const std::string &line) {
    setenv("WL", WICKERLANE_COMMAND, 1);
    return RunningCommand::ofProgram({"sh", "-c", line}).wait();
}

CommandResult run(const std::vector<std::string> &arguments) {
    return RunningCommand(arguments).wait();
}

CommandResult runAs(uid_t user, const std::vector<std::string> &arguments) {
    const std::string id = std::to_string(user);
    return RunningCommand(arguments, {"setpriv", "--reuid", id, "--regid", id, "--clear-groups"}).wait();
}

void endDaemon() {
    pid_t process = 0;
    std::ifstream(store::LibraryPaths().lock()) >> process;
    if (process <= 0)
        return;
    const UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    if (!handle)
        return;
    // The file outlives the daemon: the number may be another process's now.
    std::error_code gone;
    if (fs::read_symlink("/proc/" + std::to_string(process) + "/exe", gone) != HOARDD_PROGRAM)
        return;
    syscall(SYS_pidfd_send_signal, handle.get(), SIGTERM, nullptr, 0);
    pollfd ended{handle.get(), POLLIN, 0};
    EXPECT_EQ(retryInterrupted([&] { return poll(&ended, 1, 60'000); }), 1) << "the daemon does not end";
}

void Commands::SetUp() {
    const fs::path root = std::getenv("WICKERLANE_ROOT");
    folder = root / "files";
    fs::create_directories(folder);
    describeService({});
    setenv("WICKERLANE_SERVICES", (root / "services").c_str(), 1);
    setLanguage("C");
}

void Commands::setLanguage(const std::string &locale) {
    unsetenv("LANGUAGE");
    setenv("LC_ALL", (locale + ".UTF-8").c_str(), 1);
}

void Commands::describeService(const std::vector<std::string> &arguments) const {
    const fs::path services = folder.parent_path() / "services";
    fs::create_directories(services);
    std::string more;
    for (const std::string &each : arguments)
        more += "<string>" + each + "</string>";
    std::ofstream(services / (std::string(WickerlaneGatekeeperName) + ".plist"))
        << R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict><key>Program</key><string>)"
        << HOARDD_PROGRAM
        << "</string><key>Arguments</key><array><string>--idle-seconds</string><string>60</string>"
           "<string>--analyze-after</string><string>0</string>"
        << more << "</array></dict></plist>\n";
}

void Commands::TearDown() {
    endDaemon();
    unsetenv("WICKERLANE_SERVICES");
}

std::string Commands::file(const std::string &name, std::span<const std::byte> contents) const {
    const fs::path path = folder / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(contents.data()),
               static_cast<std::streamsize>(contents.size()));
    return path.string();
}

std::string Commands::imported(const std::string &path) const {
    const CommandResult result = run({"import", path, "--json"});
    const auto report = result.json();
    if (result.exitCode != 0 || !report.contains("saved") || report["saved"].size() != 1) {
        ADD_FAILURE() << "could not import " << path << ": " << result;
        return "";
    }
    return report["saved"][0]["uuid"];
}

std::string contentsOf(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace wickerlane::test
