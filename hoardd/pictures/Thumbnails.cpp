#include "hoardd/pictures/Thumbnails.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "hoardd/library/Commits.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/AssetFacts.h"
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/pictures/PictureProblem.h"
#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/PreviewWell.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/pictures/SidecarFacts.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using store::ThumbnailMaking;

namespace {

bool hasThumbnails(const store::LibraryPaths &paths, const AssetRecord &asset, ThumbnailMaking making) {
    return std::ranges::all_of(store::thumbnailKinds, [&](const store::ThumbnailKind &kind) {
        return kind.making != making || ::access(paths.thumbnail(asset.uuid, kind.size).c_str(), F_OK) == 0;
    });
}

Result<StagedThumbnails> stageThumbnails(Library &library, const AssetRecord &asset, ThumbnailMaking making) {
    const auto picture = shownPicturePath(library, asset);
    if (!picture)
        return passOn(picture);
    return stageThumbnails(library, asset.uuid, *picture, making);
}

/// The outcome for an asset whose thumbnails were due, and what the asset is once the store says so.
struct Attempt {
    enum class Outcome { notDue, made, undecodable };
    Outcome outcome = Outcome::notDue;
    AssetRecord asset;
    bool hasFacts = false;  ///< The record has what the original says of itself...
    bool hasDate = false;   ///< ... with its date.
    std::string decoders;   ///< That refused the picture.
    std::int64_t round = 0; ///< In which the thumbnails that were made are synced.
};

/// Reads what the original says of itself, where nothing sound has been read so far. Gives whether it can be
/// decoded, so far as that shows; fails when that is not known.
Result<bool> readFacts(Library &library, Attempt &attempt) {
    const auto due = library.writer().dueFacts(attempt.asset.primaryKey);
    if (!due)
        return passOn(due);
    if (*due == Store::DueFacts::none && attempt.asset.problem.empty())
        return true;
    const std::string original = library.paths().original(attempt.asset);
    const UniqueFd file = openFile(original, O_RDONLY);
    if (!file)
        return failSystem("open", original);
    const FirstLook seen = library.media().examine(file.get(), {});
    if (!seen.ended && seen.ended.error().kind != ProblemKind::invalid)
        return fail(pictureProblem(seen.ended.error(), original));
    attempt.hasFacts = true;
    attempt.asset.problem.clear();
    setFacts(attempt.asset, seen.facts);
    readKeptSidecar(library, attempt.asset);
    attempt.hasDate = *due == Store::DueFacts::all;
    if (attempt.hasDate) {
        attempt.asset.zoneMinutes.reset();
        setDate(attempt.asset, seen.facts, std::nullopt, attempt.asset.dateCreated);
    }
    if (!seen.ended)
        setUndecodable(attempt.asset, seen.ended.error().text);
    return seen.ended.has_value();
}

/// Makes the files alone; the store does not say so yet. The picture is decoded without the asset's lock, so
/// that changes of the asset need not wait.
Result<Attempt> makeDueFiles(Library &library, const AssetRecord &asset) {
    Attempt attempt;
    attempt.asset = asset;
    const auto isDecodable = readFacts(library, attempt);
    if (!isDecodable)
        return passOn(isDecodable);
    const auto picture = shownPicturePath(library, asset);
    if (!picture)
        return passOn(picture);
    auto thumbnails = stageThumbnails(library, asset.uuid, *picture);
    const bool isOriginal = *picture == library.paths().original(asset);
    const bool isRefused = !thumbnails && isOriginal && thumbnails.error().kind == ProblemKind::invalid;
    if (!thumbnails && !isRefused)
        return passOn(thumbnails);
    const MutexLock lock(library.locks().of(asset.uuid));
    const auto isDue = library.writer().isDue(asset.primaryKey);
    if (!isDue)
        return passOn(isDue);
    if (!*isDue)
        return attempt; // meanwhile it has gone, or others have made them of a newer picture
    if (isRefused) {
        attempt.outcome = Attempt::Outcome::undecodable;
        attempt.decoders = library.media().decoders().value_or("");
        setUndecodable(attempt.asset, thumbnails.error().text);
        return attempt;
    }
    if (const auto placed = thumbnails->place(); !placed)
        return passOn(placed);
    attempt.round = library.thumbnailSync().round();
    attempt.outcome = Attempt::Outcome::made;
    ++attempt.asset.thumbnailIndex;
    redrawPreviewWell(library, asset);
    return attempt;
}

Result<> storeAttempt(Library &library, sqlite::Database &database, const Attempt &attempt) {
    if (attempt.outcome == Attempt::Outcome::notDue)
        return {};
    if (attempt.hasFacts)
        if (const auto stored = storeFacts(database, attempt.asset, attempt.hasDate); !stored)
            return stored;
    const auto stored =
        attempt.outcome == Attempt::Outcome::made
            ? storeDueThumbnails(database, attempt.asset.primaryKey, attempt.round)
            : storeUndecodable(database, attempt.asset.primaryKey, attempt.asset.problem, attempt.decoders);
    return stored.and_then([&] { return storeUnknownDerivedSize(library, database, attempt.asset); });
}

/// Whether a failure may be over when it is tried again. An original that is missing seldom comes back.
bool mayPass(const Problem &problem) {
    return problem.kind != ProblemKind::notFound;
}

void noteOutcomes(Library &library, std::span<const Result<Attempt>> attempts) {
    bool allFailed = !attempts.empty();
    for (const auto &each : attempts) {
        allFailed = allFailed && !each;
        if (!each && mayPass(each.error()))
            library.thumbnailRetry().noteFailure();
    }
    if (!allFailed)
        library.thumbnailRetry().noteSuccess();
}

} // namespace

