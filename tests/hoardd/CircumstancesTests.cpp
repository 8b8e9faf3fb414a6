// What hoardd takes over from the process that starts it.
#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <set>

#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/process/Capabilities.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

using Circumstances = RunningHoardd;

std::string textOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What a process of its own returns from `work`.
int inChild(const std::function<int()> &work) {
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

constexpr const char *outOfMemoryScore = "/proc/self/oom_score_adj";

TEST_F(Circumstances, OfTheFirstClientAreNotThoseOfTheDaemon) {
    ReleaseScope scope;
    const mode_t mask = umask(0);
    rlimit files{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
    cpu_set_t processors;
    ASSERT_EQ(sched_getaffinity(0, sizeof processors, &processors), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
    const rlimit few{.rlim_cur = 100, .rlim_max = files.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    const std::string score = textOf(outOfMemoryScore);
    std::ofstream(outOfMemoryScore) << std::stoi(score) + 100;
    setenv("TEST_PASSWORD", "secret", 1);
    setenv("LC_TIME", "C.UTF-8", 1);
    answer(request(15).get());
    const int lowest = inChild([] {
        std::ofstream(outOfMemoryScore) << 0;
        return std::stoi(textOf(outOfMemoryScore)) / 10; // fits an exit code
    });
    std::ofstream(outOfMemoryScore) << score;
    unsetenv("TEST_PASSWORD");
    unsetenv("LC_TIME");
    umask(mask);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
    EXPECT_EQ(sched_setaffinity(0, sizeof processors, &processors), 0);

    const pid_t hoardd = daemon().id;
    const std::string process = "/proc/" + std::to_string(hoardd);
    std::set<std::string> environment;
    std::ifstream variables(process + "/environ");
    for (std::string variable; std::getline(variables, variable, '\0');)
        environment.insert(variable);
    EXPECT_FALSE(environment.contains("TEST_PASSWORD=secret"));
    EXPECT_TRUE(environment.contains("LC_TIME=C.UTF-8"));
    EXPECT_TRUE(environment.contains("PATH=/usr/local/bin:/usr/bin:/bin"));
    const std::string status = textOf(process + "/status");
    EXPECT_NE(status.find("Umask:\t0077\n"), std::string::npos);
    EXPECT_NE(status.find("NoNewPrivs:\t1\n"), std::string::npos);
    // CAP_DAC_READ_SEARCH and CAP_SYS_PTRACE are the most that it keeps.
    const auto capabilities = std::stoull(status.substr(status.find("CapPrm:\t") + 8), nullptr, 16);
    EXPECT_EQ(capabilities & ~0x80004ULL, 0U);
    ASSERT_EQ(prlimit(hoardd, RLIMIT_NOFILE, nullptr, &files), 0);
    EXPECT_EQ(files.rlim_cur, files.rlim_max);
    cpu_set_t used;
    ASSERT_EQ(sched_getaffinity(hoardd, sizeof used, &used), 0);
    EXPECT_TRUE(CPU_EQUAL(&used, &processors));
    EXPECT_EQ(std::stoi(textOf(process + "/oom_score_adj")) / 10, lowest);
}

TEST_F(Circumstances, ThatCannotBeLeftAreSaid) {
    ASSERT_TRUE(makeFolders(rootPath()));
    const std::string console = rootPath() + "/console";
    const bool mayLower = inChild([] {
                              keepOnlyCapabilities(0); // root's would lower it
                              return setpriority(PRIO_PROCESS, 0, 7) + setpriority(PRIO_PROCESS, 0, 0);
                          }) == 0;
    const int ended = inChild([&] {
        const rlimit few{.rlim_cur = 200, .rlim_max = 200};
        const int file = open(console.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (dup2(file, STDERR_FILENO) >= 0 && setrlimit(RLIMIT_NOFILE, &few) == 0 &&
            setpriority(PRIO_PROCESS, 0, 7) == 0 && keepOnlyCapabilities(0))
            execl(HOARDD_PROGRAM, "hoardd", "--idle-seconds", "0.01", static_cast<char *>(nullptr));
        return 99;
    });
    EXPECT_EQ(ended, 0);
    const std::string said = textOf(console);
    EXPECT_NE(said.find("the hard limit of open files is 200; below 1024 some work fails\n"),
              std::string::npos)
        << said;
    const auto stays = said.find("what the process that started it had stays with it: niceness 7");
    EXPECT_EQ(stays == std::string::npos, mayLower) << said;
}

} // namespace
