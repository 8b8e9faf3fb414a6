#include "hoardd/library/LibraryFolder.h"

#include "hoardd/library/DiskReserve.h"
#include "wickerlane/log/JXLog.h"

namespace wickerlane::hoardd {

Result<Library *> LibraryFolder::open() {
    const MutexLock lock(mutex);
    if (library == nullptr) {
        if (isEnding)
            return stopped();
        auto made = withDiskReserve(folderPaths, [&] { return Library::open(folderPaths); });
        if (!made) {
            JX_LOG(JXLogLevelError, JXGenericLog, "%s", made.error().text.c_str());
            return passOn(made);
        }
        if (whenOpened)
            whenOpened(**made);
        library = *std::move(made);
    }
    return library.get();
}

void LibraryFolder::end() {
    const MutexLock lock(mutex);
    isEnding = true;
    if (library != nullptr)
        library->end();
}

Library *LibraryFolder::opened() {
    const MutexLock lock(mutex);
    return library.get();
}

} // namespace wickerlane::hoardd
