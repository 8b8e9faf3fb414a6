#include "hoardd/library/Library.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/LibraryLock.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/protocol/BulletinKeys.h"
#include "wickerlane/protocol/CountNotification.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::hoardd {

namespace {

/// What every open library has. Only its owner may come in, whatever the umask: others reach the pictures
/// through the daemon.
Result<> makeLibraryFolders(const store::LibraryPaths &paths) {
    for (const std::string &folder :
         {paths.folder(), paths.folder() + "/PhotoData", paths.folder() + "/DCIM",
          paths.folder() + "/PhotoData/Thumbnails", paths.saving(), paths.incoming()}) {
        if (const auto made = makeDurableFolder(folder); !made)
            return made;
        struct stat status {};
        if (::lstat(folder.c_str(), &status) == 0 && status.st_uid == ::geteuid() &&
            (status.st_mode & ALLPERMS) != S_IRWXU && ::chmod(folder.c_str(), S_IRWXU) != 0)
            return failSystem("protect", folder);
    }
    return {};
}

void post(const char *name) {
    if (!postNotification(name))
        JX_LOG(JXLogLevelError, JXGenericLog, "can't post %s: %s", name, std::strerror(errno));
}

} // namespace

Library::Library(UniqueFd held, std::unique_ptr<Store> writer, std::unique_ptr<store::StoreReader> opened,
                 std::unique_ptr<store::StoreReader> openedForQueries, UniqueFd libraryFolder,
                 MediaWorkersOptions mediaWorkers)
    : lock(std::move(held)), folder(std::move(libraryFolder)),
      countNotice([] { post(RZPhotosAndVideosCountNotificationName); }), bulletinNotice([] {
          post(JXPinwallBulletinsChangedNotification->UTF8String());
          post(JXBadgeCountChangedNotification->UTF8String());
      }),
      store(std::move(writer)), reader(std::move(opened)), queryReader(std::move(openedForQueries)),
      workers(std::move(mediaWorkers)) {
    store->whenCountsChange([this] { countNotice.noteChange(); });
    store->whenBulletinsChange([this] { bulletinNotice.noteChange(); });
    lateSync.whenDue([this](std::int64_t round) { return syncThumbnails(round); });
}

Result<> Library::syncThumbnails(std::int64_t round) {
    if (::syncfs(folder.get()) == 0)
        return store->noteSynced(round);
    const Result<> failed = failSystem("sync", paths().folder());
    dueThumbnails.noteFailure();
    return store->noteLost(round).and_then([&] { return failed; });
}

Result<std::unique_ptr<Library>> Library::open(const store::LibraryPaths &paths,
                                               MediaWorkersOptions mediaWorkers) {
    if (const auto made = makeLibraryFolders(paths); !made)
        return passOn(made);
    auto lock = takeLibraryLock(paths.lock());
    if (!lock)
        return passOn(lock);
    if (const auto finished = finishMending(paths); !finished)
        return passOn(finished);
    if (::access(paths.database().c_str(), F_OK) != 0 && errno == ENOENT && store::hasOriginals(paths))
        return fail(ProblemKind::damagedStore, paths.database() + " is missing beside its originals",
                    paths.database());
    auto writer = Store::open(paths);
    if (!writer)
        return passOn(writer);
    auto reader = store::StoreReader::open(paths);
    if (!reader)
        return passOn(reader);
    auto queryReader = store::StoreReader::open(paths);
    if (!queryReader)
        return passOn(queryReader);
    UniqueFd folder = openFile(paths.folder(), O_RDONLY | O_DIRECTORY);
    if (!folder)
        return failSystem("open", paths.folder());
    std::unique_ptr<Library> library(new Library(*std::move(lock), *std::move(writer), *std::move(reader),
                                                 *std::move(queryReader), std::move(folder),
                                                 std::move(mediaWorkers)));
    library->countNotice.noteChange(); // one that was killed may not have posted it
    return library;
}

Result<MendedStore> Library::mend(const store::LibraryPaths &paths) {
    if (const auto made = makeLibraryFolders(paths); !made)
        return passOn(made);
    const auto lock = takeLibraryLock(paths.lock());
    if (!lock)
        return passOn(lock);
    if (const auto finished = finishMending(paths); !finished)
        return passOn(finished);
    if (::access(paths.database().c_str(), F_OK) != 0 && !store::hasOriginals(paths))
        return MendedStore(); // there is nothing to mend
    return mendStore(paths, nullptr);
}

} // namespace wickerlane::hoardd
