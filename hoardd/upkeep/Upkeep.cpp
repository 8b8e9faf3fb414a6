#include "hoardd/upkeep/Upkeep.h"

#include <algorithm>
#include <filesystem>

#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/library/Interim.h"
#include "hoardd/saving/Publication.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/LibraryCheck.h"

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

std::optional<std::map<std::uint32_t, std::uint64_t>> sizesOf(Library &library, std::string &problem) {
    const auto counts = library.assets().counts();
    if (!counts) {
        problem = "the library's store can't be read";
        return std::nullopt;
    }
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

std::optional<std::int64_t> secondsToRepair(const Library &library, std::string &problem) {
    // Rates of two processors, rounded down: a check without sums; pictures of 12 megapixels to be decoded.
    constexpr double checkedEachSecond = 20'000, decodedEachSecond = 15;
    const auto report = store::checkLibrary(library.paths());
    if (!report) {
        problem = report.error().text;
        return std::nullopt;
    }
    const auto toDecode = std::ranges::count_if(report->findings, [](const store::Finding &finding) {
        return finding.kind == store::Finding::Kind::missingThumbnail ||
               finding.kind == store::Finding::Kind::strayOriginal;
    });
    const double seconds = 1 + static_cast<double>(report->assets) / checkedEachSecond +
                           static_cast<double>(toDecode) / decodedEachSecond;
    return static_cast<std::int64_t>(seconds);
}

std::string removeAddedSince(Library &library, double date) {
    std::string problem;
    auto database = openReader(library, problem);
    if (!database)
        return problem;
    const auto added =
        database->prepare(std::string(store::selectAssets) + "WHERE dateadded > ? ORDER BY pk DESC")
            .bind(date)
            .all(store::readRecord);
    if (!added)
        return added.error().text;
    for (const store::AssetRecord &each : *added) {
        if (library.isEnding())
            return "hoardd is ending; what is left is done the next time";
        ReleaseScope scope;
        if (const auto removed = removeAsset(library, each); !removed)
            return asText(removed);
    }
    std::vector<std::string> albums;
    auto newAlbums = database->prepare("SELECT uuid FROM zalbum WHERE datecreated > ?");
    newAlbums.bind(date);
    while (newAlbums.next())
        albums.emplace_back(newAlbums.text(0));
    problem = asText(library.writer().change([&](sqlite::Database &store) {
        return store.prepare("DELETE FROM zalbum WHERE datecreated > ?").bind(date).run() &&
               store.execute("DELETE FROM zbulletin");
    }));
    if (problem.empty())
        BulletinBoard::tellOfChange();
    std::error_code ignored; // it would only come back with a restore
    for (const std::string &uuid : albums)
        if (problem.empty())
            fs::remove_all(library.paths().albums() + '/' + uuid, ignored);
    return problem;
}

} // namespace wickerlane::hoardd
