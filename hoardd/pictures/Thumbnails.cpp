#include "hoardd/pictures/Thumbnails.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "hoardd/library/Commits.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/ShownPicture.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using store::AssetRecord;

namespace {

/// Far above any small thumbnail.
constexpr std::size_t maxSmallThumbnailBytes = 4 << 20;

bool hasThumbnails(const store::LibraryPaths &paths, const AssetRecord &asset) {
    return asset.thumbnailIndex != 0 && std::ranges::all_of(store::thumbnailSizes, [&](auto size) {
               return ::access(paths.thumbnail(asset.uuid, size).c_str(), F_OK) == 0;
           });
}

Result<StagedThumbnails> stageThumbnails(Library &library, const AssetRecord &asset) {
    const auto picture = shownPicturePath(library, asset);
    if (!picture)
        return passOn(picture);
    return stageThumbnails(library, asset.uuid, *picture);
}

/// The outcome for an asset whose thumbnails were due, and what the asset is once the store says so.
struct Attempt {
    enum class Outcome { notDue, made, undecodable };
    Outcome outcome = Outcome::notDue;
    AssetRecord asset;
};

/// Makes the files alone; the store does not say so yet. The picture is decoded without the asset's lock, so
/// that changes of the asset need not wait.
Result<Attempt> makeDueFiles(Library &library, const AssetRecord &asset) {
    Attempt attempt{Attempt::Outcome::notDue, asset};
    auto thumbnails = stageThumbnails(library, asset);
    const bool isUndecodable = !thumbnails && thumbnails.error().kind == ProblemKind::invalid;
    if (!thumbnails && !isUndecodable)
        return passOn(thumbnails);
    const MutexLock lock(library.locks().of(asset.uuid));
    const auto isDue = library.writer().isDue(asset.primaryKey);
    if (!isDue)
        return passOn(isDue);
    if (!*isDue)
        return attempt; // meanwhile it has gone, or others have made them of a newer picture
    if (isUndecodable) {
        attempt.outcome = Attempt::Outcome::undecodable;
        setUndecodable(attempt.asset, thumbnails.error().text);
        return attempt;
    }
    if (const auto published = thumbnails->publish(); !published)
        return passOn(published);
    attempt.outcome = Attempt::Outcome::made;
    ++attempt.asset.thumbnailIndex;
    return attempt;
}

Result<> storeAttempt(sqlite::Database &database, const Attempt &attempt) {
    switch (attempt.outcome) {
    case Attempt::Outcome::made:
        return storeThumbnails(database, attempt.asset.primaryKey, false);
    case Attempt::Outcome::undecodable:
        return storeUndecodable(database, attempt.asset.primaryKey, attempt.asset.problem);
    case Attempt::Outcome::notDue:
        break;
    }
    return {};
}

} // namespace

Result<StagedThumbnails> StagedThumbnails::create(const store::LibraryPaths &paths, std::string_view uuid) {
    StagedThumbnails made;
    made.folder = paths.thumbnailFolder(uuid);
    for (const auto size : store::thumbnailSizes) {
        auto file = StagedFile::create(paths.saving());
        if (!file)
            return passOn(file);
        made.open.push_back({store::maxSideOf(size), file->descriptor()});
        made.all.push_back({*std::move(file), paths.thumbnail(uuid, size)});
    }
    return made;
}

Result<> StagedThumbnails::place() {
    if (!makeFolders(folder))
        return failSystem("make", folder);
    for (Thumbnail &each : all)
        if (auto moved = each.file.moveTo(each.place); !moved)
            return moved;
    return {};
}

Result<> StagedThumbnails::publish() {
    for (Thumbnail &each : all)
        if (auto synced = each.file.sync(); !synced)
            return synced;
    if (auto placed = place(); !placed)
        return placed;
    // The folder may be a new one.
    for (const std::string &each : {folder, std::string(parentFolder(folder))})
        if (auto durable = makeNamesDurable(each); !durable)
            return durable;
    return {};
}

