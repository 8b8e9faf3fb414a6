// Ctrl-C: long work ends where it can end well.
#ifndef CLI_INTERRUPT_H
#define CLI_INTERRUPT_H

#include "wickerlane/platform/queue/Semaphore.h"

namespace wickerlane::cli {

/// From now on the first SIGINT or SIGTERM is only noted; a second one ends the process as usual.
void noticeInterrupts();

/// Whether one has been noted. Thread-safe.
bool isInterrupted();

/// A semaphore that is signalled when one is noted: for who waits for other things, which may signal it as
/// well. Lives for ever.
Semaphore &interruptSemaphore();

} // namespace wickerlane::cli

#endif
