#include "hoardd/saving/AssetFiles.h"

#include <algorithm>
#include <filesystem>

#include "hoardd/library/DurableFolders.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;

namespace {

/// As the store is now, of an asset in the library or in the trash.
Result<bool> isFileOfAsset(Library &library, const std::string &uuid, const std::string &path) {
    const store::LibraryPaths &paths = library.paths();
    const auto trashed = library.assets().trashedWithUUID(uuid);
    const auto present = library.assets().assetWithUUID(uuid);
    if (!trashed)
        return passOn(trashed);
    if (!present)
        return passOn(present);
    const auto &asset = *present ? *present : trashed->asset;
    if (!asset)
        return false;
    if (path == paths.original(asset->record()) ||
        std::ranges::any_of(store::thumbnailKinds, [&](const store::ThumbnailKind &kind) {
            return path == paths.thumbnail(uuid, kind.size);
        }))
        return true;
    const auto isNamedBy = [&](const char *rows) {
        return library.read([&](sqlite::Database &database) {
            return database.prepare(rows).bind(uuid, lastPathComponent(path)).any();
        });
    };
    if (parentFolder(path) == paths.renditionFolder(uuid))
        return isNamedBy("SELECT 1 FROM zrendition WHERE assetuuid = ?1 AND filename = ?2 UNION ALL "
                         "SELECT 1 FROM ztrashedrendition WHERE assetuuid = ?1 AND filename = ?2");
    if (parentFolder(path) == store::companionFolder(paths, uuid))
        return isNamedBy("SELECT 1 FROM zcompanion WHERE assetuuid = ?1 AND filename = ?2 UNION ALL "
                         "SELECT 1 FROM ztrashedcompanion WHERE assetuuid = ?1 AND filename = ?2");
    return false;
}

} // namespace

std::string uuidInName(const std::string &path) {
    constexpr std::size_t uuidLength = 36;
    const auto uuid = UUID::createWithText(lastPathComponent(path).substr(0, uuidLength));
    return uuid ? std::string(uuid->uuidString()->utf8()) : std::string();
}

Result<std::vector<std::string>> filesOfAsset(const std::string &folder, std::string_view uuid) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code gone;
        if (entry->path().filename().string().starts_with(uuid) && entry->is_regular_file(gone))
            files.push_back(entry->path());
    }
    if (error && error != std::errc::no_such_file_or_directory)
        return fail(ProblemKind::failed, "can't look through " + folder + ": " + error.message(), folder);
    return files;
}

Result<> withOwnerOf(Library &library, const std::string &path, const Handler<Result<>(FileOwner)> &act) {
    const std::string uuid = uuidInName(path);
    if (uuid.empty())
        return act(FileOwner::none); // the names of all files of assets begin with one
    const MutexLock lock(library.locks().of(uuid));
    const auto isThere = library.writer().contains(uuid);
    if (!isThere)
        return passOn(isThere);
    AssetLocks::Reservation reservation;
    if (!*isThere) {
        reservation = library.locks().reserve(uuid);
        if (!reservation)
            return act(FileOwner::unfinished);
    }
    // Only now: until the UUID was reserved, an asset of it may have been saved.
    const auto isOwned = isFileOfAsset(library, uuid, path);
    if (!isOwned)
        return passOn(isOwned);
    return act(*isOwned ? FileOwner::asset : FileOwner::none);
}

Result<> moveStray(Library &library, const std::string &path, const std::string &folder) {
    return withOwnerOf(library, path, [&](FileOwner owner) {
        return owner == FileOwner::none ? moveIntoFolder(path, folder) : Result<>();
    });
}

} // namespace wickerlane::hoardd
