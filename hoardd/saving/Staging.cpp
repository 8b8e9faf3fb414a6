#include "hoardd/saving/Staging.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "hoardd/library/CallersFile.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/DurableFolders.h"
#include "hoardd/pictures/AssetFacts.h"
#include "hoardd/pictures/SidecarFacts.h"
#include "hoardd/saving/PairRule.h"
#include "hoardd/saving/SettledFile.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

namespace {

constexpr const char *refusedMark = "/refused";

std::string markOf(const std::string &folder, SavedPart part) {
    return folder + (part == SavedPart::sidecar ? "/sidecar" : "/companion");
}

/// What is known before the bytes have been read.
AssetRecord recordOf(const SaveJob &job, const SaveOrder &order) {
    AssetRecord record;
    const FileType type = order.type();
    record.uuid = job.uuid.empty() ? std::string(UUID::createRandom()->uuidString()->utf8()) : job.uuid;
    record.kind = order.kind.value_or(type.kind);
    record.format = type.mediaType;
    record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
    record.filename = record.uuid + '.' + type.extension;
    record.originalFilename = order.originalFilename;
    return record;
}

/// Reserves the UUID that a job brought with it. A file that lies where the original will be moves away
/// first, so that what a failed or killed save removes there was its own.
Result<AssetLocks::Reservation> reserveUUID(Library &library, const AssetRecord &record) {
    auto reservation = library.locks().reserve(record.uuid);
    if (!reservation)
        return fail(ProblemKind::busy, "an asset of that UUID is being saved");
    const auto isThere = library.writer().knows(record.uuid);
    if (!isThere)
        return passOn(isThere);
    if (*isThere)
        return fail(ProblemKind::exists, "there is an asset of that UUID");
    const std::string original = library.paths().original(record);
    if (::access(original.c_str(), F_OK) == 0)
        if (const auto moved = moveIntoFolder(original, library.paths().found()); !moved)
            return passOn(moved);
    return reservation;
}

Result<> encodeSurface(Library &library, const ImageSurface &surface, MediaFormat format, int output) {
    const SurfacePixels pixels{surface.sharedMemory()->descriptor(), surface.width(), surface.height(),
                               static_cast<SurfaceFormat>(surface.pixelFormat()), surface.bytesPerRow()};
    const auto encoded = library.media().encode(pixels, {.format = format}, output);
    if (!encoded)
        return fail(ProblemKind::failed, "can't encode the surface: " + encoded.error().text);
    return {};
}

Result<> writeSource(Library &library, const SaveOrder &order, const AssetRecord &record, StagedFile &file) {
    if (order.data != nullptr)
        return file.write(order.data->span());
    if (order.file)
        return file.copyFrom(order.file.get());
    const bool isLossless = record.format == mediaTypeName(MediaFormat::png);
    return encodeSurface(library, *order.surface, isLossless ? MediaFormat::png : MediaFormat::jpeg,
                         file.descriptor());
}

/// Writes the original, and notes its sum and size. The disk begins to take it meanwhile.
Result<StagedFile> writeOriginal(Library &library, const SaveOrder &order, const std::string &folder,
                                 AssetRecord &record) {
    auto original = StagedFile::create(folder);
    if (!original)
        return original;
    if (const auto written = writeSource(library, order, record, *original); !written)
        return passOn(written);
    if (const auto protectedNow = original->protect(); !protectedNow)
        return passOn(protectedNow);
    original->startSync();
    const auto sum = original->sum();
    if (!sum)
        return passOn(sum);
    struct stat status {};
    if (::fstat(original->descriptor(), &status) != 0)
        return failSystem("write", folder);
    record.sha256 = *sum;
    record.byteSize = static_cast<std::uint64_t>(status.st_size);
    return original;
}

/// Copies the file of metadata that belongs to an original.
Result<StagedFile> copySidecar(const SaveJob &job, const std::string &path, const std::string &folder) {
    constexpr off_t maxBytes = 16 << 20;
    const auto source = job.files.open(path);
    if (!source)
        return passOn(source);
    if (source->status.st_size > maxBytes)
        return fail(ProblemKind::invalid, path + " is too large for a file of metadata", path);
    auto copy = StagedFile::create(folder);
    if (!copy)
        return copy;
    const auto sealed = copy->copyFrom(source->file.get()).and_then([&] { return copy->seal(); });
    if (!sealed)
        return passOn(sealed);
    return copy;
}

/// Refuses a file that neither its contents nor its name make a picture or a video, unless the caller gave
/// its kind or its UUID.
Result<> checkIsMedia(const SaveJob &job, const SaveOrder &order) {
    if (!order.file || order.kind || !job.uuid.empty() || order.type().isMedia)
        return {};
    return fail(ProblemKind::invalid, "it is neither a picture nor a video, by its contents and by its name",
                order.path);
}

/// Makes thumbnails of the surface that a caller sent along; whether it did.
bool showSurface(Library &library, const ImageSurface &surface, const std::string &folder,
                 std::span<const ThumbnailTarget> targets) {
    const auto encoded = StagedFile::create(folder);
    return encoded && encodeSurface(library, surface, MediaFormat::png, encoded->descriptor()) &&
           library.media().probe(encoded->descriptor(), targets);
}

/// Takes a first look at the original, which does not decode it. Gives what it says of itself.
Result<PictureFacts> examine(Library &library, const SaveJob &job, const SaveOrder &order,
                             StagedAsset &staged) {
    auto preview =
        StagedThumbnails::create(library.paths(), staged.record.uuid, store::ThumbnailMaking::early);
    if (!preview)
        return passOn(preview);
    // What the caller shows of it serves better than what the file carries.
    const bool isShown =
        job.preview && showSurface(library, *job.preview, staged.folder.path(), preview->targets());
    const FirstLook seen = library.media().examine(
        staged.original.descriptor(), job.preview ? std::span<const ThumbnailTarget>() : preview->targets());
    setFacts(staged.record, seen.facts);
    if (staged.sidecar)
        readSidecar(library, staged.sidecar->descriptor(), staged.record);
    staged.record.dateAdded = secondsNow();
    setDate(staged.record, seen.facts, order.creationDate, order.modified.value_or(staged.record.dateAdded));
    if (!seen.ended && seen.ended.error().kind == ProblemKind::invalid) {
        setUndecodable(staged.record, seen.ended.error().text);
    } else if (!seen.ended) { // which says nothing about the file
        staged.dueFacts = order.creationDate ? Store::DueFacts::allButDate : Store::DueFacts::all;
        staged.record.dueDetails = allDetailsDue;
    }
    // If they can't be written they are due, like those that were not made.
    if ((isShown || seen.thumbnails != QuickThumbnails::none) && preview->write()) {
        staged.record.thumbnailIndex = 1;
        staged.thumbnails = *std::move(preview);
        staged.thumbnailsAreDue = isShown || seen.thumbnails != QuickThumbnails::ofPicture;
    }
    return seen.facts;
}

/// Whether the asset that has the bytes of what is saved has those of its second file as well.
Result<bool> isPresent(Library &library, const StagedAsset &staged, const RegularFile &second,
                       const std::string &path) {
    if (!staged.present)
        return false;
    const auto companion = library.writer().companionOf(staged.present->uuid);
    if (!companion)
        return passOn(companion);
    if (!*companion)
        return false;
    return store::sha256OfFile(second.file.get(), path).map([&](const Sha256 &sum) {
        return sum == (*companion)->sha256;
    });
}

/// Takes the second file that a job names along if it is of the same shot. That it can't be had is no fault
/// of the first. `facts` are those of the first, if they are known.
Result<> takeCompanion(Library &library, const SaveJob &job, const SaveOrder &order,
                       const std::optional<PictureFacts> &facts, StagedAsset &staged) {
    const auto second = job.files.open(order.companionPath);
    // What has the bytes of another asset's companion gets none itself.
    const bool isSecondItself = staged.present && staged.present->sha256 != staged.record.sha256;
    if (!second || second->status.st_size == 0 || isSecondItself)
        return {};
    const auto isThere = isPresent(library, staged, *second, order.companionPath);
    if (!isThere)
        return passOn(isThere);
    // Before it is copied, since a video that is none may be large.
    const auto factsOf = [&](int file) { return library.media().examine(file, {}).facts; };
    const PictureFacts ofSecond = *isThere ? PictureFacts() : factsOf(second->file.get());
    if (!*isThere && !areOneShot(facts ? *facts : factsOf(staged.original.descriptor()), ofSecond))
        return {};
    auto companion =
        stageCompanion(second->file.get(), order.companionPath, staged.record.uuid, staged.folder.path());
    if (!companion)
        return passOn(companion);
    if (ofSecond.format == MediaFormat::raw)
        companion->row.format = mediaTypeName(MediaFormat::raw); // its first bytes may have said otherwise
    if (staged.unlessPresent && !*isThere) {
        const auto isKnown = library.writer().assetWithSum(companion->row.sha256);
        if (!isKnown)
            return passOn(isKnown);
        if (*isKnown)
            return {}; // as an asset of its own
    }
    staged.companion = *std::move(companion);
    return staged.present ? Result<>() : staged.folder.mark(SavedPart::companion);
}

/// The file that goes once the asset is saved, if it lies in one of the folders whose files do.
Result<TakenFile> takenFile(const store::LibraryPaths &paths, const SaveOrder &order) {
    const std::string_view folder = parentFolder(order.path);
    if (!order.file || (folder != paths.incoming() && folder != paths.found()))
        return TakenFile();
    // Who writes a file in Incoming says when it is whole, by asking for the save.
    if (folder == paths.found() && isOpenForWriting(order.file.get()))
        return fail(ProblemKind::busy, "it is still being written", order.path);
    return TakenFile{order.path, order.status};
}

/// Refuses a file of another user's that can't fit, before it fills the disk: it need not take any room where
/// it is.
Result<> checkFits(const store::LibraryPaths &paths, const SaveJob &job, const SaveOrder &order) {
    struct statvfs status {};
    if (!order.file || job.files.areAll() || ::statvfs(paths.saving().c_str(), &status) != 0 ||
        static_cast<std::uint64_t>(order.status.st_size) < std::uint64_t{status.f_bavail} * status.f_frsize)
        return {};
    errno = ENOSPC;
    return failSystem("write", order.path);
}

} // namespace

