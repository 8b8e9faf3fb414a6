#include "wickerlane/platform/message/service/ServiceStart.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/message/service/InheritedSocket.h"
#include "wickerlane/platform/message/service/ServiceConsole.h"
#include "wickerlane/platform/process/Circumstances.h"

namespace wickerlane {
namespace {

// Everything that the new process needs, made before the fork: after it nothing may allocate or lock, since
// other threads of the application may have held any lock.
struct Program {
    std::vector<std::string> strings;
    std::vector<char *> arguments;
    std::vector<char *> environment;
    char *processID = nullptr; // the digits in "LISTEN_PID=..."
    static constexpr std::size_t digits = 12;
};

Program makeProgram(const ServiceDescription &description) {
    Program program;
    auto &strings = program.strings;
    strings.push_back(description.program);
    for (const std::string &argument : description.arguments)
        strings.push_back(argument);
    const std::size_t argumentCount = strings.size();
    for (std::string &variable : serviceEnvironment())
        if (!variable.starts_with("WICKERLANE_ROOT=") && !variable.starts_with("WICKERLANE_STARTED="))
            strings.push_back(std::move(variable));
    strings.push_back("WICKERLANE_ROOT=" + rootPath());
    strings.push_back(std::string(startedByClientVariable) + "=1");
    strings.emplace_back("LISTEN_FDS=1");
    strings.push_back("LISTEN_PID=" + std::string(Program::digits, 0));
    for (std::size_t i = 0; i < strings.size(); ++i)
        (i < argumentCount ? program.arguments : program.environment).push_back(strings[i].data());
    program.processID = strings.back().data() + std::strlen("LISTEN_PID=");
    program.arguments.push_back(nullptr);
    program.environment.push_back(nullptr);
    return program;
}

// Moves a descriptor to a number, where it stays open across exec. By the system call itself: a wrapper that
// watches descriptors, as the thread sanitizer's does, takes the other threads' for still running.
bool moveDescriptor(int from, int to) {
    return from == to ? fcntl(from, F_SETFD, 0) == 0 : syscall(SYS_dup3, from, to, 0) == to;
}

// In the new process. Returns only on failure.
void run(Program &program, int listening, int null, int log) {
    char text[Program::digits];
    std::size_t count = 0;
    for (auto id = static_cast<unsigned>(getpid()); id != 0; id /= 10)
        text[count++] = static_cast<char>('0' + id % 10);
    for (std::size_t i = 0; i < count; ++i)
        program.processID[i] = text[count - 1 - i];

    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &standard, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    leaveCircumstances();

    // Descriptors below those to be placed were moved out of the way before the fork.
    if (chdir("/") != 0 || !moveDescriptor(null, STDIN_FILENO) || !moveDescriptor(log, STDOUT_FILENO) ||
        !moveDescriptor(log, STDERR_FILENO) || !moveDescriptor(listening, firstInheritedDescriptor))
        return;
    execve(program.arguments[0], program.arguments.data(), program.environment.data());
}

// A duplicate above the numbers that the new process uses, closed on exec.
UniqueFd duplicateAbove(int fd) {
    return UniqueFd(fcntl(fd, F_DUPFD_CLOEXEC, firstInheritedDescriptor + 1));
}

} // namespace

bool startService(std::string_view serviceName, const ServiceDescription &description, int listeningSocket) {
    const std::string logs = serviceLogFolder();
    const UniqueFd nullFile(open("/dev/null", O_RDWR | O_CLOEXEC));
    UniqueFd logFile;
    if (makeFolders(logs))
        logFile = openFile(logs + '/' + std::string(serviceName) + ".log", O_WRONLY | O_CREAT | O_APPEND);
    const UniqueFd listening = duplicateAbove(listeningSocket);
    const UniqueFd null = duplicateAbove(nullFile.get());
    const UniqueFd log = duplicateAbove(logFile ? logFile.get() : nullFile.get());
    int ends[2];
    if (!listening || !null || !log || pipe2(ends, O_CLOEXEC) != 0)
        return false;
    const UniqueFd outcome(ends[0]);
    UniqueFd reporting(ends[1]);
    UniqueFd report = duplicateAbove(reporting.get());
    reporting.reset();
    Program program = makeProgram(description);

    // Twice, so that the service is no child of the application, which need not know of it.
    const pid_t intermediate = _Fork();
    if (intermediate == 0) {
        setsid();
        const pid_t service = _Fork();
        if (service == 0) {
            // Also what the application forgot to mark close-on-exec stays out of the service.
            close_range(firstInheritedDescriptor + 1, ~0U, CLOSE_RANGE_CLOEXEC);
            run(program, listening.get(), null.get(), log.get());
        }
        if (service <= 0) {
            const int error = errno;
            [[maybe_unused]] const ssize_t ignored = write(report.get(), &error, sizeof error);
            _exit(1);
        }
        _exit(0);
    }
    if (intermediate < 0)
        return false;
    report.reset();
    int status = 0;
    retryInterrupted([&] { return waitpid(intermediate, &status, 0); });
    // The end of the pipe without a report says that the program runs.
    int error = 0;
    return retryInterrupted([&] { return read(outcome.get(), &error, sizeof error); }) == 0;
}

} // namespace wickerlane
