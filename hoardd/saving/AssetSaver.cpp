#include "hoardd/saving/AssetSaver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>

#include "hoardd/library/Clock.h"
#include "hoardd/library/FileCopy.h"
#include "hoardd/library/Interim.h"
#include "hoardd/library/Sha256.h"
#include "hoardd/pictures/NewThumbnails.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using store::AssetRecord;
using store::ManagedAsset;
using store::ThumbnailSize;

namespace {

constexpr const char *stagedOriginal = "/original";

std::string failing(const std::string &what) {
    return "can't " + what + ": " + std::strerror(errno);
}

std::string parentOf(const std::string &path) {
    return path.substr(0, path.rfind('/'));
}

/// Makes a folder in one that exists, so that it survives a crash. False, with errno, on failure.
bool makeFolderIn(const std::string &path) {
    if (::mkdir(path.c_str(), 0700) == 0)
        return syncFolder(parentOf(path));
    return errno == EEXIST;
}

/// What a picture says of itself, into its record; the date, which the job may know better, apart.
void takeFacts(const PictureFacts &facts, AssetRecord &record, std::optional<double> &captured) {
    record.width = facts.width;
    record.height = facts.height;
    record.orientation = facts.orientation;
    if (facts.video)
        record.duration = facts.video->seconds;
    if (facts.place) {
        record.latitude = facts.place->latitude;
        record.longitude = facts.place->longitude;
    }
    if (facts.captureDate)
        captured = static_cast<double>(facts.captureDate->seconds) + facts.captureDate->nanoseconds * 1e-9 -
                   Date::secondsFrom1970To2001;
}

/// Notes why a picture can't be decoded: then its size is not known either.
void noteProblem(AssetRecord &record, const std::string &reason) {
    record.problem = reason;
    record.width = record.height = 0;
}

} // namespace

struct AssetSaver::Staged {
    AssetRecord record;
    std::string folder;      ///< Empty until it has been made.
    std::string takenFrom;   ///< The file in the Incoming folder that goes once the asset is saved; or empty.
    bool isReserved = false; ///< The UUID came with the job, and is set aside for it.
    bool noData = false;
    bool isDue = false; ///< Thumbnails are to be made of the picture itself.
    std::optional<NewThumbnails> preview;
    bool unlessPresent = false;
    std::optional<AssetRecord> present; ///< The asset that has the same bytes, and is not to be saved again.
    std::string problem;
};

/// Gives the UUIDs back that came with jobs, however a save ends.
struct AssetSaver::ReleasedReservations {
    AssetLocks &locks;
    const std::vector<Staged> &all;
    ~ReleasedReservations() {
        for (const Staged &each : all)
            if (each.isReserved)
                locks.release(each.record.uuid);
    }
};

std::vector<SaveResult> AssetSaver::save(std::span<const SaveJob> jobs) {
    std::vector<SaveResult> results = begin(jobs);
    finish(results);
    return results;
}

std::vector<SaveResult> AssetSaver::begin(std::span<const SaveJob> jobs) {
    std::vector<Staged> all(jobs.size());
    const ReleasedReservations released{locks, all};
    std::vector<Staged *> group;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        ReleaseScope scope;
        all[i].problem = stage(jobs[i], all[i]);
        if (all[i].problem.empty() && !all[i].present)
            group.push_back(&all[i]);
        else if (!all[i].folder.empty())
            removeFiles(all[i].folder, all[i].record);
    }

    std::string problem = group.empty() ? std::string() : publish(group);
    if (!problem.empty()) {
        for (Staged *each : group) {
            removeFiles(each->folder, each->record);
            each->problem = problem;
        }
        group.clear();
    }

    std::vector<Store::Addition> additions;
    additions.reserve(group.size());
    for (const Staged *each : group)
        additions.push_back({each->record, each->unlessPresent, false, each->isDue});
    problem = additions.empty() ? std::string() : asText(store.add(additions));
    for (std::size_t i = 0; i < group.size(); ++i) {
        Staged &each = *group[i];
        if (!problem.empty()) {
            // The files stay for recover(): a commit whose sync failed may still come to light after a crash.
            // So does the UUID, until then.
            each.problem = "can't store the asset: " + problem;
            each.isReserved = false;
        } else if (additions[i].wasPresent) {
            removeFiles(each.folder, each.record);
            each.present = std::move(additions[i].record);
        } else {
            std::error_code ignored; // recover() removes it otherwise
            std::filesystem::remove_all(each.folder, ignored);
            each.record = std::move(additions[i].record);
        }
    }
    std::vector<SaveResult> results(jobs.size());
    for (std::size_t i = 0; i < all.size(); ++i)
        results[i] = resultOf(std::move(all[i]));
    return results;
}

