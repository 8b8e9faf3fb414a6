// Ctrl-C: long work ends where it can end well.
#ifndef CLI_INTERRUPT_H
#define CLI_INTERRUPT_H

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/queue/Semaphore.h"

namespace wickerlane::cli {

/// While one lives, the first SIGINT or SIGTERM is only noted, and a second one ends the process as usual.
/// Otherwise such a signal ends the process at once. Used on one thread at a time; they nest.
class InterruptScope {
public:
    InterruptScope();
    ~InterruptScope();
    InterruptScope(const InterruptScope &) = delete;
    InterruptScope &operator=(const InterruptScope &) = delete;
};

/// Whether a signal has been noted, also in a scope that has ended. Thread-safe.
bool isInterrupted();

/// The problem of work that was ended so; `text` says how far it came: "interrupted: ...".
Failure failInterrupted(std::string text);

/// Is signalled when a signal is noted. Those who wait for something else as well may signal it too. Lives
/// forever.
Semaphore &interruptSemaphore();

} // namespace wickerlane::cli

#endif
