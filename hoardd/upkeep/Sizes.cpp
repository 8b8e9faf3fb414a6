#include "hoardd/upkeep/Sizes.h"

#include <filesystem>
#include <limits>
#include <string>

#include "wickerlane/store/KeptSums.h"

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

/// The bytes of what is derived from assets of which the store does not know it.
Result<std::uint64_t> unmeasuredBytes(const Library &library, sqlite::Database &database,
                                      store::AssetsIn place) {
    const auto assets = unmeasuredAssets(database, place, 0,
                                         static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max()));
    if (!assets)
        return passOn(assets);
    std::uint64_t bytes = 0;
    for (const store::UnmeasuredAsset &each : *assets)
        bytes += bytesOfDerivedFiles(library.paths(), each.uuid, each.rendition);
    return bytes;
}

} // namespace

Result<std::map<std::uint32_t, std::uint64_t>> librarySizes(Library &library) {
    const auto kept = library.read([&](sqlite::Database &database) -> Result<store::KeptSizes> {
        auto sizes = store::readKeptSizes(database);
        if (!sizes)
            return sizes;
        const auto derived = unmeasuredBytes(library, database, store::AssetsIn::library),
                   trash = unmeasuredBytes(library, database, store::AssetsIn::trash);
        if (!derived)
            return passOn(derived);
        if (!trash)
            return passOn(trash);
        sizes->derived += *derived;
        sizes->trash += *trash;
        return sizes;
    });
    if (!kept)
        return passOn(kept);
    const store::LibraryPaths &paths = library.paths();
    std::map<std::uint32_t, std::uint64_t> sizes;
    const auto set = [&](SizeKind kind, std::uint64_t bytes) {
        sizes[static_cast<std::uint32_t>(kind)] = bytes;
    };
    set(SizeKind::photos, kept->photos + kept->companions); // only pictures have any
    set(SizeKind::videos, kept->videos);
    set(SizeKind::derived, kept->derived);
    set(SizeKind::trash, kept->trash);
    set(SizeKind::database, bytesOf(paths.database()) + bytesOf(paths.database() + "-wal") +
                                bytesOf(paths.database() + "-shm") + bytesBelow(paths.albums()));
    return sizes;
}

} // namespace wickerlane::hoardd
