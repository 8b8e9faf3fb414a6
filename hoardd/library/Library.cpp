#include "hoardd/library/Library.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <span>
#include <thread>

#include "hoardd/library/DurableFolders.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/protocol/BulletinKeys.h"
#include "wickerlane/protocol/CountNotification.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::hoardd {

namespace {

/// How long an ending process may take to let go of the library.
constexpr std::chrono::seconds lockPatience{10};

/// Who holds the lock, as far as that is known: " by process 17", or nothing.
std::string holderOf(const UniqueFd &lock) {
    std::array<char, 16> text{};
    const ssize_t count = ::pread(lock.get(), text.data(), text.size(), 0);
    pid_t process = 0;
    std::from_chars(text.data(), text.data() + std::max<ssize_t>(count, 0), process);
    return process > 0 ? " by process " + std::to_string(process) : std::string();
}

/// Takes the library's lock and writes the process id into it.
Result<UniqueFd> takeLock(const std::string &path) {
    UniqueFd lock = openFile(path, O_RDWR | O_CREAT);
    if (!lock)
        return failSystem("lock", path);
    const auto deadline = std::chrono::steady_clock::now() + lockPatience;
    while (!tryLockFile(lock.get(), FileLock::exclusive)) {
        if (errno != EWOULDBLOCK)
            return failSystem("lock", path);
        if (std::chrono::steady_clock::now() > deadline)
            return fail(ProblemKind::busy,
                        "the library is in use" + holderOf(lock) + ", which holds " + path +
                            "; try again when it has ended",
                        path);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const std::string process = std::to_string(::getpid()) + '\n';
    if (::ftruncate(lock.get(), 0) != 0 || !writeAll(lock.get(), std::as_bytes(std::span(process))))
        return failSystem("lock", path);
    return lock;
}

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
                 UniqueFd libraryFolder, MediaWorkersOptions mediaWorkers)
    : lock(std::move(held)), folder(std::move(libraryFolder)),
      countNotice([] { post(RZPhotosAndVideosCountNotificationName); }), bulletinNotice([] {
          post(JXPinwallBulletinsChangedNotification->UTF8String());
          post(JXBadgeCountChangedNotification->UTF8String());
      }),
      store(std::move(writer)), reader(std::move(opened)), workers(std::move(mediaWorkers)) {
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
    auto lock = takeLock(paths.lock());
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
    UniqueFd folder = openFile(paths.folder(), O_RDONLY | O_DIRECTORY);
    if (!folder)
        return failSystem("open", paths.folder());
    std::unique_ptr<Library> library(new Library(*std::move(lock), *std::move(writer), *std::move(reader),
                                                 std::move(folder), std::move(mediaWorkers)));
    library->countNotice.noteChange(); // one that was killed may not have posted it
    return library;
}

Result<MendedStore> Library::mend(const store::LibraryPaths &paths) {
    if (const auto made = makeLibraryFolders(paths); !made)
        return passOn(made);
    const auto lock = takeLock(paths.lock());
    if (!lock)
        return passOn(lock);
    if (const auto finished = finishMending(paths); !finished)
        return passOn(finished);
    if (::access(paths.database().c_str(), F_OK) != 0 && !store::hasOriginals(paths))
        return MendedStore(); // there is nothing to mend
    return mendStore(paths, nullptr);
}

} // namespace wickerlane::hoardd
