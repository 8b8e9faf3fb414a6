#include "wickerlane/platform/process/ProcessTable.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <memory>
#include <span>
#include <string_view>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/ProcessFacts.h"

namespace wickerlane {
namespace {

// What the kernel keeps of a command name.
constexpr std::size_t kernelCommandNameLength = 15;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

// At most what fits into the buffer, from the start of a file of a process; nothing when it can't be read.
std::string_view readStart(int folder, const std::string &path, std::span<char> buffer) {
    const UniqueFd file(openat(folder, path.c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t count =
        file ? retryInterrupted([&] { return read(file.get(), buffer.data(), buffer.size()); }) : -1;
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

// The whole of a name whose first characters the kernel keeps: the name of the file that the process runs, by
// the kernel's link, which only its owner may read; else, as with scripts and programs of several names, what
// the process was called with. The kept part when none of these begins with it.
std::string wholeName(int folder, pid_t process, const std::string &kept) {
    const std::string executable = executableOf(process);
    if (const auto name = lastPathComponent(withoutDeletedMark(executable)); name.starts_with(kept))
        return std::string(name);
    char buffer[PATH_MAX];
    std::string_view arguments = readStart(folder, std::to_string(process) + "/cmdline", buffer);
    constexpr int called = 2; // the program, or an interpreter and its script
    for (int i = 0; i < called && !arguments.empty(); ++i) {
        const std::size_t end = std::min(arguments.find('\0'), arguments.size());
        if (const std::string_view name = lastPathComponent(arguments.substr(0, end)); name.starts_with(kept))
            return std::string(name);
        arguments.remove_prefix(std::min(end + 1, arguments.size()));
    }
    return kept;
}

// None for a process that has ended.
std::optional<std::string> commandName(int folder, pid_t process) {
    char buffer[128]; // the kernel's own workers have longer names
    const std::string_view line = readStart(folder, std::to_string(process) + "/comm", buffer);
    if (!line.ends_with('\n'))
        return std::nullopt;
    std::string name(line.substr(0, std::min(line.size() - 1, maxCommandNameLength)));
    if (name.size() == kernelCommandNameLength)
        name = wholeName(folder, process, name).substr(0, maxCommandNameLength);
    return name;
}

} // namespace

std::optional<std::vector<ProcessRecord>> processTable() {
    const std::unique_ptr<DIR, CloseFolder> folder(opendir("/proc"));
    if (!folder)
        return std::nullopt;
    std::vector<ProcessRecord> records;
    while (const dirent *entry = readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        pid_t process = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (error != std::errc() || end != name.data() + name.size())
            continue;
        if (auto command = commandName(dirfd(folder.get()), process))
            records.push_back({process, std::move(*command)});
    }
    if (records.empty())
        return std::nullopt;
    return records;
}

} // namespace wickerlane
