#include "cli/NewFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "cli/Output.h"

namespace wickerlane::cli {
namespace {

/// The mode that open(2) would give a file here. Reading the mask means setting it; nothing else here makes
/// files at the same time.
mode_t usualMode() {
    const mode_t mask = umask(077);
    umask(mask);
    return 0666 & ~mask;
}

bool putInPlace(const char *from, const char *to, bool replace) {
    if (replace)
        return std::rename(from, to) == 0;
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return true;
    // Some file systems cannot rename so, but a link never replaces anything either.
    return errno == EINVAL && link(from, to) == 0 && unlink(from) == 0;
}

} // namespace

NewFile::NewFile(std::string path)
    : place(std::move(path)),
      temporary((std::filesystem::path(place).parent_path() / ".wickerlane-XXXXXX").string()) {
    fd.reset(mkostemp(temporary.data(), O_CLOEXEC));
}

NewFile::~NewFile() {
    if (fd)
        unlink(temporary.c_str());
}

bool NewFile::finish(bool replace) {
    if (fchmod(fd.get(), usualMode()) != 0 || fsync(fd.get()) != 0 ||
        !putInPlace(temporary.c_str(), place.c_str(), replace))
        return false;
    fd.reset();
    return true;
}

ExitCode failToWrite(const std::string &path) {
    if (errno == EEXIST)
        return fail(ExitCode::failure, fmt::format("{} exists already; --force replaces it", path));
    return fail(ExitCode::failure, fmt::format("{} could not be written: {}", path, std::strerror(errno)));
}

} // namespace wickerlane::cli