SaveResult AssetSaver::resultOf(Staged &&staged) const {
    SaveResult result;
    result.noData = staged.noData;
    result.problem = std::move(staged.problem);
    if (!result.problem.empty())
        return result;
    result.wasPresent = staged.present.has_value();
    // What was found may be all that is left of an asset whose original is missing.
    if (!result.wasPresent || ::access(paths.original(*staged.present).c_str(), F_OK) == 0)
        ::unlink(staged.takenFrom.c_str());
    result.isDue = !result.wasPresent && staged.isDue;
    result.asset = assetOf(result.wasPresent ? *std::move(staged.present) : std::move(staged.record));
    return result;
}

Ref<ManagedAsset> AssetSaver::assetOf(AssetRecord record) const {
    return ManagedAsset::create(std::move(record), paths.folder(), reader.storeUUID());
}

std::string AssetSaver::stage(const SaveJob &job, Staged &staged) {
    SaveOrder order;
    std::string problem = readJob(job, order);
    staged.noData = order.isEmpty;
    staged.unlessPresent = order.unlessPresent;
    if (!problem.empty())
        return problem;

    AssetRecord &record = staged.record;
    const FileType type = order.type();
    record.uuid = job.uuid;
    if (record.uuid.empty())
        record.uuid = UUID::createRandom()->uuidString()->utf8();
    record.kind = order.kind.value_or(type.kind);
    record.format = type.mediaType;
    record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
    record.filename = record.uuid + '.' + type.extension;
    record.originalFilename = order.originalFilename;
    if (order.file && (parentOf(order.path) == paths.incoming() || parentOf(order.path) == paths.found()))
        staged.takenFrom = order.path;

    if (!job.uuid.empty())
        if (problem = reserve(staged); !problem.empty())
            return problem;
    const std::string folder = paths.saving() + '/' + record.filename;
    if (::mkdir(folder.c_str(), 0700) != 0)
        return failing("make " + folder);
    staged.folder = folder;

    const std::string path = folder + stagedOriginal;
    const UniqueFd original = openFile(path, O_RDWR | O_CREAT | O_EXCL);
    if (!original)
        return failing("make " + path);
    if (order.data != nullptr)
        problem = writeAll(original.get(), order.data->span()) ? std::string() : failing("write " + path);
    else if (order.file)
        problem = copyFile(order.file.get(), original.get());
    else
        problem = encodeSurface(
            *order.surface, type.extension == "PNG" ? MediaFormat::png : MediaFormat::jpeg, original.get());
    if (!problem.empty())
        return problem;

    // Nothing alters an original from here on.
    struct stat status {};
    const auto sum = sha256OfFile(original.get());
    if (!sum || ::fchmod(original.get(), 0400) != 0 || ::fsync(original.get()) != 0 ||
        ::fstat(original.get(), &status) != 0)
        return failing("write " + path);
    record.sha256 = *sum;
    record.byteSize = static_cast<std::uint64_t>(status.st_size);

    if (staged.unlessPresent)
        staged.present = store.assetWithSum(record.sha256).value_or(std::nullopt);
    return staged.present ? std::string() : examine(job, order, staged, original.get());
}

/// Sets the UUID aside that a job brought with it. A file that lies where the original will be moves away
/// first, so that whatever a failed or killed save removes there was its own.
std::string AssetSaver::reserve(Staged &staged) {
    const AssetRecord &record = staged.record;
    staged.isReserved = locks.reserve(record.uuid);
    if (!staged.isReserved)
        return "an asset of that UUID is being saved";
    const auto isSaved = store.contains(record.uuid);
    if (!isSaved || *isSaved)
        return isSaved ? "there is an asset of that UUID" : "the store can't be read";
    const std::string original = paths.original(record);
    const bool isClear = ::access(original.c_str(), F_OK) != 0 || moveInto(paths.found(), original);
    return isClear ? std::string() : failing("move " + original);
}

std::string AssetSaver::encodeSurface(const ImageSurface &surface, MediaFormat format, int output) {
    const SurfacePixels pixels{surface.sharedMemory()->descriptor(), surface.width(), surface.height(),
                               static_cast<SurfaceFormat>(surface.pixelFormat()), surface.bytesPerRow()};
    const ImageResult encoded = media.encode(pixels, {.format = format}, output);
    return encoded.succeeded() ? std::string() : "can't encode the surface: " + encoded.reason;
}

