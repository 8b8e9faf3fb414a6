#include "wickerlane/platform/process/ProcessFacts.h"

#include <fcntl.h>
#include <sched.h>

#include <algorithm>
#include <charconv>
#include <climits>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane {
namespace {

std::string targetOf(const char *link) {
    char path[PATH_MAX];
    const ssize_t count = readlink(link, path, sizeof path);
    return {path, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

} // namespace

std::string executableOf(pid_t process) {
    return targetOf(("/proc/" + std::to_string(process) + "/exe").c_str());
}

std::string_view withoutDeletedMark(std::string_view path) noexcept {
    constexpr std::string_view mark = " (deleted)";
    if (path.ends_with(mark))
        path.remove_suffix(mark.size());
    return path;
}

std::string ownExecutable() {
    return std::string(withoutDeletedMark(targetOf("/proc/self/exe")));
}

std::uint64_t startTimeOf(pid_t process) {
    char text[1024];
    const UniqueFd file(open(("/proc/" + std::to_string(process) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return 0;
    const ssize_t count = retryInterrupted([&] { return read(file.get(), text, sizeof text); });
    if (count <= 0)
        return 0;
    // The second field is the program's name, which may hold anything; the rest begins behind its bracket.
    // The start time is the 22nd.
    std::string_view rest(text, static_cast<std::size_t>(count));
    rest.remove_prefix(std::min(rest.rfind(')') + 1, rest.size()));
    for (int field = 2; field < 22; ++field) {
        const std::size_t space = rest.find(' ');
        if (space == rest.npos)
            return 0;
        rest.remove_prefix(space + 1);
    }
    std::uint64_t ticks = 0;
    std::from_chars(rest.data(), rest.data() + rest.size(), ticks);
    return ticks;
}

unsigned processorCount() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        return 1;
    return static_cast<unsigned>(std::max(CPU_COUNT(&set), 1));
}

} // namespace wickerlane
