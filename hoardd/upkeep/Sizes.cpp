#include "hoardd/upkeep/Sizes.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>

#include "hoardd/library/TrashStore.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;

namespace {

std::uint64_t bytesBelow(const std::string &folder) {
    std::uint64_t bytes = 0;
    std::error_code none;
    for (fs::recursive_directory_iterator entry(folder, none), end; !none && entry != end;
         entry.increment(none)) {
        std::error_code gone; // a file may go meanwhile
        if (!entry->is_regular_file(gone))
            continue;
        const auto size = entry->file_size(gone);
        bytes += gone ? 0 : size;
    }
    return bytes;
}

std::uint64_t bytesOf(const std::string &path) {
    std::error_code none;
    const auto bytes = fs::file_size(path, none);
    return none ? 0 : bytes;
}

Result<std::uint64_t> companionBytes(Library &library, std::string_view table) {
    return library
        .read([table](sqlite::Database &database) {
            return database.integer(std::string("SELECT coalesce(sum(bytesize), 0) FROM ").append(table));
        })
        .map([](std::int64_t bytes) { return static_cast<std::uint64_t>(bytes); });
}

struct TrashSizes {
    std::uint64_t originals = 0;
    std::uint64_t derived = 0;
};

Result<TrashSizes> trashSizes(Library &library) {
    const store::LibraryPaths &paths = library.paths();
    const auto trashed = library.read([](sqlite::Database &database) {
        return trashedUntil(database, std::numeric_limits<double>::max());
    });
    const auto renditions = library.read([](sqlite::Database &database) {
        return database.prepare("SELECT assetuuid, filename FROM ztrashedrendition")
            .all([](const sqlite::Statement &row) {
                return std::pair(std::string(row.text(0)), std::string(row.text(1)));
            });
    });
    if (!trashed)
        return passOn(trashed);
    if (!renditions)
        return passOn(renditions);
    const auto companions = companionBytes(library, store::trashedCompanionTable);
    if (!companions)
        return passOn(companions);
    TrashSizes sizes;
    sizes.originals = *companions;
    for (const store::AssetRecord &asset : *trashed) {
        sizes.originals += asset.byteSize;
        for (const auto &kind : store::thumbnailKinds)
            sizes.derived += bytesOf(paths.thumbnail(asset.uuid, kind.size));
    }
    for (const auto &[uuid, filename] : *renditions)
        sizes.derived += bytesOf(paths.renditionFolder(uuid) + '/' + filename);
    return sizes;
}

} // namespace

Result<std::map<std::uint32_t, std::uint64_t>> librarySizes(Library &library) {
    const auto counts = library.assets().counts();
    if (!counts)
        return passOn(counts);
    const auto trash = trashSizes(library);
    if (!trash)
        return passOn(trash);
    const auto companions = companionBytes(library, store::companionTable);
    if (!companions)
        return passOn(companions);
    const store::LibraryPaths &paths = library.paths();
    const std::string data = paths.folder() + "/PhotoData";
    std::map<std::uint32_t, std::uint64_t> sizes;
    const auto set = [&](SizeKind kind, std::uint64_t bytes) {
        sizes[static_cast<std::uint32_t>(kind)] = bytes;
    };
    set(SizeKind::photos, counts->photoBytes + *companions); // only pictures have any
    set(SizeKind::videos, counts->videoBytes);
    const std::uint64_t derived = bytesBelow(data + "/Thumbnails") + bytesBelow(data + "/Renditions");
    set(SizeKind::derived, derived - std::min(derived, trash->derived));
    set(SizeKind::trash, trash->originals + trash->derived);
    set(SizeKind::database, bytesOf(paths.database()) + bytesOf(paths.database() + "-wal") +
                                bytesOf(paths.database() + "-shm") + bytesBelow(paths.albums()));
    return sizes;
}

} // namespace wickerlane::hoardd
