#include "hoardd/saving/Companions.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "hoardd/library/CallersFile.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/library/WorkNote.h"
#include "hoardd/media/FileType.h"
#include "hoardd/saving/AssetFiles.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

namespace {

/// The companion of a UUID, with a row or without; empty when there is none.
Result<std::string> companionFile(const store::LibraryPaths &paths, const std::string &uuid) {
    return filesOfAsset(store::companionFolder(paths, uuid), uuid)
        .map([](const std::vector<std::string> &files) {
            return files.empty() ? std::string() : files.front();
        });
}

} // namespace

Result<StagedCompanion> stageCompanion(int source, std::string_view path, std::string_view uuid,
                                       const std::string &folder) {
    auto copy = StagedFile::create(folder);
    if (!copy)
        return passOn(copy);
    if (const auto sealed = copy->copyFrom(source).and_then([&] { return copy->seal(); }); !sealed)
        return passOn(sealed);
    const auto sum = copy->sum();
    if (!sum)
        return passOn(sum);
    struct stat status {};
    if (::fstat(copy->descriptor(), &status) != 0)
        return failSystem("write", folder);
    const std::string_view name = lastPathComponent(path);
    const FileType type = fileTypeOf(copy->descriptor(), name);
    store::Companion row{std::string(uuid) + '.' + type.extension, std::string(name), type.mediaType,
                         static_cast<std::uint64_t>(status.st_size), *sum};
    copy->close();
    return StagedCompanion{*std::move(copy), std::move(row)};
}

Result<> placeCompanion(const store::LibraryPaths &paths, StagedCompanion &companion, std::string_view uuid) {
    const std::string folder = store::companionFolder(paths, uuid);
    const auto placed =
        makeDurableFolder(folder)
            .and_then([&] { return companion.file.moveTo(store::companionPath(paths, uuid, companion.row)); })
            .and_then([&] { return makeNamesDurable(folder); });
    companion.isPlaced = placed.has_value();
    return placed;
}

Result<CompanionOutcome> attachCompanion(Library &library, const std::string &uuid,
                                         StagedCompanion &companion) {
    const MutexLock lock(library.locks().of(uuid));
    const auto asset = assetWithUUID(library, uuid);
    if (!asset && asset.error().kind == ProblemKind::notFound)
        return CompanionOutcome::none; // it has just been deleted
    if (!asset)
        return passOn(asset);
    const auto present = library.writer().companionOf(uuid);
    if (!present)
        return passOn(present);
    if (*present)
        return (*present)->sha256 == companion.row.sha256 ? CompanionOutcome::wasPresent
                                                          : CompanionOutcome::none;
    const auto onDisk = companionFile(library.paths(), uuid);
    if (!onDisk)
        return passOn(onDisk);
    // A file without a row may be all that is left of something.
    if (companion.isPlaced || !onDisk->empty())
        return CompanionOutcome::none;
    auto note = WorkNote::write(library.paths(), (*asset)->record(), Work::companion);
    if (!note)
        return passOn(note);
    companion.row.filename.replace(0, uuid.size(), uuid);
    if (const auto placed = placeCompanion(library.paths(), companion, uuid); !placed) {
        static_cast<void>(removeCompanion(library.paths(), uuid)); // else a repair finds it
        return passOn(placed);
    }
    if (const auto added = library.writer().addCompanion(uuid, companion.row); !added) {
        note->keep(); // a commit whose sync failed may still be found after a crash
        return passOn(added);
    }
    return CompanionOutcome::wasSaved;
}

Result<std::optional<store::Companion>> companionOnDisk(const store::LibraryPaths &paths,
                                                        const std::string &uuid) {
    const auto path = companionFile(paths, uuid);
    if (!path)
        return passOn(path);
    if (path->empty())
        return std::nullopt;
    const auto opened = requireRegular(openFile(*path, O_RDONLY | O_NONBLOCK), *path);
    if (!opened)
        return passOn(opened);
    const auto sum = store::sha256OfFile(opened->file.get(), *path);
    if (!sum)
        return passOn(sum);
    const std::string_view name = lastPathComponent(*path);
    return store::Companion{std::string(name),
                            {},
                            fileTypeOf(opened->file.get(), name).mediaType,
                            static_cast<std::uint64_t>(opened->status.st_size),
                            *sum};
}

Result<> adoptCompanion(Library &library, const std::string &uuid) {
    const MutexLock lock(library.locks().of(uuid));
    const auto isThere = library.writer().contains(uuid);
    const auto present = library.writer().companionOf(uuid);
    if (!isThere)
        return passOn(isThere);
    if (!present)
        return passOn(present);
    if (!*isThere || *present)
        return {};
    const auto onDisk = companionOnDisk(library.paths(), uuid);
    if (!onDisk)
        return passOn(onDisk);
    return *onDisk ? library.writer().addCompanion(uuid, **onDisk) : Result<>();
}

Result<> removeCompanion(const store::LibraryPaths &paths, const std::string &uuid) {
    const auto files = filesOfAsset(store::companionFolder(paths, uuid), uuid);
    if (!files)
        return passOn(files);
    for (const std::string &file : *files)
        if (const auto removed = removeFile(file); !removed)
            return removed;
    return {};
}

} // namespace wickerlane::hoardd
