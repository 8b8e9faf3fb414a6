#include "hoardd/pictures/SharedSpace.h"

#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "hoardd/pictures/PictureStore.h"

namespace wickerlane::hoardd {

namespace {

struct Preview {
    std::string uuid;
    std::string path;
    std::uint64_t bytes; ///< On the disk.
};

Result<std::vector<Preview>> purgeablePreviews(const Library &library) {
    const auto uuids = library.read(sharedAssetsWithThumbnails);
    if (!uuids)
        return passOn(uuids);
    std::vector<Preview> previews;
    for (const std::string &uuid : *uuids) {
        std::string path = library.paths().thumbnail(uuid, store::ThumbnailSize::preview);
        struct stat status {};
        if (::lstat(path.c_str(), &status) != 0)
            continue;
        constexpr std::uint64_t blockBytes = 512; // the unit of st_blocks
        previews.push_back(
            {uuid, std::move(path), static_cast<std::uint64_t>(status.st_blocks) * blockBytes});
    }
    return previews;
}

} // namespace

Result<std::uint64_t> purgeableBytes(Library &library) {
    const auto previews = purgeablePreviews(library);
    if (!previews)
        return passOn(previews);
    std::uint64_t sum = 0;
    for (const Preview &each : *previews)
        sum += each.bytes;
    return sum;
}

// Marked first, so that a kill leaves no thumbnail missing that the store thinks is there.
Result<std::uint64_t> purge(Library &library, std::uint64_t maxBytes) {
    const auto previews = purgeablePreviews(library);
    if (!previews)
        return passOn(previews);
    std::uint64_t freed = 0;
    for (const Preview &each : *previews) {
        if (library.isEnding())
            break;
        if (each.bytes > maxBytes - freed)
            continue; // a later one may be smaller
        const MutexLock lock(library.locks().of(each.uuid));
        const auto stored = library.writer().change(
            [&](sqlite::Database &database) { return storePurgedPreview(database, each.uuid); });
        if (!stored)
            return passOn(stored);
        if (::unlink(each.path.c_str()) == 0)
            freed += each.bytes;
    }
    return freed;
}

} // namespace wickerlane::hoardd