std::string AssetSaver::examine(const SaveJob &job, const SaveOrder &order, Staged &staged, int original) {
    AssetRecord &record = staged.record;
    NewThumbnails &preview = staged.preview.emplace(paths, record.uuid);
    std::string problem = preview.open();
    if (!problem.empty())
        return problem;
    // What the caller shows of it serves better than what the file carries.
    const bool isShown = job.preview && makeThumbnails(*job.preview, staged, preview.targets());
    const ExamineResult seen =
        media.examine(original, job.preview ? std::span<const ThumbnailTarget>() : preview.targets());
    std::optional<double> captured;
    takeFacts(seen.facts, record, captured);
    staged.isDue = seen.succeeded();
    if (!seen.succeeded())
        noteProblem(record, seen.reason);
    if (seen.facts.format == MediaFormat::raw)
        record.format = mediaTypeName(MediaFormat::raw); // its first bytes may have said otherwise
    if (isShown || seen.hasPreview)
        record.thumbnailIndex = 1;
    else
        staged.preview.reset();
    record.dateAdded = secondsNow();
    if (!captured)
        captured = order.modified;
    record.dateCreated = order.creationDate ? *order.creationDate : captured.value_or(record.dateAdded);
    return {};
}

/// Makes thumbnails of a surface; whether it did.
bool AssetSaver::makeThumbnails(const ImageSurface &picture, const Staged &staged,
                                std::span<const ThumbnailTarget> targets) {
    const UniqueFd encoded = openFile(staged.folder + "/preview", O_RDWR | O_CREAT | O_EXCL);
    return encoded && encodeSurface(picture, MediaFormat::png, encoded.get()).empty() &&
           media.probe(encoded.get(), targets).succeeded();
}

/// What became of the thumbnails of one asset.
struct AssetSaver::Finished {
    bool isDone = false; ///< This has settled it: they are there, or can't be.
    std::string problem; ///< Why the picture can't be decoded.
    std::string lack;    ///< Why they are still due.
};

void AssetSaver::finish(std::span<SaveResult> results) {
    std::vector<std::pair<SaveResult *, Finished>> group;
    for (SaveResult &each : results)
        if (each.isDue) {
            ReleaseScope scope;
            group.emplace_back(&each, makeDueThumbnails(each.asset->record()));
            each.lack = group.back().second.lack;
        }
    std::erase_if(group, [](const auto &each) { return !each.second.isDone; });
    if (group.empty())
        return;
    const std::string failure = asText(store.change([&](sqlite::Database &database) {
        auto made = database.prepare(
            "UPDATE zgenericasset SET thumbnailindex = thumbnailindex + 1, "
            "previewpurged = 0 WHERE pk IN (SELECT asset FROM zduethumbnail WHERE asset = ?)");
        auto failed = database.prepare("UPDATE zgenericasset SET problem = ?, width = 0, height = 0 "
                                       "WHERE pk IN (SELECT asset FROM zduethumbnail WHERE asset = ?)");
        auto done = database.prepare("DELETE FROM zduethumbnail WHERE asset = ?");
        return std::ranges::all_of(group, [&](const auto &each) {
            const std::int64_t asset = each.first->asset->record().primaryKey;
            const bool isDecoded = each.second.problem.empty();
            return (isDecoded ? made.bind(asset).run() : failed.bind(each.second.problem, asset).run()) &&
                   done.bind(asset).run();
        });
    }));
    for (auto &[result, finished] : group) {
        result->isDue = false;
        result->lack = failure;
        AssetRecord record = result->asset->record();
        if (!finished.problem.empty())
            noteProblem(record, finished.problem);
        else
            ++record.thumbnailIndex;
        result->asset = assetOf(std::move(record));
    }
}

AssetSaver::Finished AssetSaver::makeDueThumbnails(const AssetRecord &asset) {
    const std::string rendition = store.renditionOf(asset.uuid).value_or(std::string());
    const std::string path =
        rendition.empty() ? paths.original(asset) : paths.renditionFolder(asset.uuid) + '/' + rendition;
    const UniqueFd picture = openFile(path, O_RDONLY);
    if (!picture)
        return {false, {}, failing("open " + path)};
    NewThumbnails thumbnails(paths, asset.uuid);
    if (std::string problem = thumbnails.open(); !problem.empty())
        return {false, {}, std::move(problem)};
    const ProbeResult probed = media.probe(picture.get(), thumbnails.targets());
    if (probed.failure == MediaFailure::outputFailed)
        return {false, {}, "can't write thumbnails: " + probed.reason};
    if (probed.failure == MediaFailure::unavailable)
        return {false, {}, probed.reason}; // which is not the picture's fault
    if (!probed.succeeded())
        return {true, probed.reason, {}};
    // Meanwhile the asset may have gone, or others may have made its thumbnails of a newer picture.
    const std::lock_guard guard(locks.of(asset.uuid));
    if (!store.isDue(asset.primaryKey).value_or(false))
        return {};
    std::string problem = thumbnails.publish();
    return {problem.empty(), {}, problem};
}

