#include "hoardd/saving/Publication.h"

#include <unistd.h>

#include <filesystem>
#include <set>

#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Failures.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;
using store::AssetRecord;

namespace {

/// Of an asset without a row. The folder goes last: as long as it stands, recoverSaves() knows of the files.
void removeFiles(const store::LibraryPaths &paths, const std::string &saveFolder, const AssetRecord &asset) {
    for (const auto size : store::thumbnailSizes)
        ::unlink(paths.thumbnail(asset.uuid, size).c_str());
    ::unlink(paths.original(asset).c_str());
    std::error_code ignored; // recoverSaves() tries again
    for (const auto &entry : fs::directory_iterator(paths.renditionFolder(asset.uuid), ignored))
        if (entry.path().filename().string().starts_with(asset.uuid))
            ::unlink(entry.path().c_str());
    fs::remove_all(saveFolder, ignored);
}

Result<> moveFiles(Library &library, StagedAsset &asset) {
    const std::string original = library.paths().original(asset.record);
    if (asset.preview) {
        // They last until the real thumbnails take their places, so that nothing need be synced; those of a
        // picture that can't be decoded stay.
        if (auto moved = asset.isDue ? asset.preview->place() : asset.preview->publish(); !moved)
            return moved;
    }
    if (auto made = makeDurableFolderOnce(std::string(parentFolder(original))); !made)
        return made;
    return asset.original.moveTo(original);
}

Result<> moveAllFiles(Library &library, std::span<StagedAsset *const> assets) {
    std::set<std::string> folders;
    for (StagedAsset *each : assets) {
        if (auto moved = moveFiles(library, *each); !moved)
            return moved;
        folders.emplace(parentFolder(library.paths().original(each->record)));
    }
    for (const std::string &folder : folders)
        if (auto durable = makeNamesDurable(folder); !durable)
            return durable;
    return {};
}

Result<> commitAssets(Library &library, std::span<StagedAsset *const> assets) {
    std::vector<Store::Addition> additions;
    additions.reserve(assets.size());
    for (const StagedAsset *each : assets)
        additions.push_back({each->record, each->unlessPresent, false, each->isDue});
    if (const auto added = library.writer().add(additions); !added)
        return fail(inContext("can't store the asset", added.error()));
    for (std::size_t i = 0; i < assets.size(); ++i) {
        StagedAsset &asset = *assets[i];
        if (additions[i].wasPresent)
            asset.present = std::move(additions[i].record);
        else
            asset.record = std::move(additions[i].record);
    }
    return {};
}

} // namespace

Result<> publishAssets(Library &library, std::span<StagedAsset *const> assets) {
    for (StagedAsset *each : assets)
        each->folder.keep();
    if (auto moved = moveAllFiles(library, assets); !moved) {
        for (const StagedAsset *each : assets)
            removeFiles(library.paths(), each->folder.path(), each->record);
        return moved;
    }
    if (auto committed = commitAssets(library, assets); !committed) {
        // The files stay for recoverSaves(): a commit whose sync failed may still be found after a crash. So
        // do the UUIDs, until then.
        for (StagedAsset *each : assets)
            each->reservation.keep();
        return committed;
    }
    std::error_code ignored; // recoverSaves() tries again
    for (const StagedAsset *each : assets)
        if (each->present)
            removeFiles(library.paths(), each->folder.path(), each->record);
        else
            fs::remove_all(each->folder.path(), ignored);
    return {};
}

// The same steps back: as long as the folder stands and the row is there, recoverSaves() takes nothing away;
// once the row has gone, it removes what files are left.
Result<> removeAsset(Library &library, const AssetRecord &asset) {
    const auto reservation = library.locks().reserve(asset.uuid);
    if (!reservation)
        return fail(ProblemKind::busy, "the asset is being saved");
    const MutexLock lock(library.locks().of(asset.uuid));
    const std::string folder = library.paths().saving() + '/' + asset.filename;
    if (auto made = makeDurableFolderOnce(folder); !made)
        return made;
    auto removed = library.writer().remove(asset.uuid);
    // A commit that failed may still be found after a crash: the folder stays for recoverSaves().
    if (removed)
        removeFiles(library.paths(), folder, asset);
    return removed;
}

void recoverSaves(Library &library) {
    const store::LibraryPaths &paths = library.paths();
    StagedFile::removeLeftovers(paths.saving());
    std::error_code ignored;
    for (const auto &entry : fs::directory_iterator(paths.saving(), ignored)) {
        AssetRecord record;
        record.filename = entry.path().filename();
        const auto uuid = UUID::createWithText(record.filename.substr(0, 36));
        if (!uuid)
            continue; // nothing of ours
        record.uuid = uuid->uuidString()->utf8();
        record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
        const auto isSaved = library.writer().contains(record.uuid);
        if (!isSaved)
            continue; // unknown: both answers could lose something
        JX_LOG(JXLogLevelNotice, JXAssetImportLog, "%s the unfinished save of %s",
               *isSaved ? "completed" : "undid", record.filename.c_str());
        if (*isSaved)
            fs::remove_all(entry.path(), ignored);
        else
            removeFiles(paths, entry.path(), record);
    }
}

} // namespace wickerlane::hoardd
