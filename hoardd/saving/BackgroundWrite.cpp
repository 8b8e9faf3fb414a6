#include "hoardd/saving/BackgroundWrite.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "hoardd/library/StagedFile.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::hoardd {

namespace {

/// A folder below another one, reached without a single link.
Result<UniqueFd> openBeneath(const std::string &base, const std::string &relative) {
    const UniqueFd folder(::open(base.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    UniqueFd found(static_cast<int>(
        ::syscall(SYS_openat2, folder.get(), relative.empty() ? "." : relative.c_str(), &how, sizeof how)));
    if (!found)
        return failSystem("reach", base + '/' + relative);
    return found;
}

/// `relative` is the path below one of the folders, which may be written.
Result<> writeBelow(const Library &library, const std::string &base, std::string_view relative, Bytes bytes) {
    const std::string name(lastPathComponent(relative));
    if (relative.empty() || relative.ends_with('/') || name == "." || name == "..")
        return fail(ProblemKind::invalid, "that names no file");
    const auto folder = openBeneath(base, std::string(parentFolder(relative)));
    if (!folder)
        return passOn(folder);
    auto file = StagedFile::create(library.paths().saving());
    if (!file)
        return passOn(file);
    if (auto written = file->write(bytes); !written)
        return written;
    if (auto synced = file->sync(); !synced)
        return synced;
    if (auto linked = file->linkInto(folder->get(), name); !linked)
        return linked.error().kind == ProblemKind::exists
                   ? fail(ProblemKind::exists, "there is a file of that name")
                   : passOn(linked);
    if (::fsync(folder->get()) != 0)
        return failSystem("sync", base);
    return {};
}

} // namespace

Result<> writeNewFile(const Library &library, const std::string &path, Bytes bytes) {
    for (const std::string &base : {library.paths().folder() + "/DCIM", library.paths().incoming()})
        if (path.starts_with(base + '/'))
            return writeBelow(library, base, std::string_view(path).substr(base.size() + 1), bytes);
    return fail(ProblemKind::refused,
                "only files in the library's folders DCIM and PhotoData/Incoming are written");
}

} // namespace wickerlane::hoardd