Result<StagedThumbnails> StagedThumbnails::create(const store::LibraryPaths &paths, std::string_view uuid,
                                                  ThumbnailMaking making) {
    StagedThumbnails made;
    made.folder = paths.thumbnailFolder(uuid);
    made.saving = paths.saving();
    for (const store::ThumbnailKind &kind : store::thumbnailKinds) {
        if (kind.making != making) {
            if (making == ThumbnailMaking::early)
                made.stale.push_back(paths.thumbnail(uuid, kind.size));
            continue;
        }
        UniqueFd memory(::memfd_create("hoardd thumbnail", MFD_CLOEXEC));
        if (!memory)
            return failSystem("make", paths.thumbnail(uuid, kind.size));
        made.open.push_back({kind.maxSide, memory.get()});
        made.all.push_back({std::move(memory), paths.thumbnail(uuid, kind.size)});
    }
    return made;
}

Result<> StagedThumbnails::write() {
    for (Thumbnail &each : all) {
        if (each.file)
            continue;
        auto file = StagedFile::create(saving);
        if (!file)
            return passOn(file);
        if (auto copied = file->copyFrom(each.memory.get()); !copied)
            return copied;
        struct stat status {};
        if (::fstat(file->descriptor(), &status) != 0)
            return failSystem("write", each.place);
        byteCount += static_cast<std::uint64_t>(status.st_size);
        each.file = *std::move(file);
        each.memory.reset();
    }
    open.clear();
    return {};
}

Result<> StagedThumbnails::place() {
    if (auto written = write(); !written)
        return written;
    if (!makeFolders(folder))
        return failSystem("make", folder);
    for (const std::string &each : stale)
        if (::unlink(each.c_str()) != 0 && errno != ENOENT)
            return failSystem("remove", each);
    for (Thumbnail &each : all)
        if (auto moved = each.file->moveTo(each.place); !moved)
            return moved;
    return {};
}

Result<> StagedThumbnails::publish() {
    if (auto written = write(); !written)
        return written;
    for (Thumbnail &each : all)
        if (auto synced = each.file->sync(); !synced)
            return synced;
    if (auto placed = place(); !placed)
        return placed;
    // The folder may be a new one.
    for (const std::string &each : {folder, std::string(parentFolder(folder))})
        if (auto durable = makeNamesDurable(each); !durable)
            return durable;
    return {};
}

