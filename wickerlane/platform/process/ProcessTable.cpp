#include "wickerlane/platform/process/ProcessTable.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <span>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane {
namespace {

// What the kernel keeps of a command name.
constexpr std::size_t keptOfCommandName = 15;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

std::string_view afterLastSlash(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

// At most what fits into the buffer, from the start of a file of a process; nothing when it can't be read.
std::string_view readStart(int folder, const std::string &path, std::span<char> buffer) {
    const UniqueFd file(openat(folder, path.c_str(), O_RDONLY | O_CLOEXEC));
    ssize_t count = -1;
    if (file)
        do
            count = read(file.get(), buffer.data(), buffer.size());
        while (count < 0 && errno == EINTR);
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

// The name of the file that a process runs: by the kernel's link, which only the process's owner may read,
// else by what the process was called with.
std::string executableName(int folder, const std::string &process) {
    char path[PATH_MAX];
    const ssize_t length = readlinkat(folder, (process + "/exe").c_str(), path, sizeof path);
    if (length > 0) {
        std::string_view name(path, static_cast<std::size_t>(length));
        constexpr std::string_view replaced = " (deleted)"; // while it runs, by an update
        if (name.ends_with(replaced))
            name.remove_suffix(replaced.size());
        return std::string(afterLastSlash(name));
    }
    const std::string_view arguments = readStart(folder, process + "/cmdline", path);
    return std::string(afterLastSlash(arguments.substr(0, arguments.find('\0'))));
}

// None for a process that has ended.
std::optional<std::string> commandName(int folder, const std::string &process) {
    char buffer[128]; // the kernel's own workers have longer names
    const std::string_view line = readStart(folder, process + "/comm", buffer);
    if (!line.ends_with('\n'))
        return std::nullopt;
    std::string name(line.substr(0, std::min(line.size() - 1, longestCommandName)));
    if (name.size() == keptOfCommandName)
        if (const std::string whole = executableName(folder, process); whole.starts_with(name))
            name = whole.substr(0, longestCommandName);
    return name;
}

} // namespace

std::optional<std::vector<ProcessRecord>> processTable() {
    const std::unique_ptr<DIR, CloseFolder> folder(opendir("/proc"));
    if (!folder)
        return std::nullopt;
    std::vector<ProcessRecord> records;
    while (const dirent *entry = readdir(folder.get())) {
        const std::string name = entry->d_name;
        pid_t process = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (error != std::errc() || end != name.data() + name.size())
            continue;
        if (auto command = commandName(dirfd(folder.get()), name))
            records.push_back({process, std::move(*command)});
    }
    if (records.empty())
        return std::nullopt;
    return records;
}

} // namespace wickerlane
