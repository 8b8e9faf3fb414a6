// Threads of the library's own.
#ifndef WICKERLANE_PLATFORM_QUEUE_THREAD_H
#define WICKERLANE_PLATFORM_QUEUE_THREAD_H

namespace wickerlane {

/// Starts a detached thread with a name of at most 15 bytes. It blocks every signal that a process can be
/// sent, so that the application's own threads handle them; faults of the thread itself stay deliverable.
/// False when the system has no thread left to give.
[[nodiscard]] bool startThread(const char *name, void (*run)(void *), void *argument) noexcept;

} // namespace wickerlane

#endif
