#include "hoardd/Circumstances.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/service/InheritedSocket.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/Capabilities.h"
#include "wickerlane/platform/process/Circumstances.h"
#include "wickerlane/store/LibraryPaths.h"

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

std::string textOf(const char *path) {
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, 64 << 10))
        return {};
    const auto *text = reinterpret_cast<const char *>(bytes.data());
    std::string found(text, bytes.size());
    return found.substr(0, found.find_last_not_of('\n') + 1);
}

/// That of the client which started this process, with its limits; empty when there is none.
std::string clientsControlGroup() {
    if (getenv(startedByClientVariable) == nullptr)
        return {};
    std::string text = textOf("/proc/self/cgroup");
    const auto start = text.find("0::");
    if (start == text.npos)
        return {};
    text.erase(0, start + 3);
    text.resize(std::min(text.size(), text.find('\n')));
    return text != "/" ? text : std::string();
}

/// What no process can lay down, in words; empty when there is nothing of it.
std::string whatStays() {
    std::vector<std::string> stays;
    if (const int niceness = getpriority(PRIO_PROCESS, 0); niceness > 0)
        stays.push_back("niceness " + std::to_string(niceness));
    if (sched_getscheduler(0) != SCHED_OTHER)
        stays.emplace_back("a scheduling policy other than the usual one");
    if (const std::string score = textOf("/proc/self/oom_score_adj"); !score.empty() && score != "0")
        stays.push_back("an adjustment of " + score + " for when memory runs out");
    // A service manager has chosen the filter for hoardd.
    const bool isManaged = getenv("NOTIFY_SOCKET") != nullptr;
    if (!isManaged && prctl(PR_GET_SECCOMP) == 2)
        stays.emplace_back("a filter of system calls");
    if (const std::string group = clientsControlGroup(); !group.empty())
        stays.push_back("the control group " + group + " with its limits");
    std::string text;
    for (const std::string &each : stays)
        text.append(text.empty() ? "" : ", ").append(each);
    return text;
}

} // namespace

void leaveCircumstancesOfStart() {
    occupyStandardDescriptors();
    leaveCircumstances();
    for (const Need &need : needs)
        sayIfTooLow(need);
    if (const std::string stays = whatStays(); !stays.empty())
        consoleLog("hoardd: what the process that started it had stays with it: %s", stays.c_str());
    constexpr std::uint64_t needed = 1ULL << CAP_DAC_READ_SEARCH | // for files to be saved that root may read
                                     1ULL << CAP_SYS_PTRACE;       // for the programs of other users' clients
    if (!keepOnlyCapabilities(needed))
        consoleLog("hoardd: it can't give up privileges that it does not need: %s", strerrordesc_np(errno));
}

std::string whyLibraryIsAnothers() {
    if (geteuid() != 0)
        return {};
    const std::string folder = store::LibraryPaths().folder();
    for (const std::string &each : {folder, std::string(parentFolder(folder))}) {
        struct stat status {};
        if (stat(each.c_str(), &status) == 0)
            return status.st_uid == 0
                       ? std::string()
                       : each + " belongs to user " + std::to_string(status.st_uid) +
                             ", and root does not serve it; on a device, systemctl start hoardd.socket";
    }
    return {};
}

} // namespace wickerlane::hoardd
