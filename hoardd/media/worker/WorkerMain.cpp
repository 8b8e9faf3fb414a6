// hoardd-media: decodes foreign pictures for hoardd, confined, one request at a time.
//
//   hoardd-media serve        answers requests until hoardd hangs up
//   hoardd-media serve-apart  the same, with a fresh process for each request
//
// hoardd starts it with a packet socket on descriptor 3; it is of no use to people.

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "hoardd/media/Protocol.h"
#include "hoardd/media/worker/Confinement.h"
#include "hoardd/media/worker/RequestHandler.h"
#include "wickerlane/platform/process/Sanitizers.h"

#if WL_ADDRESS_SANITIZER
// The leak checker needs to trace the process, which the filter of system calls forbids.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0:allocator_may_return_null=1:max_allocation_size_mb=512";
}
#endif

namespace wickerlane::hoardd::media {
namespace {

// Counts processor time, so that a busy machine fails no honest file; hoardd watches the clock on the wall.
void limitProcessorTime(std::uint32_t milliseconds) {
    itimerval timer{};
    timer.it_value.tv_sec = milliseconds / 1000;
    timer.it_value.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    setitimer(ITIMER_PROF, &timer, nullptr);
}

// False when hoardd is gone.
bool serveOne() {
    WorkerRequest request;
    std::vector<UniqueFd> descriptors;
    if (!receivePacket(workerSocket, request, descriptors))
        return false;
    limitProcessorTime(request.processorMilliseconds);
    const WorkerAnswer answer = handle(request, descriptors);
    limitProcessorTime(0);
    descriptors.clear();
    return sendPacket(workerSocket, answer).has_value();
}

// Reads nothing that hoardd sends, so that a file can only reach the child that decodes it.
int serveApart(pid_t self, std::uint64_t inUse) {
    pollfd waiting{workerSocket, POLLIN, 0};
    while (poll(&waiting, 1, -1) > 0 && (waiting.revents & POLLIN) != 0) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const bool served = getppid() == self && confine(inUse).hasSystemCallFilter != 0 && serveOne();
            _exit(served ? 0 : 1);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child)
            return 1;
        if (WIFSIGNALED(status)) { // ends the same way, so that hoardd sees why
            signal(WTERMSIG(status), SIG_DFL);
            raise(WTERMSIG(status));
        }
        if (status != 0)
            return 1;
    }
    return 0;
}

// What confinement a child will get, found out in one.
Hello helloOfChild(std::uint64_t inUse) {
    Hello hello;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return hello;
    const UniqueFd near(ends[0]);
    UniqueFd far(ends[1]);
    const pid_t child = fork();
    if (child == 0)
        _exit(sendPacket(far.get(), confine(inUse)) ? 0 : 1);
    far.reset();
    std::vector<UniqueFd> none;
    if (child < 0 || !receivePacket(near.get(), hello, none))
        hello = Hello{};
    waitpid(child, nullptr, 0);
    return hello;
}

int run(const char *program, bool apart) {
    const pid_t self = getpid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!prepareHandling(program))
        return 1;
    // Asked before confinement, since the libraries may read files for it.
    const std::string decoders = decoderVersions();
    const std::uint64_t inUse = addressSpaceInUse();
    if (apart) // what only forks needs no files either
        forbidFiles();
    Hello hello = apart ? helloOfChild(inUse) : confine(inUse);
    hello.decoders = decoders;
    if (!sendPacket(workerSocket, hello))
        return 1;
    if (apart)
        return serveApart(self, inUse);
    while (serveOne()) {
    }
    return 0;
}

} // namespace
} // namespace wickerlane::hoardd::media

int main(int argc, char **argv) {
    const std::string_view mode = argc == 2 ? argv[1] : "";
    if (mode != "serve" && mode != "serve-apart") {
        std::fputs("hoardd-media is started by hoardd, which hands it pictures to decode.\n", stderr);
        return 2;
    }
    _exit(wickerlane::hoardd::media::run(argv[0], mode == "serve-apart"));
}
