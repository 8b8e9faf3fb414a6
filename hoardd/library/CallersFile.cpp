#include "hoardd/library/CallersFile.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstring>
#include <utility>

namespace wickerlane::hoardd {

namespace {

/// Whether a program may answer the reads of the file, and let them wait for as long as it likes.
bool isServedByProgram(int file) {
    struct statfs status {
    }, system{};
    if (::fstatfs(file, &status) != 0 || status.f_type == FUSE_SUPER_MAGIC)
        return true;
    // One may lie below an overlay, if that is not the system's own.
    return status.f_type == OVERLAYFS_SUPER_MAGIC &&
           (::statfs("/", &system) != 0 ||
            std::memcmp(&status.f_fsid, &system.f_fsid, sizeof status.f_fsid) != 0);
}

/// The file of any other descriptor would be opened again through /proc for the media workers, with the
/// rights of this process instead of the caller's.
bool isOpenForReading(int file) {
    const int flags = ::fcntl(file, F_GETFL);
    return flags >= 0 && (flags & O_PATH) == 0 && (flags & O_ACCMODE) != O_WRONLY;
}

} // namespace

Result<RegularFile> requireRegular(UniqueFd opened, const std::string &path) {
    struct stat status {};
    if (!opened || ::fstat(opened.get(), &status) != 0)
        return failSystem("read", path);
    if (!S_ISREG(status.st_mode))
        return fail(ProblemKind::invalid, "can't read " + path + ": it is not a regular file", path);
    return RegularFile{std::move(opened), status};
}

Result<RegularFile> openCallersFile(const std::string &path, bool mayRead) {
    if (!path.starts_with('/') || path.find('\0') != std::string::npos)
        return fail(ProblemKind::invalid, "the path of the file is not an absolute path");
    if (!mayRead)
        return fail(ProblemKind::refused,
                    "files are read only for the user that hoardd serves; send the bytes instead");
    return requireRegular(UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)), path);
}

CallersFiles::CallersFiles(bool mayRead, const MessageDictionary *sent) : mayReadAll(mayRead) {
    if (sent == nullptr)
        return;
    auto files = std::make_shared<std::map<std::string, UniqueFd, std::less<>>>();
    sent->forEach([&](const char *path, MessageValue *value) {
        if (const auto *descriptor = as<MessageFileDescriptor>(value))
            if (UniqueFd file(descriptor->duplicate()); file)
                files->emplace(path, std::move(file));
        return true;
    });
    opened = std::move(files);
}

const UniqueFd *CallersFiles::fileSentAs(const std::string &path) const {
    if (!opened)
        return nullptr;
    const auto found = opened->find(path);
    return found != opened->end() ? &found->second : nullptr;
}

Result<RegularFile> CallersFiles::open(const std::string &path) const {
    const auto *sent = fileSentAs(path);
    if (sent == nullptr)
        return openCallersFile(path, mayReadAll);
    const int file = sent->get();
    if (!isOpenForReading(file))
        return fail(ProblemKind::invalid, "it was not opened for reading", path);
    if (!mayReadAll && isServedByProgram(file))
        return fail(ProblemKind::refused, "its file system may be a program's; send the bytes instead", path);
    return requireRegular(UniqueFd(::fcntl(file, F_DUPFD_CLOEXEC, 0)), path);
}

} // namespace wickerlane::hoardd
