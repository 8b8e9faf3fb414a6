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

// The whole of a name whose first characters the kernel keeps: the name of the file that the process runs, by
// the kernel's link, which only its owner may read; else, as with scripts and programs of several names, what
// the process was called with. The kept part when none of these begins with it.
std::string wholeName(int folder, const std::string &process, const std::string &kept) {
    char buffer[PATH_MAX];
    if (const ssize_t length = readlinkat(folder, (process + "/exe").c_str(), buffer, sizeof buffer);
        length > 0) {
        std::string_view name(buffer, static_cast<std::size_t>(length));
        constexpr std::string_view replaced = " (deleted)"; // while it runs, by an update
        if (name.ends_with(replaced))
            name.remove_suffix(replaced.size());
        if (name = afterLastSlash(name); name.starts_with(kept))
            return std::string(name);
    }
    std::string_view arguments = readStart(folder, process + "/cmdline", buffer);
    constexpr int called = 2; // the program, or an interpreter and its script
    for (int i = 0; i < called && !arguments.empty(); ++i) {
        const std::size_t end = std::min(arguments.find('\0'), arguments.size());
        if (const std::string_view name = afterLastSlash(arguments.substr(0, end)); name.starts_with(kept))
            return std::string(name);
        arguments.remove_prefix(std::min(end + 1, arguments.size()));
    }
    return kept;
}

// None for a process that has ended.
std::optional<std::string> commandName(int folder, const std::string &process) {
    char buffer[128]; // the kernel's own workers have longer names
    const std::string_view line = readStart(folder, process + "/comm", buffer);
    if (!line.ends_with('\n'))
        return std::nullopt;
    std::string name(line.substr(0, std::min(line.size() - 1, longestCommandName)));
    if (name.size() == keptOfCommandName)
        name = wholeName(folder, process, name).substr(0, longestCommandName);
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
