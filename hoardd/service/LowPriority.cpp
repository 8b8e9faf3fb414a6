#include "hoardd/service/LowPriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <system_error>
#include <thread>

#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

namespace {

constexpr int lowPriority = 10; // low enough to give way, high enough not to keep the store from others

/// The C library has no function for it. Of the calling thread; without effect where the disk's scheduler
/// knows no priorities.
void useDiskWhenIdle() {
    constexpr int whoProcess = 1, classIdle = 3, classShift = 13;
    static_cast<void>(::syscall(SYS_ioprio_set, whoProcess, 0, classIdle << classShift));
}

} // namespace

// On a thread of its own, since a thread may lower its priority but not raise it again.
void runAtLowPriority(DiskUse use, const Handler<void()> &work) {
    const auto run = [&work] {
        const ReleaseScope scope;
        work();
    };
    std::thread thread;
    try {
        thread = std::thread([&] {
            ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), lowPriority);
            if (use == DiskUse::idle)
                useDiskWhenIdle();
            run();
        });
    } catch (const std::system_error &) {
        run();
        return;
    }
    thread.join();
}

} // namespace wickerlane::hoardd
