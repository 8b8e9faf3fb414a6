#include "hoardd/AssetSaver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "hoardd/FileCopy.h"
#include "hoardd/Sha256.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace hoardd {

using namespace wickerlane;
using store::AssetRecord;
using store::ManagedAsset;
using store::ThumbnailSize;

namespace {

constexpr ThumbnailSize thumbnailSizes[] = {ThumbnailSize::small, ThumbnailSize::preview};
constexpr const char *stagedOriginal = "/original";

std::string failing(const std::string &what) {
    return "can't " + what + ": " + std::strerror(errno);
}

std::string parentOf(const std::string &path) {
    return path.substr(0, path.rfind('/'));
}

std::string stagedThumbnail(const std::string &folder, ThumbnailSize size) {
    return folder + "/thumbnail-" + std::to_string(store::longestSideOf(size));
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

} // namespace

struct AssetSaver::Staged {
    AssetRecord record;
    std::string folder;      ///< Empty until it has been made.
    std::string takenFrom;   ///< The file in the Incoming folder that goes once the asset is saved; or empty.
    bool isReserved = false; ///< The UUID came with the job, and is set aside for it.
    bool noData = false;
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
        additions.push_back({each->record, each->unlessPresent, false});
    problem = additions.empty() ? std::string() : store.add(additions);
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
    result.asset =
        ManagedAsset::create(result.wasPresent ? *std::move(staged.present) : std::move(staged.record),
                             paths.folder(), reader.storeUUID());
    return result;
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
            *order.surface, type.extension == "PNG" ? ImageFormat::png : ImageFormat::jpeg, original.get());
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
        staged.present = store.assetWithSum(record.sha256);
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

std::string AssetSaver::encodeSurface(const ImageSurface &surface, ImageFormat format, int output) {
    const SurfacePixels pixels{surface.sharedMemory()->descriptor(), surface.width(), surface.height(),
                               static_cast<SurfaceFormat>(surface.pixelFormat()), surface.bytesPerRow()};
    const ImageResult encoded = media.encode(pixels, {.format = format}, output);
    return encoded.succeeded() ? std::string() : "can't encode the surface: " + encoded.reason;
}

std::string AssetSaver::examine(const SaveJob &job, const SaveOrder &order, Staged &staged, int original) {
    AssetRecord &record = staged.record;
    ProbeResult probed;
    std::string problem = makeThumbnails(original, staged, probed);
    if (!problem.empty())
        return problem;
    std::optional<double> captured;
    takeFacts(probed.facts, record, captured);
    if (!probed.succeeded()) {
        record.problem = probed.reason;
        record.width = record.height = 0;
        if (job.preview)
            problem = thumbnailsFromPreview(*job.preview, staged);
    } else {
        record.thumbnailIndex = 1;
    }
    record.dateAdded = Date::createNow()->referenceSeconds();
    if (!captured)
        captured = order.modified;
    record.dateCreated = order.creationDate ? *order.creationDate : captured.value_or(record.dateAdded);
    return problem;
}

std::string AssetSaver::makeThumbnails(int picture, const Staged &staged, ProbeResult &probed) {
    std::array<UniqueFd, std::size(thumbnailSizes)> outputs;
    std::array<ThumbnailTarget, std::size(thumbnailSizes)> targets;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const std::string path = stagedThumbnail(staged.folder, thumbnailSizes[i]);
        outputs[i] = openFile(path, O_WRONLY | O_CREAT | O_TRUNC);
        if (!outputs[i])
            return failing("make " + path);
        targets[i] = {store::longestSideOf(thumbnailSizes[i]), outputs[i].get()};
    }
    probed = media.probe(picture, targets);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const std::string path = stagedThumbnail(staged.folder, thumbnailSizes[i]);
        if (!probed.succeeded())
            ::unlink(path.c_str());
        else if (::fsync(outputs[i].get()) != 0)
            return failing("write " + path);
    }
    return probed.failure == MediaFailure::outputFailed ? "can't write thumbnails: " + probed.reason
                                                        : std::string();
}

std::string AssetSaver::thumbnailsFromPreview(const ImageSurface &preview, Staged &staged) {
    const std::string path = staged.folder + "/preview";
    const UniqueFd picture = openFile(path, O_RDWR | O_CREAT | O_EXCL);
    if (!picture)
        return failing("make " + path);
    ProbeResult probed;
    if (!encodeSurface(preview, ImageFormat::png, picture.get()).empty())
        return {}; // the asset is saved without thumbnails
    std::string problem = makeThumbnails(picture.get(), staged, probed);
    if (problem.empty() && probed.succeeded())
        staged.record.thumbnailIndex = 1;
    return problem;
}

std::string AssetSaver::publish(std::span<Staged *const> group) {
    std::set<std::string> changed;
    const auto move = [&](const std::string &from, const std::string &to) {
        changed.insert(parentOf(to));
        return makeFolderIn(parentOf(to)) && ::rename(from.c_str(), to.c_str()) == 0;
    };
    for (const Staged *each : group) {
        if (each->record.thumbnailIndex != 0)
            for (const ThumbnailSize size : thumbnailSizes)
                if (!move(stagedThumbnail(each->folder, size), paths.thumbnail(each->record.uuid, size)))
                    return failing("write " + paths.thumbnail(each->record.uuid, size));
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
    std::string problem = store.change([&](sqlite::Database &database) {
        return database.prepare("DELETE FROM zgenericasset WHERE uuid = ?").bind(asset.uuid).run();
    });
    // A commit that failed may still come to light after a crash: the folder stays for recover().
    if (problem.empty())
        removeFiles(folder, asset);
    return problem;
}

// The folder goes last: as long as it stands, recover() knows of the files.
void AssetSaver::removeFiles(const std::string &stageFolder, const AssetRecord &record) {
    for (const ThumbnailSize size : thumbnailSizes)
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
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(paths.saving(), error)) {
        AssetRecord record;
        record.filename = entry.path().filename();
        const auto uuid = UUID::createWithText(record.filename.substr(0, 36));
        if (!uuid)
            continue; // nothing of ours
        record.uuid = uuid->uuidString()->utf8();
        record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
        const std::optional<bool> isSaved = store.contains(record.uuid);
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

} // namespace hoardd
