// Wrong command lines, and exit codes
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/StoppedProcess.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/store/LibraryPaths.h"

using namespace wickerlane::test;

namespace {

/// The exit code of the command when standard error can't be written.
int exitCodeWithoutErrors(const char *verb, const std::string &argument) {
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        execl(WICKERLANE_COMMAND, "wickerlane", verb, argument.c_str(), static_cast<char *>(nullptr));
        _exit(99);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST_F(Commands, StandardErrorThatTakesNothingStopsNoWork) {
    EXPECT_EQ(exitCodeWithoutErrors("import", file("a.jpg", jpegPicture())), 0);
    EXPECT_EQ(exitCodeWithoutErrors("show", "not-a-uuid"), 4);
}

TEST_F(Commands, ACommandThatGetsNoThreadSaysSo) {
    // A sanitizer's search for leaks would need a thread of its own.
    std::vector<std::string> wrapper{"env", "ASAN_OPTIONS=detect_leaks=0", "prlimit", "--nproc=1"};
    if (geteuid() == 0) // no limit holds root
        wrapper.insert(wrapper.end(), {"setpriv", "--reuid", "65534", "--clear-groups", "--inh-caps=-all"});
    RunningCommand command({"list"}, wrapper);
    ASSERT_TRUE(waitUntil([&] { return !command.isRunning(); }));
    const CommandResult result = command.wait();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.errors.find("no thread"), std::string::npos) << result;
}

TEST_F(Commands, ADaemonThatStandsStillCostsTheTimeThatIsAllowed) {
    const std::string picture = file("a.jpg", jpegPicture());
    const std::string uuid = imported(picture);
    pid_t daemon = 0;
    std::ifstream(wickerlane::store::LibraryPaths().lock()) >> daemon;
    ASSERT_GT(daemon, 0);
    ASSERT_TRUE(stopProcess(daemon));
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"--timeout", "0.05", "count"},
                                                      {"--timeout", "0.05", "import", picture},
                                                      {"--timeout", "0.05", "set", "--rating", "5", uuid},
                                                      {"--timeout", "0.05", "delete", "--yes", uuid}}) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 9) << arguments[2] << result;
    }
    ASSERT_EQ(kill(daemon, SIGCONT), 0);
    EXPECT_EQ(run({"--timeout", "1000", "count"}).output, "1 photo, 0 videos\n");
}

TEST_F(Commands, TheExitCodeSaysWhatIsWrong) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string said;
    } cases[] = {
        {{}, 2, ""},
        {{"fly"}, 2, "fly"},
        {{"import"}, 2, "PATH"},
        {{"list", "--sort", "sideways"}, 2, "sideways"},
        {{"list", "--limit", "-1"}, 2, "--limit"},
        {{"thumbnail", absentUUID, "--format", "huge"}, 2, "huge"},
        {{"purge"}, 2, "BYTES"},
        {{"purge", "--", "-5"}, 2, "negative"},
        {{"purge", "--dry-run", "5MB"}, 2, "--dry-run"},
        {{"stream", ""}, 2, "STREAM"},
        {{"album"}, 2, "wickerlane: A subcommand is required"},
        {{"album", "create", ""}, 2, "ALBUM"},
        {{"changes", "--since", "-4"}, 2, "--since"},
        {{"consent", "grant", "/bin/true", "--user", "-7"}, 2, "--user"},
        {{"person", "p1", "name"}, 2, "KEY=VALUE"},
        {{"export"}, 2, "ASSET"},
        {{"export", "--all", "--to", "/dev/null/folder"}, 2, "/dev/null"},
        {{"thumbnail", uuid, "--to", "/nonexistent/file"}, 1, "/nonexistent/file"},
        {{"export", uuid, "--to", "/dev/null/file"}, 1, "/dev/null"},
        {{"preview", uuid, "/nonexistent/file"}, 1, "/nonexistent/file"},
        {{"show", absentUUID}, 4, "wickerlane list"},
        {{"show", "not-a-uuid"}, 4, "not-a-uuid"},
        {{"export", absentUUID}, 4, absentUUID},
        {{"thumbnail", "rez-vault://asset/asset.JPG?id=" + absentUUID}, 4, absentUUID},
        {{"--root", (folder / "empty").string(), "list"}, 4, "wickerlane import"},
        {{"--help"}, 0, ""},
        {{"daemon", "status", "--help"}, 0, ""},
    };
    for (const auto &[arguments, exitCode, said] : cases) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << ::testing::PrintToString(arguments) << ": " << result;
        EXPECT_NE(result.errors.find(said), std::string::npos)
            << ::testing::PrintToString(arguments) << result;
    }
}

} // namespace
