#include "hoardd/pictures/LateFacts.h"

#include <fcntl.h>

#include <algorithm>

#include "hoardd/library/Commits.h"
#include "hoardd/pictures/AssetFacts.h"
#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/SidecarFacts.h"
#include "hoardd/service/LowPriority.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

struct Readings {
    std::vector<AssetRecord> known; ///< With what their files say.
    bool areWorkersThere = true;
};

Readings readFiles(Library &library, std::vector<AssetRecord> assets) {
    Readings readings;
    for (AssetRecord &each : assets) {
        if (library.isEnding())
            break;
        const UniqueFd file = openFile(library.paths().original(each), O_RDONLY);
        if (!file)
            continue;
        const FirstLook seen = library.media().examine(file.get(), {});
        if (!seen.ended && seen.ended.error().kind == ProblemKind::unreachable) {
            readings.areWorkersThere = false;
            break;
        }
        // What can't be decoded may say something nevertheless.
        if (!seen.ended && seen.ended.error().kind != ProblemKind::invalid)
            continue;
        if (!each.clockDate)
            setClock(each, seen.facts);
        setDetails(each, seen.facts);
        readKeptSidecar(library, each);
        readings.known.push_back(std::move(each));
    }
    return readings;
}

Result<> storeReadings(Library &library, const Readings &readings) {
    return library.writer().change([&](Database &database) -> Result<> {
        for (const AssetRecord &each : readings.known)
            if (const auto done =
                    storeClock(database, each).and_then([&] { return storeDetails(database, each); });
                !done)
                return done;
        return {};
    });
}

} // namespace

void readLateFacts(Library &library) {
    std::size_t count = 0;
    for (std::int64_t last = 0; !library.isEnding();) {
        auto due = library.read(
            [last](Database &database) { return assetsWithLateFacts(database, last, maxFilesPerCommit); });
        // A damaged store may give keys in no order: then this ends.
        if (!due || due->empty() || due->back().primaryKey <= last)
            break;
        last = due->back().primaryKey;
        Readings readings;
        runAtLowPriority(DiskUse::idle, [&] { readings = readFiles(library, *std::move(due)); });
        const auto stored = storeReadings(library, readings);
        if (!stored) {
            JX_LOG(JXLogLevelError, JXPhotosStateLog, "can't store what files say of themselves: %s",
                   stored.error().text.c_str());
            break;
        }
        count += readings.known.size();
        if (!readings.areWorkersThere)
            break; // nor will there be any for the rest
    }
    if (count > 0)
        JX_LOG(JXLogLevelNotice, JXPhotosStateLog,
               "read what the files of %zu assets say, which were saved before that was kept", count);
}

Result<> readLateFactsOf(Library &library, std::span<const std::int64_t> assets) {
    for (std::size_t first = 0; first < assets.size() && !library.isEnding(); first += maxFilesPerCommit) {
        auto due = library.read([&](Database &database) -> Result<std::vector<AssetRecord>> {
            std::vector<AssetRecord> found;
            for (const std::int64_t each :
                 assets.subspan(first, std::min(maxFilesPerCommit, assets.size() - first))) {
                auto next = assetsWithLateFacts(database, each - 1, 1);
                if (!next)
                    return next;
                if (!next->empty() && next->front().primaryKey == each)
                    found.push_back(std::move(next->front()));
            }
            return found;
        });
        if (!due)
            return passOn(due);
        const Readings readings = readFiles(library, *std::move(due));
        if (const auto stored = storeReadings(library, readings); !stored)
            return stored;
        if (!readings.areWorkersThere)
            break;
    }
    return {};
}

} // namespace wickerlane::hoardd
