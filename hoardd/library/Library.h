// An open library: its files, its store, and what works on them.
#ifndef HOARDD_LIBRARY_LIBRARY_H
#define HOARDD_LIBRARY_LIBRARY_H

#include <memory>
#include <optional>
#include <string>

#include "hoardd/library/AssetLocks.h"
#include "hoardd/library/CountNotice.h"
#include "hoardd/library/Store.h"
#include "hoardd/media/MediaWorkers.h"
#include "hoardd/saving/AssetSaver.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/store/ObjectStore.h"

namespace wickerlane::hoardd {

/// One process at a time has a library open: it holds the library's lock. Thread-safe.
class Library {
public:
    /// Opens a library, and makes it if there is none; what an earlier process left half saved is put right.
    /// Null, with a reason, on failure: also when another process has had it open for longer than one takes
    /// to end.
    [[nodiscard]] static std::unique_ptr<Library> open(const store::LibraryPaths &paths,
                                                       std::string &problem);

    [[nodiscard]] const store::LibraryPaths &paths() const noexcept { return reader->paths(); }
    /// Finds assets, over a connection that only reads.
    [[nodiscard]] store::ObjectStore &assets() noexcept { return *reader; }
    /// A connection of the caller's own that only reads. Nothing, with the reason, on failure.
    [[nodiscard]] std::optional<sqlite::Database> openReader(std::string &problem) const;
    [[nodiscard]] Store &writer() noexcept { return *store; }
    [[nodiscard]] AssetSaver &saver() noexcept { return assetSaver; }
    [[nodiscard]] MediaWorkers &media() noexcept { return workers; }
    [[nodiscard]] AssetLocks &locks() noexcept { return assetLocks; }

    /// Leaves the database file standing alone. No save may be under way.
    void close() {
        countNotice.flush();
        static_cast<void>(store->checkpoint()); // the log keeps what could not be moved
    }

private:
    Library(UniqueFd held, std::unique_ptr<Store> writer, Ref<store::ObjectStore> opened);

    UniqueFd lock;
    CountNotice countNotice;
    std::unique_ptr<Store> store;
    Ref<store::ObjectStore> reader;
    MediaWorkers workers;
    AssetLocks assetLocks;
    AssetSaver assetSaver;
};

} // namespace wickerlane::hoardd

#endif
