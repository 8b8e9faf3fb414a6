// Giving up capabilities of this process.
#ifndef WICKERLANE_PLATFORM_PROCESS_CAPABILITIES_H
#define WICKERLANE_PLATFORM_PROCESS_CAPABILITIES_H

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace wickerlane {

/// Gives up all capabilities of the calling thread but `kept`, a bit for each as in capabilities(7), for
/// good: what the process executes gets no more privileges than it has, even a setuid one. Before other
/// threads start. False when the kernel refuses, as under a filter of system calls.
inline bool keepOnlyCapabilities(std::uint64_t kept) noexcept {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return false;
    prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct parts[_LINUX_CAPABILITY_U32S_3];
    if (syscall(SYS_capget, &header, parts) != 0)
        return false;
    bool hasMore = false;
    for (unsigned i = 0; i < _LINUX_CAPABILITY_U32S_3; ++i) {
        const auto mask = static_cast<std::uint32_t>(kept >> (32 * i));
        hasMore = hasMore || (parts[i].permitted & ~mask) != 0;
        parts[i] = {
            .effective = parts[i].permitted & mask, .permitted = parts[i].permitted & mask, .inheritable = 0};
    }
    return !hasMore || syscall(SYS_capset, &header, parts) == 0;
}

} // namespace wickerlane

#endif
