#include "cli/Interrupt.h"

#include <atomic>
#include <csignal>

namespace wickerlane::cli {
namespace {

constinit std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch it");

} // namespace

void noticeInterrupts() {
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted.store(true); };
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool isInterrupted() {
    return interrupted.load();
}

} // namespace wickerlane::cli
