#include "hoardd/upkeep/Sizes.h"

#include <filesystem>

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

} // namespace

Result<std::map<std::uint32_t, std::uint64_t>> librarySizes(Library &library) {
    const auto counts = library.assets().counts();
    if (!counts)
        return passOn(counts);
    const store::LibraryPaths &paths = library.paths();
    const std::string data = paths.folder() + "/PhotoData";
    std::map<std::uint32_t, std::uint64_t> sizes;
    const auto set = [&](SizeKind kind, std::uint64_t bytes) {
        sizes[static_cast<std::uint32_t>(kind)] = bytes;
    };
    set(SizeKind::photos, counts->photoBytes);
    set(SizeKind::videos, counts->videoBytes);
    set(SizeKind::derived, bytesBelow(data + "/Thumbnails") + bytesBelow(data + "/Renditions"));
    set(SizeKind::database, bytesOf(paths.database()) + bytesOf(paths.database() + "-wal") +
                                bytesOf(paths.database() + "-shm") + bytesBelow(paths.albums()));
    return sizes;
}

} // namespace wickerlane::hoardd