Result<SaveFolder> SaveFolder::create(const store::LibraryPaths &paths, const AssetRecord &asset) {
    std::string path = paths.saving() + '/' + asset.filename;
    if (::mkdir(path.c_str(), 0700) != 0)
        return failSystem("make", path);
    return SaveFolder(std::move(path));
}

void SaveFolder::markRefused() const {
    static_cast<void>(openFile(folder + refusedMark, O_WRONLY | O_CREAT));
}

bool SaveFolder::isRefused(const std::string &folder) {
    return ::access((folder + refusedMark).c_str(), F_OK) == 0;
}

Result<> SaveFolder::mark(SavedPart part) const {
    const std::string mark = markOf(folder, part);
    if (!openFile(mark, O_WRONLY | O_CREAT))
        return failSystem("make", mark);
    return {};
}

bool SaveFolder::has(const std::string &folder, SavedPart part) {
    return ::access(markOf(folder, part).c_str(), F_OK) == 0;
}

SaveFolder::~SaveFolder() {
    std::error_code ignored; // recoverSaves() tries again
    if (!isKept)
        std::filesystem::remove_all(folder, ignored);
}

void TakenFile::remove() const {
    if (!path.empty() && isStill(path.c_str(), status))
        ::unlink(path.c_str());
}

Result<> placeSidecar(const store::LibraryPaths &paths, StagedFile &sidecar, std::string_view uuid) {
    const std::string place = paths.sidecar(uuid), folder(parentFolder(place));
    return makeDurableFolder(folder).and_then([&] { return sidecar.moveTo(place); }).and_then([&] {
        return makeNamesDurable(folder);
    });
}

