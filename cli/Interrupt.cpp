#include "cli/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>

namespace wickerlane::cli {
namespace {

constinit std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch it");

void notice(int) {
    const int before = errno;
    interrupted.store(true);
    interruptSemaphore().signal(); // which a signal handler may do
    errno = before;
}

} // namespace

void noticeInterrupts() {
    interruptSemaphore(); // made before a signal comes
    struct sigaction action = {};
    action.sa_handler = notice;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool isInterrupted() {
    return interrupted.load();
}

Semaphore &interruptSemaphore() {
    static Semaphore &semaphore = *Semaphore::create(0).leak();
    return semaphore;
}

} // namespace wickerlane::cli
