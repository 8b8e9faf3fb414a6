// Running the built command against a library of its own.
#ifndef TESTS_CLI_COMMANDRUN_H
#define TESTS_CLI_COMMANDRUN_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace wickerlane::test {

/// No asset has it.
inline const std::string absentUUID = "00000000-0000-4000-8000-000000000000";

/// Small pictures to save.
std::vector<std::byte> jpegPicture();
std::vector<std::byte> pngPicture();

std::span<const std::byte> bytesOf(std::string_view text);

/// How a run of the command ended, and what it wrote.
struct CommandResult {
    int exitCode = -1; ///< Minus the signal's number when a signal ended it.
    std::string output;
    std::string errors;

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(output, nullptr, false); }
};

/// For a failure's message.
std::ostream &operator<<(std::ostream &stream, const CommandResult &result);

/// A command that runs beside the test.
class RunningCommand {
public:
    /// `wrapper` is a command that runs the rest of its command line.
    explicit RunningCommand(const std::vector<std::string> &arguments,
                            const std::vector<std::string> &wrapper = {});
    /// Another program, by its path and arguments.
    static RunningCommand ofProgram(const std::vector<std::string> &words) {
        return RunningCommand(CommandLine{words});
    }
    /// Kills it if it still runs.
    ~RunningCommand();
    RunningCommand(const RunningCommand &) = delete;
    RunningCommand &operator=(const RunningCommand &) = delete;

    [[nodiscard]] pid_t process() const noexcept { return pid; }
    /// False once it has ended by itself.
    [[nodiscard]] bool isRunning() const;
    /// What it has written so far.
    [[nodiscard]] std::string output() const;
    /// Blocks until it has ended.
    [[nodiscard]] CommandResult wait();

private:
    struct CommandLine {
        std::vector<std::string> words;
    };
    explicit RunningCommand(CommandLine line);

    pid_t pid = -1;
    int outputFile = -1;
    int errorFile = -1;
};

/// A command on a terminal of its own, of a width in columns. One thread at a time.
class TerminalCommand {
public:
    explicit TerminalCommand(const std::vector<std::string> &arguments, unsigned short columns = 80);
    /// Kills it if it still runs.
    ~TerminalCommand();
    TerminalCommand(const TerminalCommand &) = delete;
    TerminalCommand &operator=(const TerminalCommand &) = delete;

    /// Blocks until the terminal has shown a text. False when the command ends before.
    [[nodiscard]] bool shows(std::string_view text);
    void type(std::string_view text) const;
    [[nodiscard]] pid_t process() const noexcept { return pid; }
    /// Blocks until it has ended. All that was shown is its output.
    [[nodiscard]] CommandResult wait();

private:
    /// False at the end.
    bool readMore();

    pid_t pid = -1;
    int terminal = -1;
    std::string shown;
};

/// Runs a line of the shell, in which $WL is the command.
CommandResult runShell(const std::string &line);

/// Runs the command to its end.
CommandResult run(const std::vector<std::string> &arguments);

/// The same as another user, which only root can. Exit code 127 when that user can't run it here.
CommandResult runAs(uid_t user, const std::vector<std::string> &arguments);

/// Ends the daemon of the test's library, if one runs, and waits until it is gone.
void endDaemon();

/// Gives each test a library with the daemon's service, and a folder for files. Ends the daemon after the
/// test.
class Commands : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// The locale of the programs that are run from now on, such as "de_DE". At first it is "C".
    static void setLanguage(const std::string &locale);
    /// What the next daemon is started with, besides what keeps it from doing anything unasked.
    void describeService(const std::vector<std::string> &arguments) const;
    /// A file in the test's folder.
    std::string file(const std::string &name, std::span<const std::byte> contents) const;
    /// Imports one file and returns its UUID. Empty, after a failure of the test, when that does not work.
    std::string imported(const std::string &path) const;

    std::filesystem::path folder;
};

std::string contentsOf(const std::filesystem::path &path);

} // namespace wickerlane::test

#endif
