// An open library: its files, its store, and what works on them.
#ifndef HOARDD_LIBRARY_LIBRARY_H
#define HOARDD_LIBRARY_LIBRARY_H

#include <atomic>
#include <memory>
#include <type_traits>

#include "hoardd/library/AssetLocks.h"
#include "hoardd/library/ChangeNotice.h"
#include "hoardd/library/FingerprintMemory.h"
#include "hoardd/library/LateSync.h"
#include "hoardd/library/Retry.h"
#include "hoardd/library/Store.h"
#include "hoardd/library/WaitingCalls.h"
#include "hoardd/media/MediaWorkers.h"
#include "hoardd/service/CurrentCall.h"
#include "hoardd/service/Ending.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/store/StoreReader.h"

namespace wickerlane::hoardd {

/// One process at a time has a library open: it holds the library's lock. Thread-safe.
class Library {
public:
    /// Opens a library, and makes it if there is none.
    /// Fails also when another process has had it open for longer than one takes to end, and, with
    /// `damagedStore`, when its store is damaged, or missing beside originals.
    [[nodiscard]] static Result<std::unique_ptr<Library>> open(const store::LibraryPaths &paths,
                                                               MediaWorkersOptions mediaWorkers = {});

    /// Mends the store of a library that is not open. See mendStore().
    [[nodiscard]] static Result<MendedStore> mend(const store::LibraryPaths &paths);

    [[nodiscard]] const store::LibraryPaths &paths() const noexcept { return reader->paths(); }
    /// Finds assets, over a connection that only reads.
    [[nodiscard]] store::StoreReader &assets() noexcept { return *reader; }
    /// The same over another connection, for what takes longer.
    [[nodiscard]] store::StoreReader &queries() noexcept { return *queryReader; }
    /// What `read`, which takes a database and gives a result, reads over a connection of its own from the
    /// store as it is at one time.
    template <class Read>
    [[nodiscard]] auto read(const Read &read) const {
        using Outcome = std::invoke_result_t<const Read &, sqlite::Database &>;
        auto database = sqlite::Database::open(paths().database(), sqlite::Database::Access::read);
        if (!database)
            return Outcome(passOn(database));
        const sqlite::Snapshot snapshot(*database);
        return read(*database);
    }
    [[nodiscard]] Store &writer() noexcept { return *store; }
    [[nodiscard]] MediaWorkers &media() noexcept { return workers; }
    [[nodiscard]] AssetLocks &locks() noexcept { return assetLocks; }

    /// What is compared with a new asset.
    [[nodiscard]] FingerprintMemory &fingerprints() noexcept { return fingerprintMemory; }

    /// Guards which asset the preview well shows. Taken after the lock of an asset.
    [[nodiscard]] Mutex &previewWellLock() noexcept { return previewWell; }

    /// Guards that what is noted of albums beside the store is what was committed last.
    [[nodiscard]] Mutex &albumNotesLock() noexcept { return albumNotes; }

    /// Asks for the thumbnails that could not be made.
    [[nodiscard]] Retry &thumbnailRetry() noexcept { return dueThumbnails; }

    /// Syncs the thumbnails that are in their places and due for no other reason, see Store::noteSynced().
    [[nodiscard]] LateSync &thumbnailSync() noexcept { return lateSync; }

    /// Requests that wait until the assets change.
    [[nodiscard]] WaitingCalls &waitingCalls() noexcept { return waiting; }

    /// Whether the process is about to end: work that takes long stops where it can, with stopped().
    [[nodiscard]] bool isEnding() const noexcept { return ending; }
    /// Asked between the steps of what takes long: why it is to stop, because the process is about to end or
    /// the caller of this thread's work has cancelled it.
    [[nodiscard]] Result<> goesOn() const {
        if (isEnding())
            return stopped();
        if (CurrentCall::isCancelled())
            return cancelled();
        return {};
    }
    /// The same, and says to the caller of this thread's work how much of it is done.
    [[nodiscard]] Result<> goesOn(WorkDone done) const {
        CurrentCall::report(done);
        return goesOn();
    }
    void end() {
        ending = true;
        waiting.end();
    }

    /// Leaves the database file standing alone. No save may be under way.
    void close() {
        dueThumbnails.stop();
        static_cast<void>(lateSync.syncNow()); // else they are made again
        lateSync.stop();
        countNotice.flush();
        bulletinNotice.flush();
        static_cast<void>(store->checkpoint()); // the log keeps what could not be moved
        store->end();
    }

private:
    Library(UniqueFd held, std::unique_ptr<Store> writer, std::unique_ptr<store::StoreReader> opened,
            std::unique_ptr<store::StoreReader> openedForQueries, UniqueFd libraryFolder,
            MediaWorkersOptions mediaWorkers);
    [[nodiscard]] Result<> syncThumbnails(std::int64_t round);

    UniqueFd lock;
    UniqueFd folder; ///< Open all the time, so that no failure to write its files is missed.
    ChangeNotice countNotice;
    ChangeNotice bulletinNotice;
    Retry dueThumbnails;
    std::unique_ptr<Store> store;
    std::unique_ptr<store::StoreReader> reader;
    std::unique_ptr<store::StoreReader> queryReader;
    MediaWorkers workers;
    AssetLocks assetLocks;
    Mutex previewWell;
    FingerprintMemory fingerprintMemory;
    Mutex albumNotes;
    std::atomic<bool> ending{false};
    LateSync lateSync;
    WaitingCalls waiting;
};

} // namespace wickerlane::hoardd

#endif
