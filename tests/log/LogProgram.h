// Driving the program that logs.
#ifndef WICKERLANE_TESTS_LOG_LOGPROGRAM_H
#define WICKERLANE_TESTS_LOG_LOGPROGRAM_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace wickerlane::test {

/// A running process of the program, below the test's root. Its console goes to a file. Ended with the
/// object.
class LogProgram {
public:
    explicit LogProgram(const std::string &name = "first", const std::string &executable = LOG_PROGRAM)
        : consolePath(root() / (name + ".console")) {
        int in[2], out[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0)
            std::abort();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_addopen(&actions, 2, consolePath.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                         0600);
        std::string program = executable;
        char *arguments[] = {program.data(), nullptr};
        EXPECT_EQ(posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        commands = fdopen(in[1], "w");
        answers = fdopen(out[0], "r");
    }
    LogProgram(const LogProgram &) = delete;
    LogProgram &operator=(const LogProgram &) = delete;
    ~LogProgram() { finish(); }

    void send(const std::string &command) {
        std::fprintf(commands, "%s\n", command.c_str());
        std::fflush(commands);
    }
    std::string answer() {
        char line[256] = "";
        if (std::fgets(line, sizeof line, answers) == nullptr)
            return "ended";
        std::string text = line;
        text.pop_back();
        return text;
    }
    std::string tell(const std::string &command) {
        send(command);
        return answer();
    }
    void kill() { ::kill(process, SIGKILL); }
    void finish() {
        if (commands == nullptr)
            return;
        std::fclose(commands);
        std::fclose(answers);
        commands = nullptr;
        waitpid(process, nullptr, 0);
    }
    [[nodiscard]] pid_t id() const { return process; }
    [[nodiscard]] std::string console() const {
        std::ifstream file(consolePath);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static std::filesystem::path root() { return std::getenv("WICKERLANE_ROOT"); }

private:
    std::filesystem::path consolePath;
    pid_t process = 0;
    std::FILE *commands = nullptr;
    std::FILE *answers = nullptr;
};

/// The lines of a log file, compressed or not.
inline std::vector<std::string> linesOf(const std::filesystem::path &path) {
    std::vector<std::string> lines;
    gzFile file = gzopen(path.c_str(), "rb");
    char line[4096];
    while (file != nullptr && gzgets(file, line, sizeof line) != nullptr)
        lines.emplace_back(line);
    if (file != nullptr)
        gzclose(file);
    return lines;
}

inline std::filesystem::path photosLogs() {
    return LogProgram::root() / "var/mobile/Library/Logs/CrashReporter/DiagnosticLogs/Photos";
}

} // namespace wickerlane::test

#endif
