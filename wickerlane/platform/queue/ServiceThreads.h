// The threads without which nothing is delivered.
#ifndef WICKERLANE_PLATFORM_QUEUE_SERVICETHREADS_H
#define WICKERLANE_PLATFORM_QUEUE_SERVICETHREADS_H

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Starts the reader thread, the timer's thread and a worker of the global queue, unless they run. False when
/// the system gives no more threads or descriptors: what is submitted then waits until it does.
[[nodiscard]] bool startServiceThreads() noexcept;

/// Starts a worker of the global queue, unless one runs. False when the system gives no more threads.
[[nodiscard]] WL_EXPORT bool startWorker() noexcept;

} // namespace wickerlane

#endif
