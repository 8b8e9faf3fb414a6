#include "hoardd/saving/BackgroundWrite.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

#include "hoardd/library/StagedFile.h"
#include "hoardd/saving/AssetFiles.h"
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

/// Whether a path goes down only, by names alone: then it is spelled as the library spells it.
bool isPlain(std::string_view relative) {
    while (!relative.empty()) {
        const std::string_view name = relative.substr(0, relative.find('/'));
        if (name.empty() || name == "." || name == ".." || name.size() + 1 == relative.size())
            return false;
        relative.remove_prefix(std::min(name.size() + 1, relative.size()));
    }
    return true;
}

Result<> replaceBelow(const Library &library, const std::string &base, std::string_view relative,
                      Bytes bytes) {
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
    if (auto moved = file->moveInto(folder->get(), std::string(lastPathComponent(relative))); !moved)
        return moved;
    if (::fsync(folder->get()) != 0)
        return failSystem("sync", base);
    return {};
}

} // namespace

Result<> writeInBackground(Library &library, const std::string &path, Bytes bytes) {
    const std::string originals = library.paths().folder() + "/DCIM/",
                      incoming = library.paths().incoming() + '/';
    const bool isAmongOriginals = path.starts_with(originals);
    if (!isAmongOriginals && !path.starts_with(incoming))
        return fail(ProblemKind::refused,
                    "only files in the library's folders DCIM and PhotoData/Incoming are written");
    std::string base = isAmongOriginals ? originals : incoming;
    const std::string_view relative = std::string_view(path).substr(base.size());
    base.pop_back();
    if (relative.empty() || !isPlain(relative))
        return fail(ProblemKind::invalid, "that names no file");
    if (!isAmongOriginals)
        return replaceBelow(library, base, relative, bytes);
    return withOwnerOf(library, path, [&](FileOwner owner) -> Result<> {
        if (owner == FileOwner::asset)
            return fail(ProblemKind::exists, "it is the original of an asset");
        if (owner == FileOwner::unfinished)
            return fail(ProblemKind::busy, "an asset of that UUID is being saved or removed");
        return replaceBelow(library, base, relative, bytes);
    });
}

} // namespace wickerlane::hoardd
