#include "hoardd/saving/Publication.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <set>
#include <vector>

#include "hoardd/library/DiskReserve.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Failures.h"
#include "hoardd/library/WorkNote.h"
#include "hoardd/pictures/PreviewWell.h"
#include "hoardd/saving/AssetFiles.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;

namespace {

/// Which files beside its original and thumbnails are an asset's own.
struct Parts {
    bool sidecar = true;
    bool companion = true;
};

/// Whatever can be removed is; fails if a file is left, which a repair would take for one that was found.
Result<> removeFiles(const store::LibraryPaths &paths, const AssetRecord &asset, Parts own) {
    FailureCount left;
    const auto remove = [&](const std::string &path) {
        if (const auto removed = removeFile(path); !removed)
            left.add(path, removed.error());
    };
    for (const auto &kind : store::thumbnailKinds)
        remove(paths.thumbnail(asset.uuid, kind.size));
    remove(paths.original(asset));
    if (own.sidecar)
        remove(paths.sidecar(asset.uuid));
    if (own.companion)
        if (const auto removed = removeCompanion(paths, asset.uuid); !removed)
            left.add(store::companionFolder(paths, asset.uuid), removed.error());
    return left.result("files are left");
}

/// Of an asset without a row, as far as a save of it made them. The folder goes last: as long as it stands,
/// recoverSaves() knows of the files.
Result<> removeSavedFiles(const store::LibraryPaths &paths, const std::string &saveFolder,
                          const AssetRecord &asset, Parts own) {
    if (auto removed = removeFiles(paths, asset, own); !removed)
        return removed;
    std::error_code ignored; // recoverSaves() tries again
    fs::remove_all(saveFolder, ignored);
    return {};
}

Result<std::vector<std::string>> renditionFiles(const store::LibraryPaths &paths, const AssetRecord &asset) {
    return filesOfAsset(paths.renditionFolder(asset.uuid), asset.uuid);
}

/// Of an asset whose removal is noted.
Result<> removeAllFiles(const store::LibraryPaths &paths, const AssetRecord &asset) {
    if (auto removed = removeFiles(paths, asset, {}); !removed)
        return removed;
    const auto renditions = renditionFiles(paths, asset);
    if (!renditions)
        return passOn(renditions);
    for (const std::string &rendition : *renditions)
        if (auto removed = removeFile(rendition); !removed)
            return removed;
    // Once the note has gone, a file that a crash brings back would be taken for one that was found.
    std::vector<std::string> folders{
        std::string(parentFolder(paths.original(asset))), paths.thumbnailFolder(asset.uuid),
        std::string(parentFolder(paths.sidecar(asset.uuid))), store::companionFolder(paths, asset.uuid)};
    if (!renditions->empty())
        folders.push_back(paths.renditionFolder(asset.uuid));
    for (const std::string &folder : folders)
        if (!syncFolder(folder) && errno != ENOENT)
            return failSystem("sync", folder);
    return {};
}

/// What a save that has not been committed has brought.
Parts partsOf(const StagedAsset &asset) {
    return {.sidecar = asset.sidecar.has_value(), .companion = asset.companion.has_value()};
}

/// They last until the real thumbnails take their places, or are synced later; those of a picture that can't
/// be decoded may stay. No save fails for want of them: they are due then.
void placeThumbnails(StagedAsset &asset) {
    if (!asset.thumbnails)
        return;
    const bool isSound = asset.record.problem.empty() && asset.dueFacts == Store::DueFacts::none;
    const auto placed = isSound ? asset.thumbnails->place() : asset.thumbnails->publish();
    if (placed)
        return;
    JX_LOG(JXLogLevelError, JXThumbnailsLog, "the thumbnails of %s are made later: %s",
           asset.record.uuid.c_str(), placed.error().text.c_str());
    asset.thumbnails.reset();
    asset.thumbnailsAreDue = true;
    asset.record.thumbnailIndex = 0;
}

Result<> moveFiles(Library &library, StagedAsset &asset) {
    const std::string original = library.paths().original(asset.record);
    placeThumbnails(asset);
    if (asset.sidecar)
        if (auto placed = placeSidecar(library.paths(), *asset.sidecar, asset.record.uuid); !placed)
            return placed;
    // Before the original: an original that is in its place after a kill has its companion.
    if (asset.companion)
        if (auto placed = placeCompanion(library.paths(), *asset.companion, asset.record.uuid); !placed)
            return placed;
    if (auto made = makeDurableFolderOnce(std::string(parentFolder(original))); !made)
        return made;
    return asset.original.moveTo(original);
}

/// Many are synced in a row, since what they have in common then goes to the disk once.
Result<> syncOriginals(std::span<StagedAsset *const> assets) {
    for (StagedAsset *each : assets) {
        if (auto synced = each->original.sync(); !synced)
            return synced;
        each->original.close();
    }
    return {};
}

Result<> moveAllFiles(Library &library, std::span<StagedAsset *const> assets) {
    if (auto synced = syncOriginals(assets); !synced)
        return synced;
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
    const std::int64_t round = library.thumbnailSync().round();
    // An original with a UUID of its own, such as that of a save that was cut off, is no wish to have back
    // what was deleted.
    for (const StagedAsset *each : assets)
        additions.push_back({.record = each->record,
                             .unlessPresent = each->unlessPresent,
                             .thumbnailRound = each->thumbnailsAreDue ? 0 : round,
                             .thumbnailBytes = each->thumbnails ? each->thumbnails->bytes() : 0,
                             .dueFacts = each->dueFacts,
                             .leavesTrashAlone = each->hasGivenUUID,
                             .companion = each->companion ? each->companion->row : each->companionOnDisk});
    if (const auto added = library.writer().add(additions); !added)
        return fail(inContext("can't store the asset", added.error()));
    if (std::ranges::any_of(assets, [](const StagedAsset *each) { return !each->thumbnailsAreDue; }))
        library.thumbnailSync().note();
    for (std::size_t i = 0; i < assets.size(); ++i) {
        StagedAsset &asset = *assets[i];
        asset.cameBack = additions[i].cameBack;
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
    auto published = moveAllFiles(library, assets);
    const bool areMoved = published.has_value();
    if (areMoved)
        published = commitAssets(library, assets);
    if (!published) {
        // What may still be found after a crash keeps its files and its UUID until recoverSaves() knows.
        const bool mayBeFound = areMoved && library.writer().mayFailureBeFoundDone();
        for (StagedAsset *each : assets)
            if (mayBeFound ||
                !removeSavedFiles(library.paths(), each->folder.path(), each->record, partsOf(*each))) {
                each->reservation.keep();
                each->folder.markRefused();
            }
        return published;
    }
    std::error_code ignored; // recoverSaves() tries again
    for (const StagedAsset *each : assets)
        if (each->present)
            static_cast<void>(
                removeSavedFiles(library.paths(), each->folder.path(), each->record, partsOf(*each)));
        else
            fs::remove_all(each->folder.path(), ignored);
    return {};
}

namespace {

/// Of an asset whose row has gone. But it may be in the other place by now: saving the same bytes takes it
/// out of the trash.
Result<> removeFilesUnlessKnown(Library &library, const AssetRecord &asset) {
    const auto isKnown = library.writer().knows(asset.uuid);
    if (!isKnown)
        return passOn(isKnown);
    return *isKnown ? Result<>() : removeAllFiles(library.paths(), asset);
}

} // namespace

Result<> removeAsset(Library &library, const AssetRecord &asset, AssetPlace from) {
    const auto reservation = library.locks().reserve(asset.uuid);
    if (!reservation)
        return fail(ProblemKind::busy, "the asset is being saved");
    const MutexLock lock(library.locks().of(asset.uuid));
    return withDiskReserve(library.paths(), [&]() -> Result<> {
        auto note = WorkNote::write(library.paths(), asset, Work::begunRemoval);
        if (!note)
            return passOn(note);
        // If this fails, the asset stays as long as its row does, even if the note can't be removed.
        if (auto removed = library.writer().remove(asset.uuid, from); !removed) {
            if (library.writer().mayFailureBeFoundDone())
                note->keep();
            return removed;
        }
        note->turnInto(from == AssetPlace::trash ? Work::removalFromTrash : Work::removal);
        leavePreviewWell(library, asset);
        // It has been removed; what is left of its files goes at the next start.
        if (const auto finished = removeFilesUnlessKnown(library, asset); !finished) {
            JX_LOG(JXLogLevelError, JXAssetImportLog, "files of %s are removed later: %s", asset.uuid.c_str(),
                   finished.error().text.c_str());
            note->keep();
        }
        return {};
    });
}

namespace {

/// What is known of an asset by the name of its original; nothing when that is no such name.
std::optional<AssetRecord> assetOfOriginal(const std::string &filename) {
    AssetRecord record;
    record.uuid = uuidInName(filename);
    if (record.uuid.empty())
        return std::nullopt;
    record.filename = filename;
    record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
    return record;
}

Result<> recoverSave(Library &library, const std::string &folder, const AssetRecord &asset) {
    const store::LibraryPaths &paths = library.paths();
    const auto isSaved = library.writer().knows(asset.uuid);
    if (!isSaved)
        return passOn(isSaved); // both answers could lose something
    if (!*isSaved) {
        // Unless it was refused, it was not answered, or the store that had its row is lost: the picture is
        // whole. Its sidecar and its companion wait for it to be saved.
        const std::string original = paths.original(asset), found = paths.found() + '/' + asset.filename;
        const bool isWhole = !SaveFolder::isRefused(folder) &&
                             (::access(original.c_str(), F_OK) == 0 || ::access(found.c_str(), F_OK) == 0);
        if (isWhole)
            if (auto moved = moveIntoFolder(original, paths.found()); !moved)
                return moved;
        const auto isOwn = [&](SavedPart part) { return !isWhole && SaveFolder::has(folder, part); };
        if (auto removed = removeSavedFiles(
                paths, folder, asset,
                {.sidecar = isOwn(SavedPart::sidecar), .companion = isOwn(SavedPart::companion)});
            !removed)
            return removed;
    }
    std::error_code ignored; // the next start tries again
    fs::remove_all(folder, ignored);
    JX_LOG(JXLogLevelNotice, JXAssetImportLog, "%s the unfinished save of %s",
           *isSaved ? "completed" : "undid", asset.filename.c_str());
    return {};
}

/// Puts away what is not the asset's rendition by its row. Without a row, nothing says what is.
Result<> recoverRendition(Library &library, const AssetRecord &asset) {
    const auto isThere = library.writer().contains(asset.uuid);
    if (!isThere)
        return passOn(isThere);
    if (!*isThere)
        return {};
    const auto files = renditionFiles(library.paths(), asset);
    if (!files)
        return passOn(files);
    for (const std::string &file : *files)
        if (auto moved = moveStray(library, file, library.paths().lostAndFound()); !moved)
            return moved;
    return {};
}

Result<> finishRemoval(Library &library, const AssetRecord &asset, AssetPlace from) {
    if (auto removed = library.writer().remove(asset.uuid, from); !removed)
        return removed;
    if (auto removed = removeFilesUnlessKnown(library, asset); !removed)
        return removed;
    JX_LOG(JXLogLevelNotice, JXAssetImportLog, "finished the removal of %s", asset.filename.c_str());
    return {};
}

Result<> finish(Library &library, Work work, const AssetRecord &asset) {
    switch (work) {
    case Work::rendition:
        return recoverRendition(library, asset);
    case Work::companion:
        return adoptCompanion(library, asset.uuid);
    case Work::begunRemoval:
        return removeFilesUnlessKnown(library, asset);
    case Work::removal:
        return finishRemoval(library, asset, AssetPlace::library);
    case Work::removalFromTrash:
        return finishRemoval(library, asset, AssetPlace::trash);
    }
    return {};
}

/// Work on `entry` in the Saving folder, which a killed process left. It goes unless it must be looked at
/// again.
Result<> recover(Library &library, const fs::directory_entry &entry) {
    const std::string name = entry.path().filename();
    const auto note = WorkNote::read(name);
    const auto asset = assetOfOriginal(note ? note->original : name);
    std::error_code none;
    if (!asset || entry.is_directory(none) == note.has_value())
        return {}; // nothing of ours
    if (!note)
        return recoverSave(library, entry.path(), *asset);
    if (auto done = finish(library, note->work, *asset); !done)
        return done;
    ::unlink(entry.path().c_str());
    return {};
}

template <class Act>
void forEachEntry(Library &library, const Act &act) {
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(library.paths().saving(), none))
        if (const auto done = act(entry); !done)
            JX_LOG(JXLogLevelError, JXAssetImportLog, "can't finish what %s stands for: %s",
                   entry.path().c_str(), done.error().text.c_str());
}

} // namespace

void finishRemovals(Library &library) {
    forEachEntry(library, [&](const fs::directory_entry &entry) -> Result<> {
        const std::string name = entry.path().filename(), uuid = uuidInName(name);
        const auto note = WorkNote::read(name);
        if (!note || (note->work != Work::removal && note->work != Work::removalFromTrash))
            return {};
        const auto reservation = library.locks().reserve(uuid);
        if (!reservation)
            return {}; // it is under way
        const MutexLock lock(library.locks().of(uuid));
        return recover(library, entry);
    });
}

void recoverSaves(Library &library) {
    StagedFile::removeLeftovers(library.paths().saving());
    forEachEntry(library, [&](const fs::directory_entry &entry) { return recover(library, entry); });
}

} // namespace wickerlane::hoardd
