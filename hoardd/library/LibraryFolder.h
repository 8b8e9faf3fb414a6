// The folder of the library that this process serves, with or without a store in it.
#ifndef HOARDD_LIBRARY_LIBRARYFOLDER_H
#define HOARDD_LIBRARY_LIBRARYFOLDER_H

#include <atomic>
#include <memory>
#include <optional>

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::hoardd {

/// Thread-safe.
class LibraryFolder {
public:
    /// `opened` is called once, before anybody else gets the library.
    LibraryFolder(store::LibraryPaths libraryPaths, Handler<void(Library &)> opened)
        : folderPaths(std::move(libraryPaths)), whenOpened(std::move(opened)) {}

    [[nodiscard]] const store::LibraryPaths &paths() const noexcept { return folderPaths; }

    /// The library, which lives as long as this. The first call opens it, and makes it if there is none; when
    /// that fails, the next call tries again. `busy` when its store is still being mended after a moment.
    [[nodiscard]] Result<Library *> open();
    struct Mended {
        Library *library;
        bool isChanged; ///< The store was not sound.
    };
    /// The library, after its store has been mended, if that is damaged or missing. What was done is logged.
    [[nodiscard]] Result<Mended> openMended();
    /// The store has turned out to be damaged: until it is mended, open() fails with that.
    void noteDamage(const Problem &problem);
    /// Has long work on the library stop where it can. A library that is not open is not opened any more.
    void end();
    /// The library if it has been opened, else null.
    [[nodiscard]] Library *opened();
    /// The library if open() would give it at once, else null. Never waits.
    [[nodiscard]] Library *ready() const noexcept { return readyLibrary; }

private:
    const store::LibraryPaths folderPaths;
    const Handler<void(Library &)> whenOpened;
    Mutex mutex;
    [[nodiscard]] Result<Library *> openLocked() WL_REQUIRES(mutex);
    Condition mendingEnded;
    bool isMending WL_GUARDED_BY(mutex) = false; // by one thread, which does not hold the mutex meanwhile
    bool isEnding WL_GUARDED_BY(mutex) = false;
    std::optional<Problem> damage WL_GUARDED_BY(mutex);
    std::unique_ptr<Library> library WL_GUARDED_BY(mutex); // stays once it is there
    std::atomic<Library *> readyLibrary = nullptr;
};

} // namespace wickerlane::hoardd

#endif
