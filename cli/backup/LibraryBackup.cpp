#include "cli/backup/LibraryBackup.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <unordered_map>

#include "cli/FileFailures.h"
#include "cli/Interrupt.h"
#include "cli/Progress.h"
#include "cli/Texts.h"
#include "cli/backup/BackupFolder.h"
#include "cli/backup/LibraryFiles.h"
#include "cli/backup/VerifiedCopy.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

/// How often the store is read again because assets were deleted meanwhile.
constexpr int maxRounds = 5;

std::int64_t modifiedOf(const struct stat &status) {
    return (static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000) + status.st_mtim.tv_nsec;
}

/// Whether more files would fail in the same way.
bool endsAll(const Problem &problem) {
    return problem.kind == ProblemKind::noSpace || problem.kind == ProblemKind::notWritable;
}

class Backup {
public:
    Backup(const store::LibraryPaths &backedUp, const BackupOptions &wanted, BackupFolder opened)
        : paths(backedUp), options(wanted), folder(std::move(opened)) {}

    Result<BackupOutcome> run();

private:
    Result<> runRound();
    Result<> add(const LibraryFile &file, const struct stat *status);
    Result<> addFile(const LibraryFile &file);
    Result<> addFileFrom(const std::string &source, std::string path);
    Result<> bring(const BackedUpFile &file, const std::string &source);
    bool isSound(const BackedUpFile &file);
    void removeEarlierStore();

    const store::LibraryPaths &paths;
    const BackupOptions &options;
    BackupFolder folder;
    std::unordered_map<std::string, BackedUpFile> earlier; // by path
    std::set<std::string> soundPlaces;                     // that were read in this run
    Contents contents;
    std::set<std::string> missing; // paths of files that the store lists
    BackupOutcome outcome;
};

/// Whether what is in the backup can be taken for the file.
bool Backup::isSound(const BackedUpFile &file) {
    if (!folder.has(file))
        return false;
    const std::string place = folder.placeOf(file);
    if (!options.verify || soundPlaces.contains(place))
        return true;
    const auto sum = sumOfFile(place);
    if (!sum || *sum != file.sum)
        return false;
    soundPlaces.insert(place);
    return true;
}

/// Adds a file to the contents, and copies it unless it is there.
Result<> Backup::bring(const BackedUpFile &file, const std::string &source) {
    if (!isSound(file)) {
        const std::string place = folder.placeOf(file);
        const bool wasThere = ::access(place.c_str(), F_OK) == 0;
        if (const auto copied = folder.put(file, source); !copied)
            return copied;
        soundPlaces.insert(place);
        ++outcome.copied;
        outcome.copiedBytes += file.size;
        outcome.replaced += wasThere ? 1 : 0;
    }
    contents.push_back(file);
    return {};
}

/// Of a file whose sum nobody knows yet.
Result<> Backup::addFileFrom(const std::string &source, std::string path) {
    struct stat status = {};
    if (::lstat(source.c_str(), &status) != 0)
        return errno == ENOENT ? Result<>() : failToRead(source);
    BackedUpFile file{std::move(path), {}, static_cast<std::uint64_t>(status.st_size), modifiedOf(status)};
    if (const auto before = earlier.find(file.path); before != earlier.end() &&
                                                     before->second.size == file.size &&
                                                     before->second.modified == file.modified) {
        file.sum = before->second.sum;
        if (isSound(file)) {
            contents.push_back(file);
            return {};
        }
    }
    const auto sum = sumOfFile(source);
    if (!sum)
        return ::access(source.c_str(), F_OK) != 0 ? Result<>() : passOn(sum); // replaced or removed
    file.sum = *sum;
    return bring(file, source);
}

/// Of a file that the store lists.
Result<> Backup::add(const LibraryFile &listed, const struct stat *status) {
    const std::string source = paths.folder() + '/' + listed.path;
    BackedUpFile file{listed.path, *listed.sum, 0, 0};
    const auto before = earlier.find(listed.path);
    if (before != earlier.end() && before->second.sum == *listed.sum)
        file = before->second;
    else if (status != nullptr) {
        file.size = static_cast<std::uint64_t>(status->st_size);
        file.modified = modifiedOf(*status);
    }
    if (status == nullptr) {
        missing.insert(listed.path);
        if (file.size != 0 && isSound(file)) {
            contents.push_back(file);
            return fail(
                ProblemKind::notFound,
                localized("{} is missing in the library; the backup has it: wickerlane backup restore "
                          "brings it back",
                          source),
                source);
        }
        return fail(ProblemKind::notFound, localized("{} is missing in the library", source), source);
    }
    return bring(file, source);
}

