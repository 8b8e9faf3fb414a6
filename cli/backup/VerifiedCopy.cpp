#include "cli/backup/VerifiedCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <vector>

#include "cli/FileFailures.h"
#include "cli/Texts.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::cli {
namespace {

Result<> copyBytes(int source, const std::string &sourcePath, int destination, const std::string &path) {
    std::vector<std::byte> block(std::size_t{1} << 18);
    for (off_t offset = 0;;) {
        const ssize_t count =
            retryInterrupted([&] { return pread(source, block.data(), block.size(), offset); });
        if (count < 0)
            return failToRead(sourcePath);
        if (count == 0)
            return {};
        if (!writeAll(destination, std::span(block).first(static_cast<std::size_t>(count))))
            return failToWrite(path);
        offset += count;
    }
}

Result<> makeFolderOf(const std::string &place) {
    const std::string folder(parentFolder(place));
    if (!makeFolders(folder))
        return failToMake(folder);
    return {};
}

} // namespace

Result<UniqueFd> openForCopy(const std::string &path) {
    UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0)
        return failToRead(path);
    if (!S_ISREG(status.st_mode))
        return fail(ProblemKind::invalid, localized("{} is not a file", path), path);
    return file;
}

Result<Sha256> sumOfFile(const std::string &path) {
    const auto file = openForCopy(path);
    if (!file)
        return passOn(file);
    return store::sha256OfFile(file->get(), path);
}

Result<VerifiedCopy> VerifiedCopy::create(std::string temporaryPath) {
    UniqueFd fd = openFile(temporaryPath, O_RDWR | O_CREAT | O_TRUNC);
    if (!fd)
        return failToWrite(temporaryPath);
    return VerifiedCopy(std::move(temporaryPath), std::move(fd));
}

VerifiedCopy::~VerifiedCopy() {
    if (fd)
        unlink(temporary.c_str());
}

Result<> VerifiedCopy::copyFrom(int source, const std::string &sourcePath, const Sha256 &sum) {
    if (const auto copied = copyBytes(source, sourcePath, fd.get(), temporary); !copied)
        return copied;
    if (fsync(fd.get()) != 0)
        return failToWrite(temporary);
    // What is read back should come from the disk, not from memory.
    static_cast<void>(posix_fadvise(fd.get(), 0, 0, POSIX_FADV_DONTNEED));
    const auto readBack = store::sha256OfFile(fd.get(), temporary);
    if (!readBack)
        return passOn(readBack);
    if (*readBack == sum)
        return {};
    const auto given = store::sha256OfFile(source, sourcePath);
    if (!given)
        return passOn(given);
    if (*given != sum)
        return fail(ProblemKind::failed, localized("{} has other contents than it should have", sourcePath),
                    sourcePath);
    return fail(ProblemKind::failed,
                localized("a copy of {} was not read back as it was written to {}", sourcePath, temporary),
                temporary);
}

Result<> VerifiedCopy::setAttributes(mode_t mode, std::int64_t modified) {
    constexpr std::int64_t second = 1'000'000'000;
    const std::int64_t nanoseconds = ((modified % second) + second) % second;
    const timespec times[] = {{0, UTIME_OMIT}, {(modified - nanoseconds) / second, nanoseconds}};
    // Not every file system has modes, and times are for people.
    static_cast<void>(fchmod(fd.get(), mode));
    static_cast<void>(futimens(fd.get(), times));
    if (fsync(fd.get()) != 0)
        return failToWrite(temporary);
    return {};
}

Result<> VerifiedCopy::replace(const std::string &place) {
    if (const auto made = makeFolderOf(place); !made)
        return made;
    if (std::rename(temporary.c_str(), place.c_str()) != 0)
        return failToWrite(place);
    fd.reset();
    return {};
}

Result<> VerifiedCopy::moveToFree(const std::string &place) {
    if (const auto made = makeFolderOf(place); !made)
        return made;
    if (renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, place.c_str(), RENAME_NOREPLACE) != 0) {
        // Some file systems can't rename so, but a link never replaces anything either.
        const bool isUnable = errno == EINVAL || errno == ENOSYS;
        if (!isUnable || link(temporary.c_str(), place.c_str()) != 0)
            return failToWrite(place);
        unlink(temporary.c_str());
    }
    fd.reset();
    return {};
}

} // namespace wickerlane::cli
