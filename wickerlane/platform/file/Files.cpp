#include "wickerlane/platform/file/Files.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane {
namespace {

// Environment variables are the caller's own, but a set-user-ID program must not let its caller choose.
std::string environment(const char *name) {
    const char *value = secure_getenv(name);
    return value != nullptr ? value : "";
}

std::string homeFolder() {
    if (std::string home = environment("HOME"); home.starts_with('/'))
        return home;
    std::array<char, 4096> buffer;
    passwd entry{}, *found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_dir;
    return "/";
}

std::string absolute(std::string path) {
    if (!path.starts_with('/')) {
        std::array<char, PATH_MAX> current;
        path.insert(0, getcwd(current.data(), current.size()) != nullptr ? std::string(current.data()) + "/"
                                                                         : "/");
    }
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return path;
}

std::string folderOf(const std::string &path) {
    const std::string_view folder = parentFolder(path);
    return folder.empty() ? "." : std::string(folder);
}

bool syncFolderOpenedWith(const std::string &path, int flags) {
    const UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
    return folder && fsync(folder.get()) == 0;
}

// Removes a file in the end unless it is to be kept; keeps errno.
class Removal {
public:
    explicit Removal(std::string removed) : path(std::move(removed)) {}
    Removal(const Removal &) = delete;
    Removal &operator=(const Removal &) = delete;
    ~Removal() {
        if (!path.empty()) {
            const int error = errno;
            unlink(path.c_str());
            errno = error;
        }
    }
    void keep() { path.clear(); }

private:
    std::string path;
};

std::string usersOwnRoot() {
    std::string data = environment("XDG_DATA_HOME");
    if (!data.starts_with('/')) // relative ones are to be ignored
        data = absolute(homeFolder()) + "/.local/share";
    return absolute(data + "/wickerlane");
}

} // namespace

std::string rootPath() {
    if (std::string chosen = environment("WICKERLANE_ROOT"); !chosen.empty())
        return absolute(std::move(chosen));
    return access("/etc/wickerlane/device", F_OK) == 0 ? "/" : usersOwnRoot();
}

bool isRootOfDevice() {
    return access(pathUnderRoot("/etc/wickerlane/device").c_str(), F_OK) == 0;
}

std::string runtimeFolder() {
    std::string folder = environment("XDG_RUNTIME_DIR");
    struct stat status {};
    if (!folder.starts_with('/') || rootPath() != usersOwnRoot() || lstat(folder.c_str(), &status) != 0 ||
        !S_ISDIR(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return {};
    return folder;
}

std::string pathUnderRoot(std::string_view systemPath) {
    std::string path = rootPath();
    if (path == "/")
        path.clear();
    if (!systemPath.starts_with('/'))
        path += '/';
    return path.append(systemPath);
}

bool makeFolders(const std::string &path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        return true;
    std::size_t end = 0;
    do {
        end = path.find('/', end + 1);
        const std::string folder = path.substr(0, end);
        if (mkdir(folder.c_str(), 0700) == 0)
            chmod(folder.c_str(), 0700); // whatever the file mask took
        else if (errno != EEXIST)
            return false;
    } while (end != std::string::npos);
    if (lstat(path.c_str(), &status) != 0)
        return false;
    if (!S_ISDIR(status.st_mode))
        errno = S_ISLNK(status.st_mode) ? ELOOP : ENOTDIR;
    return S_ISDIR(status.st_mode);
}

UniqueFd openFile(const std::string &path, int flags) {
    const auto openWith = [&](int used) {
        return retryInterrupted(
            [&] { return open(path.c_str(), used | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR); });
    };
    if ((flags & O_CREAT) == 0)
        return UniqueFd(openWith(flags));
    for (;;) {
        UniqueFd made(openWith(flags | O_EXCL));
        if (made)
            fchmod(made.get(), S_IRUSR | S_IWUSR); // whatever the file mask took
        if (made || errno != EEXIST || (flags & O_EXCL) != 0)
            return made;
        UniqueFd found(openWith(flags & ~O_CREAT));
        if (found || errno != ENOENT) // else it was removed in between
            return found;
    }
}

bool readFile(const std::string &path, std::vector<std::byte> &contents, std::size_t limit) {
    contents.clear();
    // Non-blocking, so that a pipe put in the file's place can't hold the caller up.
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    // The size is a first guess only, since the file may grow or shrink meanwhile; one byte more shows the
    // end.
    limit = std::min(limit, SIZE_MAX / 2);
    std::size_t room = std::min(static_cast<std::size_t>(status.st_size), limit) + 1, length = 0;
    for (;;) {
        contents.resize(room);
        const ssize_t count =
            retryInterrupted([&] { return read(file.get(), contents.data() + length, room - length); });
        if (count <= 0) {
            contents.resize(count == 0 ? length : 0);
            return count == 0;
        }
        length += static_cast<std::size_t>(count);
        if (length > limit) {
            contents.clear();
            errno = EFBIG;
            return false;
        }
        if (length == room)
            room = std::min(limit + 1, room * 2);
    }
}

bool writeAll(int descriptor, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = retryInterrupted([&] { return write(descriptor, bytes.data(), bytes.size()); });
        if (count < 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

bool replaceFile(const std::string &path, std::span<const std::byte> contents, mode_t mode) {
    static constinit std::atomic<unsigned> counter{0};
    UniqueFd file;
    std::string temporary;
    do {
        temporary = path + ".new-" + std::to_string(getpid()) + "-" + std::to_string(counter.fetch_add(1));
        file = openFile(temporary, O_WRONLY | O_CREAT | O_EXCL);
    } while (!file && errno == EEXIST); // left behind by a process that died
    if (!file)
        return false;
    Removal removal(temporary);
    if (!writeAll(file.get(), contents) || fchmod(file.get(), mode) != 0 || fsync(file.get()) != 0 ||
        rename(temporary.c_str(), path.c_str()) != 0)
        return false;
    removal.keep();
    return syncFolderOpenedWith(folderOf(path), 0);
}

bool syncFolder(const std::string &path) {
    return syncFolderOpenedWith(path, O_NOFOLLOW);
}

} // namespace wickerlane
