#include "cli/backup/LibraryRestore.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>

#include "cli/FileFailures.h"
#include "cli/Interrupt.h"
#include "cli/Progress.h"
#include "cli/Texts.h"
#include "cli/backup/BackupFolder.h"
#include "cli/backup/LibraryFiles.h"
#include "cli/backup/VerifiedCopy.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/KeptSums.h"
#include "wickerlane/store/StoreHistory.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

/// A file in its place ends the question; a link there is a file, too.
bool isThere(const std::string &path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Keeps hoardd away.
Result<UniqueFd> lockLibrary(const store::LibraryPaths &paths) {
    if (!makeFolders(paths.folder() + "/PhotoData"))
        return failToMake(paths.folder() + "/PhotoData");
    UniqueFd lock = openFile(paths.lock(), O_RDWR | O_CREAT);
    if (!lock)
        return failToLock(paths.lock());
    if (!tryLockFile(lock.get(), FileLock::exclusive))
        return errno == EWOULDBLOCK ? fail(ProblemKind::busy,
                                           localized("hoardd serves the library in {}; it ends by itself "
                                                     "half a minute after its last client. Close "
                                                     "the applications that use the library and try again",
                                                     paths.folder()),
                                           paths.folder())
                                    : failToLock(paths.lock());
    return lock;
}

class Restore {
public:
    Restore(const store::LibraryPaths &restored, BackupFolder opened, Contents listed)
        : paths(restored), folder(std::move(opened)), contents(std::move(listed)) {}

    Result<RestoreOutcome> run();

private:
    Result<> findState();
    Result<std::string> takeStoreCopy();
    Result<> restoreFiles();
    Result<> restoreFile(const BackedUpFile &file);
    Result<> copy(const BackedUpFile &file, const std::string &place, bool replaces = false);
    bool isToBeReplaced(const BackedUpFile &file, const std::string &place) const;
    Result<> putAside(const std::string &place) const;
    Result<> placeStore(const std::string &copy);
    Result<> restoreDecisions();
    Result<> finish(const std::string &storeCopy);
    const BackedUpFile *find(const char *path) const;
    std::string temporary(const std::string &name) const {
        return paths.folder() + "/PhotoData/Restoring/" + name;
    }

    const store::LibraryPaths &paths;
    BackupFolder folder;
    Contents contents;
    std::string identity;                   // of the library in the backup
    std::unordered_set<std::string> wanted; // paths that the same library lists
    std::unordered_map<std::string, LibraryFile>
        kept; // originals and companions of the same library, by path
    RestoreOutcome outcome;
};

const BackedUpFile *Restore::find(const char *path) const {
    const auto found = std::ranges::find(contents, path, &BackedUpFile::path);
    return found != contents.end() ? &*found : nullptr;
}

/// An original that is no longer what was saved, which the backup has as it was.
bool Restore::isToBeReplaced(const BackedUpFile &file, const std::string &place) const {
    const auto known = kept.find(file.path);
    if (known == kept.end() || known->second.sum != file.sum)
        return false;
    struct stat status = {};
    const bool isSuspect = known->second.isFaulty || ::lstat(place.c_str(), &status) != 0 ||
                           static_cast<std::uint64_t>(status.st_size) != file.size;
    if (!isSuspect)
        return false;
    const auto sum = sumOfFile(place);
    return !sum || *sum != file.sum;
}

/// Nothing that is there is lost.
Result<> Restore::putAside(const std::string &place) const {
    if (!makeFolders(paths.lostAndFound()))
        return failToMake(paths.lostAndFound());
    const fs::path name = fs::path(place).filename();
    std::string aside = paths.lostAndFound() + '/' + name.string();
    for (int number = 2; isThere(aside); ++number)
        aside = fmt::format("{}/{}-{}{}", paths.lostAndFound(), name.stem().string(), number,
                            name.extension().string());
    if (::rename(place.c_str(), aside.c_str()) != 0)
        return failToMove(place);
    return {};
}

Result<> Restore::copy(const BackedUpFile &file, const std::string &place, bool replaces) {
    const std::string source = folder.placeOf(file);
    const auto opened = openForCopy(source);
    if (!opened)
        return passOn(opened);
    auto copied = VerifiedCopy::create(temporary("file"));
    if (!copied)
        return passOn(copied);
    const bool isKept = file.path.starts_with("DCIM/") || file.path.starts_with("PhotoData/Companions/");
    const mode_t mode = isKept ? 0400 : 0600;
    return copied->copyFrom(opened->get(), source, file.sum)
        .and_then([&] { return copied->setAttributes(mode, file.modified); })
        .and_then([&] { return replaces ? putAside(place) : Result<>(); })
        .and_then([&] { return copied->moveToFree(place); });
}

/// Copies the store to a temporary place, and checks it before anything else is done.
Result<std::string> Restore::takeStoreCopy() {
    const BackedUpFile *file = find(pathOfStore);
    if (file == nullptr)
        return fail(ProblemKind::failed, localized("{} has no copy of the store", folder.path()),
                    folder.path());
    std::string place = temporary("store.sqlite");
    if (const auto copied = copy(*file, place); !copied)
        return passOn(copied);
    auto store = openCheckedStore(place);
    if (!store)
        return passOn(store);
    const auto uuid = identityOf(*store);
    if (!uuid)
        return passOn(uuid);
    identity = *uuid;
    return place;
}

/// Finds out whether the library is empty or the same.
Result<> Restore::findState() {
    if (!isThere(paths.database()))
        return {};
    auto store = openCheckedStore(paths.database());
    if (!store)
        return passOn(store);
    const auto count = countContents(*store);
    const auto uuid = identityOf(*store);
    if (!count)
        return passOn(count);
    if (!uuid)
        return passOn(uuid);
    if (*count == 0)
        return {};
    if (*uuid != identity)
        return fail(ProblemKind::exists,
                    localized("{} holds another library, which is not overwritten. To restore into a new "
                              "one: wickerlane --root FOLDER backup restore {}",
                              paths.folder(), folder.path()),
                    paths.folder());
    outcome.isSameLibrary = true;
    const auto files = listLibraryFiles(paths, *store);
    if (!files)
        return passOn(files);
    std::unordered_set<std::string> uuids;
    for (const LibraryFile &each : *files) {
        wanted.insert(each.path);
        if (each.isOriginal)
            uuids.insert(fs::path(each.path).stem());
        if (each.isOriginal || each.isCompanion)
            kept.emplace(each.path, each);
    }
    // A thumbnail that is missing isn't listed, but belongs to an asset that is.
    for (const BackedUpFile &each : contents)
        if (each.path.starts_with("PhotoData/Thumbnails/") &&
            uuids.contains(fs::path(each.path).filename().string().substr(0, 36)))
            wanted.insert(each.path);
    return {};
}

Result<> Restore::restoreFile(const BackedUpFile &file) {
    const std::string place = paths.folder() + '/' + file.path;
    if (isThere(place)) {
        if (outcome.isSameLibrary) {
            if (!isToBeReplaced(file, place)) {
                ++outcome.present;
                return {};
            }
            if (const auto copied = copy(file, place, true); !copied)
                return copied;
            ++outcome.replaced;
            return {};
        }
        const auto sum = sumOfFile(place);
        if (sum && *sum == file.sum) {
            ++outcome.present;
            return {};
        }
        return fail(ProblemKind::exists,
                    localized("{} is there with other contents, and was left as it is", place), place);
    }
    if (const auto copied = copy(file, place); !copied)
        return copied;
    ++outcome.restored;
    return {};
}

Result<> Restore::restoreFiles() {
    Progress progress(localized("restoring"), contents.size());
    for (const BackedUpFile &each : contents) {
        if (isInterrupted())
            return failInterrupted(
                localized("interrupted: the library is not complete. The same command goes on from there"));
        const bool isDue = each.path != pathOfStore && each.path != pathOfDecisions &&
                           (!outcome.isSameLibrary || wanted.contains(each.path));
        const auto done = isDue ? restoreFile(each) : Result<>();
        if (!done &&
            (done.error().kind == ProblemKind::noSpace || done.error().kind == ProblemKind::notWritable))
            return done;
        if (!done)
            outcome.problems.push_back(done.error());
        progress.advance(done ? 1 : 0, done ? 0 : 1);
    }
    return {};
}

/// The last step: without a store, what is there is no library yet, and the same restore goes on.
Result<> Restore::placeStore(const std::string &copy) {
    const UniqueFd opened(::open(paths.folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened || ::syncfs(opened.get()) != 0)
        return failToWrite(paths.folder());
    // Of an empty library. Its write-ahead log must not meet the other store.
    for (const char *suffix : {"-wal", "-shm", ""})
        if (const std::string old = paths.database() + suffix; ::unlink(old.c_str()) != 0 && errno != ENOENT)
            return failToRemove(old);
    if (::rename(copy.c_str(), paths.database().c_str()) != 0 ||
        !syncFolder(std::string(parentFolder(paths.database()))))
        return failToWrite(paths.database());
    ++outcome.restored;
    return {};
}

/// Decisions that stand already are the newer ones.
Result<> Restore::restoreDecisions() {
    const BackedUpFile *file = find(pathOfDecisions);
    const std::string place = pathUnderRoot("/var/db/wickerlane/Consent.plist");
    if (file == nullptr || isThere(place))
        return {};
    const std::string source = folder.placeOf(*file);
    struct stat status = {};
    if (::lstat(source.c_str(), &status) != 0)
        return failToRead(source);
    if (status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return fail(
            ProblemKind::refused,
            localized("the decisions about programs were not restored: others could have written {}", source),
            source);
    if (const auto copied = copy(*file, place); !copied)
        return copied;
    ++outcome.restored;
    return {};
}

/// Thumbnails that a backup leaves out are not there, and what changes from now on is not what changed after
/// the backup.
Result<> beginAgain(const std::string &copy) {
    auto store = sqlite::Database::open(copy, sqlite::Database::Access::write);
    if (!store)
        return passOn(store);
    sqlite::Transaction transaction(*store);
    return store::forgetDerivedSizes(*store)
        .and_then([&] { return store::beginHistory(*store); })
        .and_then([&] { return transaction.commit(); })
        .and_then([&] { return store->checkpoint(); });
}

Result<> Restore::finish(const std::string &copy) {
    if (const auto decided = restoreDecisions(); !decided)
        outcome.problems.push_back(decided.error());
    return beginAgain(copy).and_then([&] { return placeStore(copy); });
}

Result<RestoreOutcome> Restore::run() {
    const auto lock = lockLibrary(paths);
    if (!lock)
        return passOn(lock);
    std::error_code none;
    fs::remove_all(temporary(""), none);
    if (!makeFolders(paths.folder() + "/PhotoData/Restoring"))
        return failToWrite(paths.folder());
    const auto done = takeStoreCopy().and_then([&](const std::string &copy) {
        return findState().and_then([&] { return restoreFiles(); }).and_then([&] {
            return outcome.isSameLibrary ? Result<>() : finish(copy);
        });
    });
    fs::remove_all(temporary(""), none);
    if (!done)
        return passOn(done);
    return std::move(outcome);
}

} // namespace

Result<RestoreOutcome> restoreBackup(const store::LibraryPaths &paths, const std::string &folder) {
    auto opened = BackupFolder::open(fs::absolute(folder).lexically_normal());
    if (!opened)
        return passOn(opened);
    auto contents = opened->readContents();
    if (!contents)
        return passOn(contents);
    if (!*contents)
        return fail(ProblemKind::failed,
                    localized("{} holds a backup that was never finished; run wickerlane backup again",
                              opened->path()),
                    opened->path());
    return Restore(paths, *std::move(opened), **std::move(contents)).run();
}

} // namespace wickerlane::cli
