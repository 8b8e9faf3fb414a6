// Ctrl-C: long work ends where it can end well.
#ifndef CLI_INTERRUPT_H
#define CLI_INTERRUPT_H

namespace wickerlane::cli {

/// From now on the first SIGINT or SIGTERM is only noted; a second one ends the process as usual.
void noticeInterrupts();

/// Whether one has been noted. Thread-safe.
bool isInterrupted();

} // namespace wickerlane::cli

#endif
