#include "hoardd/library/LibraryLock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <span>
#include <thread>
#include <vector>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

namespace {

/// What the system calls the program of a process; empty when there is no such process.
std::vector<std::byte> programOf(const std::string &process) {
    const UniqueFd file = openFile("/proc/" + process + "/comm", O_RDONLY);
    std::vector<std::byte> name(64);
    const ssize_t count = ::read(file.get(), name.data(), name.size());
    name.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return name;
}

/// Who holds the lock. The file tells if a process of this program does; but what one that was killed wrote
/// stays there, and its ID may be another process's now, and another program that locks the file writes none.
std::string holderOf(const UniqueFd &lock) {
    std::array<char, 16> text{};
    const ssize_t count = ::pread(lock.get(), text.data(), text.size(), 0);
    pid_t process = 0;
    std::from_chars(text.data(), text.data() + std::max<ssize_t>(count, 0), process);
    const std::string named = std::to_string(process);
    const std::vector<std::byte> program = programOf(named);
    return process > 0 && process != ::getpid() && !program.empty() && program == programOf("self")
               ? "process " + named
               : "another process";
}

} // namespace

Result<UniqueFd> takeLibraryLock(const std::string &path, std::chrono::milliseconds patience) {
    UniqueFd lock = openFile(path, O_RDWR | O_CREAT);
    if (!lock)
        return failSystem("lock", path);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!tryLockFile(lock.get(), FileLock::exclusive)) {
        if (errno != EWOULDBLOCK)
            return failSystem("lock", path);
        if (std::chrono::steady_clock::now() > deadline)
            return fail(ProblemKind::busy,
                        "the library is in use: " + holderOf(lock) + " holds " + path +
                            " locked; try again when it has ended",
                        path);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const std::string process = std::to_string(::getpid()) + '\n';
    if (::ftruncate(lock.get(), 0) != 0 || !writeAll(lock.get(), std::as_bytes(std::span(process))))
        return failSystem("lock", path);
    return lock;
}

} // namespace wickerlane::hoardd