Result<StagedAsset> stageAsset(Library &library, const SaveJob &job) {
    const auto order = readJob(job);
    if (!order)
        return passOn(order);
    if (const auto checked = checkIsMedia(job, *order); !checked)
        return passOn(checked);
    if (const auto checked = checkFits(library.paths(), job, *order); !checked)
        return passOn(checked);
    AssetRecord record = recordOf(job, *order);
    Result<AssetLocks::Reservation> reservation;
    if (!job.uuid.empty())
        reservation = reserveUUID(library, record);
    if (!reservation)
        return passOn(reservation);
    auto folder = SaveFolder::create(library.paths(), record);
    if (!folder)
        return passOn(folder);
    auto original = writeOriginal(library, *order, folder->path(), record);
    if (!original)
        return passOn(original);

    auto taken = takenFile(library.paths(), *order);
    if (!taken)
        return passOn(taken);

    StagedAsset staged{*std::move(reservation), *std::move(folder), *std::move(original), std::move(record)};
    staged.takenFrom = *std::move(taken);
    staged.unlessPresent = order->unlessPresent;
    staged.hasGivenUUID = !job.uuid.empty();
    if (!order->sidecarPath.empty()) {
        auto sidecar = copySidecar(job, order->sidecarPath, staged.folder.path());
        if (!sidecar)
            return passOn(sidecar);
        staged.sidecar = *std::move(sidecar);
    }
    if (staged.unlessPresent) {
        auto present = library.writer().assetWithSum(staged.record.sha256);
        if (!present)
            return passOn(present);
        staged.present = *std::move(present);
    }
    if (staged.sidecar && !staged.present)
        if (const auto marked = staged.folder.mark(SavedPart::sidecar); !marked)
            return passOn(marked);
    std::optional<PictureFacts> facts;
    if (!staged.present) {
        const auto examined = examine(library, job, *order, staged);
        if (!examined)
            return passOn(examined);
        facts = *examined;
    }
    if (staged.sidecar)
        staged.sidecar->close();
    if (!order->companionPath.empty()) {
        if (const auto added = takeCompanion(library, job, *order, facts, staged); !added)
            return passOn(added);
    } else if (!job.uuid.empty()) {
        auto onDisk = companionOnDisk(library.paths(), job.uuid);
        if (!onDisk)
            return passOn(onDisk);
        staged.companionOnDisk = *std::move(onDisk);
    }
    return staged;
}

} // namespace wickerlane::hoardd
