#include "hoardd/Circumstances.h"

#include <sys/resource.h>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/process/Circumstances.h"

namespace wickerlane::hoardd {
namespace {

constexpr rlim_t mebibyte = 1 << 20;

struct Need {
    __rlimit_resource resource;
    const char *what;
    rlim_t least;
};

// For a library with large videos, many clients, and the media workers.
constexpr Need needs[] = {
    {RLIMIT_NOFILE, "open files", 1024},
    {RLIMIT_NPROC, "processes and threads", 256},
    {RLIMIT_FSIZE, "bytes of a file", 4096 * mebibyte},
    {RLIMIT_AS, "bytes of address space", 4096 * mebibyte},
    {RLIMIT_DATA, "bytes of memory", 1024 * mebibyte},
    {RLIMIT_STACK, "bytes of a stack", mebibyte},
    {RLIMIT_CPU, "seconds of processor time", RLIM_INFINITY},
};

void sayIfTooLow(const Need &need) {
    rlimit limits{};
    if (getrlimit(need.resource, &limits) != 0 || limits.rlim_cur >= need.least)
        return;
    const auto allowed = static_cast<unsigned long long>(limits.rlim_cur);
    if (need.least == RLIM_INFINITY)
        consoleLog("hoardd: the hard limit of %s is %llu; hoardd ends when it is met", need.what, allowed);
    else
        consoleLog("hoardd: the hard limit of %s is %llu; below %llu some work fails", need.what, allowed,
                   static_cast<unsigned long long>(need.least));
}

} // namespace

void leaveCircumstancesOfStart() {
    occupyStandardDescriptors();
    leaveCircumstances();
    for (const Need &need : needs)
        sayIfTooLow(need);
    if (const int niceness = getpriority(PRIO_PROCESS, 0); niceness > 0)
        consoleLog("hoardd: runs at niceness %d, as the process that started it did, and may be slow",
                   niceness);
}

} // namespace wickerlane::hoardd