Result<StagedThumbnails> stageThumbnails(Library &library, std::string_view uuid, const std::string &picture,
                                         ThumbnailMaking making) {
    const UniqueFd file = openFile(picture, O_RDONLY);
    if (!file)
        return failSystem("open", picture);
    auto thumbnails = StagedThumbnails::create(library.paths(), uuid, making);
    if (!thumbnails)
        return thumbnails;
    if (const auto probed = library.media().probe(file.get(), thumbnails->targets()); !probed)
        return fail(pictureProblem(probed.error(), picture));
    return thumbnails;
}

Result<> publishThumbnails(Library &library, StagedThumbnails &thumbnails, const AssetRecord &asset,
                           bool newIndex) {
    auto published =
        beginDerivedChange(library, asset.primaryKey).and_then([&] { return thumbnails.publish(); });
    if (!published)
        return published;
    redrawPreviewWell(library, asset);
    return library.writer().change([&](sqlite::Database &database) {
        return storeThumbnails(database, asset.primaryKey, newIndex).and_then([&] {
            return storeDerivedSize(library, database, asset);
        });
    });
}

Result<> makeThumbnails(Library &library, const AssetRecord &asset, const ThumbnailRequest &request) {
    if (!request.isForced && asset.thumbnailIndex != 0 &&
        hasThumbnails(library.paths(), asset, ThumbnailMaking::early))
        return {};
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    auto thumbnails = stageThumbnails(library, asset, ThumbnailMaking::early);
    if (!thumbnails)
        return passOn(thumbnails);
    return publishThumbnails(library, *thumbnails, asset, request.newIndex || asset.thumbnailIndex == 0);
}

Result<> makeLateThumbnails(Library &library, const AssetRecord &asset) {
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    if (hasThumbnails(library.paths(), asset, ThumbnailMaking::late))
        return {};
    auto thumbnails = stageThumbnails(library, asset, ThumbnailMaking::late);
    if (!thumbnails)
        return passOn(thumbnails);
    return beginDerivedChange(library, asset.primaryKey)
        .and_then([&] { return thumbnails->publish(); })
        .and_then([&] { return endDerivedChange(library, asset); });
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
                if (const auto done = storeAttempt(library, database, *attempt); !done)
                    return done;
        return {};
    });
    noteOutcomes(library, attempts);
    if (std::ranges::any_of(attempts, [](const auto &each) { return each && each->round != 0; }))
        library.thumbnailSync().note();
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
        std::size_t noWorkers = 0;
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            if (outcomes[i]) {
                ++made;
                continue;
            }
            // They stay due.
            const Problem &problem = outcomes[i].error();
            if (problem.kind == ProblemKind::busy && noWorkers++ != 0)
                continue;
            JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %s: %s",
                   (*due)[i].uuid.c_str(), problem.text.c_str());
        }
        if (noWorkers == due->size())
            break; // nor will there be any for the rest
    }
    if (made > 0)
        JX_LOG(JXLogLevelNotice, JXThumbnailsLog, "made the thumbnails of %zu assets, which were left due",
               made);
}

void tryUndecodable(Library &library, Refused refused) {
    std::optional<std::string> decoders;
    if (refused == Refused::byOthers) {
        const auto isAny = library.read([](sqlite::Database &database) {
            return database.prepare("SELECT 1 FROM zgenericasset WHERE problem <> '' AND width = 0").any();
        });
        if (isAny && !*isAny)
            return;
        const auto present = library.media().decoders();
        if (!present)
            return;
        decoders = *present;
    }
    const auto count = library.writer().change(
        [&](sqlite::Database &database) { return storeUndecodableDue(database, decoders); });
    if (!count)
        JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't try again what could not be decoded: %s",
               count.error().text.c_str());
    else if (*count > 0)
        JX_LOG(JXLogLevelNotice, JXThumbnailsLog, "trying %lld assets again that could not be decoded",
               static_cast<long long>(*count));
}

} // namespace wickerlane::hoardd
