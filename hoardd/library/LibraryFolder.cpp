#include "hoardd/library/LibraryFolder.h"

#include "wickerlane/log/JXLog.h"

namespace wickerlane::hoardd {

Result<Library *> LibraryFolder::open() {
    const MutexLock lock(mutex);
    if (library == nullptr) {
        auto made = Library::open(folderPaths);
        if (!made) {
            JX_LOG(JXLogLevelError, JXGenericLog, "%s", made.error().text.c_str());
            return passOn(made);
        }
        library = *std::move(made);
        if (whenOpened)
            whenOpened(*library);
    }
    return library.get();
}

Library *LibraryFolder::opened() {
    const MutexLock lock(mutex);
    return library.get();
}

} // namespace wickerlane::hoardd
