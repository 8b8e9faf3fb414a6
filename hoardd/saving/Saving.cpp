#include "hoardd/saving/Saving.h"

#include <unistd.h>

#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/saving/Publication.h"
#include "hoardd/service/Call.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

namespace {

Ref<ManagedAsset> assetOf(Library &library, AssetRecord record) {
    return ManagedAsset::create(std::move(record), library.paths().folder(), library.assets().storeUUID());
}

CompanionOutcome companionOutcome(Library &library, StagedAsset &staged) {
    if (!staged.companion)
        return CompanionOutcome::none;
    if (!staged.present)
        return CompanionOutcome::wasSaved;
    const auto attached = attachCompanion(library, staged.present->uuid, *staged.companion);
    if (!attached)
        JX_LOG(JXLogLevelError, JXAssetImportLog, "can't add the second file of %s: %s",
               staged.present->uuid.c_str(), attached.error().text.c_str());
    return attached.value_or(CompanionOutcome::none);
}

/// The file of an asset that has the bytes of what was to be saved; empty if that can't be told.
std::string fileWithBytes(Library &library, const AssetRecord &asset, const Sha256 &sum) {
    if (asset.sha256 == sum)
        return library.paths().original(asset);
    const auto companion = library.writer().companionOf(asset.uuid);
    return companion && *companion && (*companion)->sha256 == sum
               ? store::companionPath(library.paths(), asset.uuid, **companion)
               : std::string();
}

SavedAsset savedAsset(Library &library, StagedAsset &staged) {
    const bool wasPresent = staged.present.has_value();
    // The asset may have come without the metadata before. What it has stays.
    if (wasPresent && staged.sidecar &&
        ::access(library.paths().sidecar(staged.present->uuid).c_str(), F_OK) != 0)
        if (const auto placed = placeSidecar(library.paths(), *staged.sidecar, staged.present->uuid); !placed)
            JX_LOG(JXLogLevelError, JXAssetImportLog, "can't keep the metadata of %s: %s",
                   staged.present->uuid.c_str(), placed.error().text.c_str());
    // What was found may be all that is left of an asset whose file is missing.
    if (!wasPresent ||
        ::access(fileWithBytes(library, *staged.present, staged.record.sha256).c_str(), F_OK) == 0)
        staged.takenFrom.remove();
    const bool isDue =
        wasPresent ? staged.cameBack && library.writer().isDue(staged.present->primaryKey).value_or(true)
                   : staged.thumbnailsAreDue;
    const CompanionOutcome companion = companionOutcome(library, staged);
    return {assetOf(library, wasPresent ? *std::move(staged.present) : std::move(staged.record)), wasPresent,
            isDue, companion};
}

} // namespace

std::vector<Result<SavedAsset>> beginSaves(Library &library, std::span<const SaveJob> jobs) {
    std::vector<Result<StagedAsset>> all;
    all.reserve(jobs.size());
    for (const SaveJob &job : jobs) {
        ReleaseScope scope;
        all.push_back(stageAsset(library, job));
    }
    std::vector<StagedAsset *> fresh;
    for (auto &each : all)
        if (each && !each->present)
            fresh.push_back(&*each);
    const Result<> published = fresh.empty() ? Result<>() : publishAssets(library, fresh);

    std::vector<Result<SavedAsset>> results;
    results.reserve(jobs.size());
    for (auto &each : all)
        if (!each)
            results.push_back(passOn(each));
        else if (!published && !each->present)
            results.push_back(passOn(published));
        else
            results.push_back(savedAsset(library, *each));
    return results;
}

void finishSaves(Library &library, std::span<Result<SavedAsset>> saves) {
    std::vector<SavedAsset *> due;
    std::vector<AssetRecord> records;
    for (auto &each : saves)
        if (each && each->isDue) {
            due.push_back(&*each);
            records.push_back(each->asset->record());
        }
    if (due.empty())
        return;
    const auto finished = withoutExceptions([&]() -> Result<> {
        const auto made = makeDueThumbnails(library, records);
        for (std::size_t i = 0; i < due.size(); ++i)
            if (made[i]) {
                due[i]->asset = assetOf(library, *made[i]);
                due[i]->isDue = false;
            } else {
                due[i]->thumbnails = passOn(made[i]);
            }
        return {};
    });
    for (SavedAsset *each : due)
        if (!finished && each->isDue)
            each->thumbnails = finished;
}

std::vector<Result<SavedAsset>> saveAssets(Library &library, std::span<const SaveJob> jobs) {
    auto saves = beginSaves(library, jobs);
    finishSaves(library, saves);
    return saves;
}

} // namespace wickerlane::hoardd
