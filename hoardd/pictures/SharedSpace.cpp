#include "hoardd/pictures/SharedSpace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "hoardd/library/DiskReserve.h"
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/pictures/PictureStore.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/RenditionReader.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

namespace {

/// A thumbnail that can be given up.
struct Purgeable {
    AssetRecord asset;
    store::ThumbnailSize size;
    std::string path;
    std::uint64_t bytes; ///< On the disk.
};

/// The file of which the thumbnails of an asset are made.
struct Source {
    std::string path;
    Sha256 sum; ///< As it was when it came into the library.
};

Result<Source> sourceOf(const Library &library, const AssetRecord &asset) {
    const auto rendition =
        library.read([&](sqlite::Database &database) { return store::readRendition(database, asset.uuid); });
    if (!rendition)
        return passOn(rendition);
    if (*rendition)
        return Source{library.paths().renditionFolder(asset.uuid) + '/' + (*rendition)->filename,
                      (*rendition)->sum};
    return Source{library.paths().original(asset), asset.sha256};
}

/// Whether thumbnails can be made again: the file of which they were made is there, unchanged.
Result<bool> canBeMadeAgain(const Library &library, const AssetRecord &asset) {
    const auto source = sourceOf(library, asset);
    if (!source)
        return passOn(source);
    const UniqueFd file = openFile(source->path, O_RDONLY);
    if (!file)
        return false;
    const auto sum = store::sha256OfFile(file.get(), source->path);
    return sum && *sum == source->sum;
}

/// The larger thumbnails, the largest first. At a glance: whether their sources are unchanged shows when
/// their turn comes.
Result<std::vector<Purgeable>> purgeableThumbnails(const Library &library) {
    const auto assets = library.read(sharedAssetsWithThumbnails);
    if (!assets)
        return passOn(assets);
    std::vector<Purgeable> thumbnails;
    for (const auto size : {store::ThumbnailSize::large, store::ThumbnailSize::preview})
        for (const AssetRecord &asset : *assets) {
            std::string path = library.paths().thumbnail(asset.uuid, size);
            struct stat status {};
            if (::lstat(path.c_str(), &status) != 0)
                continue;
            const auto source = sourceOf(library, asset);
            if (!source)
                return passOn(source);
            if (::access(source->path.c_str(), R_OK) != 0)
                continue;
            constexpr std::uint64_t blockBytes = 512; // the unit of st_blocks
            thumbnails.push_back(
                {asset, size, std::move(path), static_cast<std::uint64_t>(status.st_blocks) * blockBytes});
        }
    return thumbnails;
}

/// A late thumbnail may be missing: that it is need not be noted.
Result<> storePurged(Library &library, const Purgeable &thumbnail) {
    return library.writer().change([&](sqlite::Database &database) {
        return storeDerivedChange(database, thumbnail.asset.primaryKey).and_then([&] {
            return thumbnail.size == store::ThumbnailSize::preview
                       ? storePurgedPreview(database, thumbnail.asset.uuid)
                       : Result<>();
        });
    });
}

} // namespace

Result<std::uint64_t> purgeableBytes(Library &library) {
    const auto thumbnails = purgeableThumbnails(library);
    if (!thumbnails)
        return passOn(thumbnails);
    std::uint64_t sum = 0;
    for (const Purgeable &each : *thumbnails)
        sum += each.bytes;
    return sum;
}

// Marked first, so that a kill leaves no thumbnail missing that the store thinks is there.
Result<std::uint64_t> purge(Library &library, std::uint64_t maxBytes) {
    const auto thumbnails = purgeableThumbnails(library);
    if (!thumbnails)
        return passOn(thumbnails);
    std::uint64_t freed = 0;
    for (const Purgeable &each : *thumbnails) {
        if (library.isEnding())
            break;
        if (each.bytes > maxBytes - freed)
            continue; // a later one may be smaller
        const MutexLock lock(library.locks().of(each.asset.uuid));
        const auto isSafe = canBeMadeAgain(library, each.asset);
        if (!isSafe)
            return passOn(isSafe);
        if (!*isSafe)
            continue;
        const auto stored = withDiskReserve(library.paths(), [&] { return storePurged(library, each); });
        if (!stored)
            return passOn(stored);
        if (::unlink(each.path.c_str()) == 0)
            freed += each.bytes;
        if (const auto measured = endDerivedChange(library, each.asset); !measured)
            return passOn(measured);
    }
    return freed;
}

} // namespace wickerlane::hoardd
