#include "hoardd/pictures/SharedSpace.h"

#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "hoardd/library/Interim.h"

namespace wickerlane::hoardd {

namespace {

struct Preview {
    std::string uuid;
    std::string path;
    std::uint64_t bytes; ///< That it takes on the disk.
};

std::optional<std::vector<Preview>> purgeablePreviews(const Library &library, std::string &problem) {
    auto database = openReader(library, problem);
    if (!database)
        return std::nullopt;
    auto rows = database->prepare(
        "SELECT uuid FROM zgenericasset WHERE thumbnailindex > 0 AND pk IN (SELECT "
        "asset "
        "FROM zalbumasset JOIN zalbum ON zalbum.pk = album WHERE streamid IS NOT NULL) ORDER BY pk");
    std::vector<Preview> previews;
    while (rows.next()) {
        Preview preview{std::string(rows.text(0)), {}, 0};
        preview.path = library.paths().thumbnail(preview.uuid, store::ThumbnailSize::preview);
        struct stat status {};
        if (::lstat(preview.path.c_str(), &status) != 0)
            continue;
        constexpr std::uint64_t blockBytes = 512; // the unit of st_blocks
        preview.bytes = static_cast<std::uint64_t>(status.st_blocks) * blockBytes;
        previews.push_back(std::move(preview));
    }
    if (rows.failed()) {
        problem = database->problem();
        return std::nullopt;
    }
    return previews;
}

} // namespace

std::optional<std::uint64_t> purgeableBytes(Library &library, std::string &problem) {
    const auto previews = purgeablePreviews(library, problem);
    if (!previews)
        return std::nullopt;
    std::uint64_t sum = 0;
    for (const Preview &each : *previews)
        sum += each.bytes;
    return sum;
}

// Marked first, so that a kill leaves no thumbnail missing that the store thinks is there.
std::optional<std::uint64_t> purge(Library &library, std::uint64_t bytes, std::string &problem) {
    const auto previews = purgeablePreviews(library, problem);
    if (!previews)
        return std::nullopt;
    std::uint64_t freed = 0;
    for (const Preview &each : *previews) {
        if (library.isEnding())
            break;
        if (each.bytes > bytes - freed)
            continue; // never more than was asked for; another may be smaller
        const std::lock_guard guard(library.locks().of(each.uuid));
        problem = asText(library.writer().change([&](sqlite::Database &database) {
            return database.prepare("UPDATE zgenericasset SET previewpurged = 1 WHERE uuid = ?")
                .bind(each.uuid)
                .run();
        }));
        if (!problem.empty())
            return std::nullopt;
        if (::unlink(each.path.c_str()) == 0)
            freed += each.bytes;
    }
    return freed;
}

} // namespace wickerlane::hoardd
