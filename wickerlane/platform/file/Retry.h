// System calls that a signal may interrupt.
#ifndef WICKERLANE_PLATFORM_FILE_RETRY_H
#define WICKERLANE_PLATFORM_FILE_RETRY_H

#include <cerrno>

namespace wickerlane {

/// Makes a system call until no signal interrupts it. Its result is -1 on failure, with errno.
template <class Call>
auto retryInterrupted(const Call &call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

} // namespace wickerlane

#endif
