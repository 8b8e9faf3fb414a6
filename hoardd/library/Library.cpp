#include "hoardd/library/Library.h"

#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <span>
#include <thread>

#include "hoardd/library/DurableFolders.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

namespace {

/// How long an ending process may take to let go of the library.
constexpr std::chrono::seconds lockPatience{10};

/// Takes the library's lock and writes the process id into it.
Result<UniqueFd> takeLock(const std::string &path) {
    UniqueFd lock = openFile(path, O_RDWR | O_CREAT);
    if (!lock)
        return failSystem("lock", path);
    const auto deadline = std::chrono::steady_clock::now() + lockPatience;
    while (!tryLockFile(lock.get(), FileLock::exclusive)) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() > deadline)
            return failSystem("lock", path);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    const std::string process = std::to_string(::getpid()) + '\n';
    if (::ftruncate(lock.get(), 0) != 0 || !writeAll(lock.get(), std::as_bytes(std::span(process))))
        return failSystem("lock", path);
    return lock;
}

} // namespace

Library::Library(UniqueFd held, std::unique_ptr<Store> writer, std::unique_ptr<store::StoreReader> opened,
                 MediaWorkersOptions mediaWorkers)
    : lock(std::move(held)), store(std::move(writer)), reader(std::move(opened)),
      workers(std::move(mediaWorkers)) {
    store->whenCountsChange([this] { countNotice.noteChange(); });
}

Result<std::unique_ptr<Library>> Library::open(const store::LibraryPaths &paths,
                                               MediaWorkersOptions mediaWorkers) {
    for (const std::string &folder :
         {paths.folder(), paths.folder() + "/PhotoData", paths.folder() + "/DCIM",
          paths.folder() + "/PhotoData/Thumbnails", paths.saving(), paths.incoming()})
        if (const auto made = makeDurableFolder(folder); !made)
            return passOn(made);
    auto lock = takeLock(paths.lock());
    if (!lock)
        return passOn(lock);
    auto writer = Store::open(paths);
    if (!writer)
        return passOn(writer);
    auto reader = store::StoreReader::open(paths);
    if (!reader)
        return passOn(reader);
    std::unique_ptr<Library> library(
        new Library(*std::move(lock), *std::move(writer), *std::move(reader), std::move(mediaWorkers)));
    library->countNotice.noteChange(); // one that was killed may not have posted it
    return library;
}

} // namespace wickerlane::hoardd
