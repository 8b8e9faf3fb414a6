// Keeping a process alive while it has work that no connection shows.
#ifndef WICKERLANE_PLATFORM_PROCESS_PROCESSTRANSACTION_H
#define WICKERLANE_PLATFORM_PROCESS_PROCESSTRANSACTION_H

#include <cstddef>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// The process-wide count of open transactions: while it is above zero the process is busy and no message
/// listener in it becomes idle. Thread-safe.
WL_EXPORT void beginProcessTransaction() noexcept;
WL_EXPORT void endProcessTransaction() noexcept;
[[nodiscard]] WL_EXPORT std::size_t processTransactionCount() noexcept;

} // namespace wickerlane

#endif
