// Running the built command against a library of its own.
#ifndef TESTS_CLI_COMMANDRUN_H
#define TESTS_CLI_COMMANDRUN_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

namespace wickerlane::test {

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
    explicit RunningCommand(const std::vector<std::string> &arguments);
    /// Ends it if need be.
    ~RunningCommand();
    RunningCommand(const RunningCommand &) = delete;
    RunningCommand &operator=(const RunningCommand &) = delete;

    [[nodiscard]] pid_t process() const noexcept { return pid; }
    /// False once it has ended by itself.
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] CommandResult wait();

private:
    pid_t pid = -1;
    int outputFile = -1;
    int errorFile = -1;
};

CommandResult run(const std::vector<std::string> &arguments);

/// Gives each test the daemon's service below its root, files to work with, and the end of the daemon.
class CommandTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// A file in the test's folder.
    std::string file(const std::string &name, std::span<const std::byte> contents) const;
    /// Imports one file and gives its UUID; empty, and a failure, when that does not work.
    std::string imported(const std::string &path) const;

    std::filesystem::path folder;
};

std::string contentsOf(const std::filesystem::path &path);

} // namespace wickerlane::test

#endif