Result<StagedThumbnails> stageThumbnails(Library &library, std::string_view uuid,
                                         const std::string &picture) {
    const UniqueFd file = openFile(picture, O_RDONLY);
    if (!file)
        return failSystem("open", picture);
    auto thumbnails = StagedThumbnails::create(library.paths(), uuid);
    if (!thumbnails)
        return thumbnails;
    const auto probed = library.media().probe(file.get(), thumbnails->targets());
    if (probed)
        return thumbnails;
    switch (probed.error().kind) {
    case ProblemKind::notWritable:
        return fail(ProblemKind::failed, "can't write thumbnails: " + probed.error().text);
    case ProblemKind::unreachable:
        return fail(ProblemKind::failed, probed.error().text); // which is not the picture's fault
    default:
        return fail(ProblemKind::invalid, probed.error().text, picture);
    }
}

Result<> publishThumbnails(Library &library, StagedThumbnails &thumbnails, const AssetRecord &asset,
                           bool newIndex) {
    if (auto published = thumbnails.publish(); !published)
        return published;
    return library.writer().change(
        [&](sqlite::Database &database) { return storeThumbnails(database, asset.primaryKey, newIndex); });
}

Result<> makeThumbnails(Library &library, const AssetRecord &asset, const ThumbnailRequest &request) {
    if (!request.isForced && hasThumbnails(library.paths(), asset))
        return {};
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    auto thumbnails = stageThumbnails(library, asset);
    if (!thumbnails)
        return passOn(thumbnails);
    return publishThumbnails(library, *thumbnails, asset, request.newIndex || asset.thumbnailIndex == 0);
}

std::vector<Result<AssetRecord>> makeDueThumbnails(Library &library, std::span<const AssetRecord> assets) {
    std::vector<Result<Attempt>> attempts;
    attempts.reserve(assets.size());
    for (const AssetRecord &each : assets) {
        ReleaseScope scope;
        attempts.push_back(makeDueFiles(library, each));
    }
    const auto stored = library.writer().change([&](sqlite::Database &database) -> Result<> {
        for (const auto &attempt : attempts)
            if (attempt)
                if (const auto done = storeAttempt(database, *attempt); !done)
                    return done;
        return {};
    });
    std::vector<Result<AssetRecord>> results;
    results.reserve(assets.size());
    for (auto &attempt : attempts)
        if (!attempt)
            results.push_back(passOn(attempt));
        else if (!stored)
            results.push_back(passOn(stored));
        else
            results.push_back(std::move(attempt->asset));
    return results;
}

void makeThumbnailsLeftDue(Library &library) {
    std::size_t made = 0;
    for (std::int64_t last = 0; !library.isEnding();) {
        const auto due = library.writer().due(last, maxFilesPerCommit);
        if (!due || due->empty())
            break;
        last = due->back().primaryKey;
        const auto outcomes = makeDueThumbnails(library, *due);
        for (std::size_t i = 0; i < outcomes.size(); ++i)
            if (outcomes[i])
                ++made;
            else // they stay due
                JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %s: %s",
                       (*due)[i].uuid.c_str(), outcomes[i].error().text.c_str());
    }
    if (made > 0)
        JX_LOG(JXLogLevelNotice, JXThumbnailsLog,
               "made the thumbnails of %zu assets, which an earlier process had left", made);
}

void setUndecodable(AssetRecord &record, std::string_view reason) {
    record.problem = reason;
    record.width = record.height = 0;
}

Result<std::vector<std::byte>> smallThumbnail(const store::LibraryPaths &paths, std::string_view uuid) {
    const std::string path = paths.thumbnail(uuid, store::ThumbnailSize::small);
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, maxSmallThumbnailBytes))
        return failSystem("read", path);
    return bytes;
}

} // namespace wickerlane::hoardd