void AssetSaver::finishDue() {
    constexpr std::size_t perCommit = 16;
    std::size_t made = 0;
    for (std::int64_t last = 0; !library.isEnding();) {
        ReleaseScope scope;
        const auto due = store.due(last, perCommit);
        if (!due || due->empty())
            break;
        last = due->back().primaryKey;
        std::vector<SaveResult> results;
        for (const AssetRecord &each : *due)
            results.push_back({assetOf(each), false, false, true, {}, {}});
        finish(results);
        for (const SaveResult &each : results)
            if (each.lack.empty())
                ++made;
            else // they stay due
                JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %@: %s",
                       each.asset->uuid(), each.lack.c_str());
    }
    if (made > 0)
        JX_LOG(JXLogLevelNotice, JXThumbnailsLog,
               "made the thumbnails of %zu assets, which an earlier process had left", made);
}

std::string AssetSaver::publish(std::span<Staged *const> group) {
    std::set<std::string> changed;
    const auto move = [&](const std::string &from, const std::string &to) {
        changed.insert(parentOf(to));
        return makeFolderIn(parentOf(to)) && ::rename(from.c_str(), to.c_str()) == 0;
    };
    for (Staged *each : group) {
        if (each->preview) {
            // They last until the thumbnails proper take their places, so that nothing need be synced; of a
            // picture that can't be decoded, for good.
            std::string problem = each->isDue ? each->preview->place() : each->preview->publish();
            if (!problem.empty())
                return problem;
        }
        if (!move(each->folder + stagedOriginal, paths.original(each->record)))
            return failing("write " + paths.original(each->record));
    }
    for (const std::string &folder : changed)
        if (!syncFolder(folder))
            return failing("sync " + folder);
    return {};
}

// The same road back: as long as the folder stands and the row is there, recover() takes nothing away; once
// the row has gone, it removes what files are left.
std::string AssetSaver::remove(const AssetRecord &asset) {
    const AssetLocks::Reservation reservation(locks, asset.uuid);
    if (!reservation)
        return "the asset is being saved";
    const std::lock_guard guard(locks.of(asset.uuid));
    const std::string folder = paths.saving() + '/' + asset.filename;
    if (!makeFolderIn(folder))
        return failing("make " + folder);
    std::string problem = asText(store.change([&](sqlite::Database &database) {
        return database.prepare("DELETE FROM zgenericasset WHERE uuid = ?").bind(asset.uuid).run();
    }));
    // A commit that failed may still come to light after a crash: the folder stays for recover().
    if (problem.empty())
        removeFiles(folder, asset);
    return problem;
}

// The folder goes last: as long as it stands, recover() knows of the files.
void AssetSaver::removeFiles(const std::string &stageFolder, const AssetRecord &record) {
    for (const ThumbnailSize size : store::thumbnailSizes)
        ::unlink(paths.thumbnail(record.uuid, size).c_str());
    ::unlink(paths.original(record).c_str());
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(paths.renditionFolder(record.uuid), none))
        if (entry.path().filename().string().starts_with(record.uuid))
            ::unlink(entry.path().c_str());
    std::error_code ignored; // what can't be removed now is tried again by recover()
    std::filesystem::remove_all(stageFolder, ignored);
}

void AssetSaver::recover() {
    NewThumbnails::removeLeftovers(paths);
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(paths.saving(), error)) {
        AssetRecord record;
        record.filename = entry.path().filename();
        const auto uuid = UUID::createWithText(record.filename.substr(0, 36));
        if (!uuid)
            continue; // nothing of ours
        record.uuid = uuid->uuidString()->utf8();
        record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
        const auto isSaved = store.contains(record.uuid);
        if (!isSaved)
            continue; // unknown: both answers could lose something
        JX_LOG(JXLogLevelNotice, JXAssetImportLog, "%s the unfinished save of %s",
               *isSaved ? "completed" : "undid", record.filename.c_str());
        if (*isSaved)
            std::filesystem::remove_all(entry.path(), error);
        else
            removeFiles(entry.path(), record);
    }
}

} // namespace wickerlane::hoardd
