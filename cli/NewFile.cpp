#include "cli/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <vector>

#include "cli/FileFailures.h"
#include "cli/Texts.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/Retry.h"

namespace wickerlane::cli {
namespace {

/// The mode that open(2) would give a file here. Reading the mask means setting it; nothing else here makes
/// files at the same time.
mode_t usualMode() {
    const mode_t mask = umask(077);
    umask(mask);
    return 0666 & ~mask;
}

bool renameFile(const char *from, const char *to, bool replace) {
    if (replace)
        return std::rename(from, to) == 0;
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return true;
    // Some file systems can't rename so, but a link never replaces anything either.
    return errno == EINVAL && link(from, to) == 0 && unlink(from) == 0;
}

Result<> putInPlace(const std::string &from, const std::string &to, bool replace) {
    if (renameFile(from.c_str(), to.c_str(), replace))
        return {};
    if (errno == EEXIST)
        return fail(ProblemKind::exists, localized("{} already exists; --force replaces it", to), to);
    return failToWrite(to);
}

} // namespace

Result<NewFile> NewFile::create(std::string path) {
    std::string temporary = (std::filesystem::path(path).parent_path() / ".wickerlane-XXXXXX").string();
    UniqueFd fd(mkostemp(temporary.data(), O_CLOEXEC));
    if (!fd)
        return failToWrite(path);
    return NewFile(std::move(path), std::move(temporary), std::move(fd));
}

NewFile::~NewFile() {
    if (fd)
        unlink(temporary.c_str());
}

Result<> NewFile::write(Bytes bytes) {
    if (!writeAll(fd.get(), bytes))
        return failToWrite(place);
    return {};
}

Result<> NewFile::copyFrom(int descriptor) {
    std::vector<std::byte> buffer(std::size_t{1} << 18);
    for (off_t position = 0;;) {
        const ssize_t count =
            retryInterrupted([&] { return pread(descriptor, buffer.data(), buffer.size(), position); });
        if (count < 0)
            return failToWrite(place);
        if (count == 0)
            return {};
        const auto written = write(std::span(buffer).first(static_cast<std::size_t>(count)));
        if (!written)
            return written;
        position += count;
    }
}

Result<> NewFile::setModified(double seconds) {
    const double whole = std::floor(seconds);
    const timespec modified{static_cast<std::time_t>(whole), std::lround((seconds - whole) * 999'999'999)};
    const timespec times[] = {{0, UTIME_OMIT}, modified};
    if (futimens(fd.get(), times) != 0)
        return failToWrite(place);
    return {};
}

Result<> NewFile::finish(bool replace) {
    if (fchmod(fd.get(), usualMode()) != 0 || fsync(fd.get()) != 0)
        return failToWrite(place);
    if (auto put = putInPlace(temporary, place, replace); !put)
        return put;
    fd.reset();
    return {};
}

} // namespace wickerlane::cli
