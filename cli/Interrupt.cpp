#include "cli/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

namespace wickerlane::cli {
namespace {

constinit std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch it");

constinit std::atomic<int> scopes{0};

void notice(int) {
    const int before = errno;
    interrupted.store(true);
    interruptSemaphore().signal(); // which a signal handler may do
    errno = before;
}

void setHandler(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction present = {};
        // What the parent wants ignored stays so, as for a command in the background.
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

} // namespace

InterruptScope::InterruptScope() {
    interruptSemaphore(); // made before a signal comes
    if (scopes.fetch_add(1) == 0 && !isInterrupted())
        setHandler(notice);
}

InterruptScope::~InterruptScope() {
    if (scopes.fetch_sub(1) == 1)
        setHandler(SIG_DFL);
}

bool isInterrupted() {
    return interrupted.load();
}

Failure failInterrupted(std::string text) {
    return fail(ProblemKind::cancelled, std::move(text));
}

Semaphore &interruptSemaphore() {
    static Semaphore &semaphore = *Semaphore::create(0).leak();
    return semaphore;
}

} // namespace wickerlane::cli
