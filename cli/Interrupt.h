// Ctrl-C: long work ends where it can end well.
#ifndef CLI_INTERRUPT_H
#define CLI_INTERRUPT_H

#include "wickerlane/platform/queue/Semaphore.h"

namespace wickerlane::cli {

/// From now on the first SIGINT or SIGTERM is only noted. A second one ends the process as usual.
void noticeInterrupts();

/// Whether a signal has been noted. Thread-safe.
bool isInterrupted();

/// Is signalled when a signal is noted. Those who wait for something else as well may signal it too. Lives
/// forever.
Semaphore &interruptSemaphore();

} // namespace wickerlane::cli

#endif