Result<> Backup::addFile(const LibraryFile &file) {
    const std::string source = paths.folder() + '/' + file.path;
    if (!file.sum)
        return addFileFrom(source, file.path);
    struct stat status = {};
    const bool isThere = ::lstat(source.c_str(), &status) == 0;
    if (!isThere && errno != ENOENT)
        return failToRead(source);
    return add(file, isThere ? &status : nullptr);
}

/// Brings all that the store lists now.
Result<> Backup::runRound() {
    contents.clear();
    missing.clear();
    outcome.problems.clear();
    outcome.originals = 0;
    const std::string copy = folder.unfinished("store.sqlite");
    if (const auto copied = copyStore(paths, copy); !copied)
        return copied;
    std::vector<LibraryFile> files;
    {
        auto store = openCheckedStore(copy);
        if (!store)
            return passOn(store);
        auto listed = listLibraryFiles(paths, *store);
        if (!listed)
            return passOn(listed);
        files = *std::move(listed);
    }
    Progress progress(localized("backing up"), files.size());
    for (const LibraryFile &each : files) {
        if (isInterrupted())
            return failInterrupted(
                localized("interrupted: what was copied stays, and the same command goes on from there"));
        const std::size_t before = contents.size();
        const auto added = addFile(each);
        if (!added) {
            if (endsAll(added.error()))
                return added;
            outcome.problems.push_back(added.error());
        }
        outcome.originals += each.isOriginal && contents.size() > before ? 1 : 0;
        progress.advance(added ? 1 : 0, added ? 0 : 1);
    }
    for (const auto &[source, path] :
         {std::pair{copy, pathOfStore},
          std::pair{pathUnderRoot("/var/db/wickerlane/Consent.plist"), pathOfDecisions}})
        if (const auto added = addFileFrom(source, path); !added)
            return added;
    std::error_code none;
    fs::remove(copy, none);
    return {};
}

/// One is left behind by each backup, and only the latest is of use.
void Backup::removeEarlierStore() {
    const auto before = earlier.find(pathOfStore);
    if (before != earlier.end() &&
        std::ranges::find(contents, before->second.sum, &BackedUpFile::sum) == contents.end())
        ::unlink(folder.placeOf(before->second).c_str());
}

Result<BackupOutcome> Backup::run() {
    const auto before = folder.readContents();
    if (!before)
        return passOn(before);
    if (*before)
        for (const BackedUpFile &each : **before)
            earlier.emplace(each.path, each);
    // What was deleted while it was to be copied is not in the store any more; what is damaged still is.
    std::set<std::string> missingBefore;
    for (int round = 0; round < maxRounds; ++round) {
        missingBefore = std::exchange(missing, {});
        if (const auto done = runRound(); !done)
            return passOn(done);
        if (missing.empty() || missing == missingBefore)
            break;
    }
    if (const auto written = folder.writeContents(contents); !written)
        return passOn(written);
    removeEarlierStore();
    if (options.prune) {
        const auto removed = folder.removeAllBut(contents);
        if (!removed)
            return passOn(removed);
        outcome.pruned = *removed;
    }
    return std::move(outcome);
}

/// Whether one folder is in the other, or is it.
bool isWithin(const fs::path &inner, const fs::path &outer) {
    const fs::path relative = fs::weakly_canonical(inner).lexically_relative(fs::weakly_canonical(outer));
    return !relative.empty() && *relative.begin() != "..";
}

} // namespace

Result<BackupOutcome> backUp(const store::LibraryPaths &paths, const BackupOptions &options) {
    const std::string target = fs::absolute(options.folder).lexically_normal();
    if (isWithin(target, paths.folder()) || isWithin(paths.folder(), target))
        return fail(ProblemKind::invalid,
                    localized("{} and the library are one in the other; give a folder elsewhere", target),
                    target);
    auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
    if (!database)
        return passOn(database);
    const auto identity = identityOf(*database);
    if (!identity)
        return passOn(identity);
    auto folder = BackupFolder::openForWriting(target, *identity);
    if (!folder)
        return passOn(folder);
    return Backup(paths, options, *std::move(folder)).run();
}

} // namespace wickerlane::cli
