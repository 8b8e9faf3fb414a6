// Writing the library's store.
#ifndef HOARDD_LIBRARY_STORE_H
#define HOARDD_LIBRARY_STORE_H

#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "hoardd/library/StoreMending.h"
#include "hoardd/library/StoreNotes.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/store/CompanionReader.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// Where an asset may be.
enum class AssetPlace { library, trash };

/// The one connection that writes the database and checkpoints it: the process that has it holds the
/// library's lock. Thread-safe.
class Store {
public:
    /// What is still to be read from an asset's file, if a worker could not be had before.
    enum class DueFacts { none, allButDate, all };

    /// An asset to be added.
    struct Addition {
        AssetRecord record;         ///< Gets its primary key; or becomes the one that was present.
        bool unlessPresent = false; ///< Not when there is one with the same sum; one in the trash comes back.
        bool wasPresent = false;    ///< There was: nothing has been added.
        /// In which its thumbnails are synced, see LateSync; 0: they are due.
        std::int64_t thumbnailRound = 0;
        std::uint64_t thumbnailBytes = 0; ///< What they take, unless they are due.
        DueFacts dueFacts = DueFacts::none;
        bool leavesTrashAlone = false;               ///< One in the trash does not come back.
        std::optional<store::Companion> companion{}; ///< The second file of the shot, in its place.
        bool cameBack = false; ///< It was present in the trash: its thumbnails may be due.
    };

    /// Opens the database, and lays it out when it is new. One of an older version is backed up and brought
    /// up to date.
    [[nodiscard]] static Result<std::unique_ptr<Store>> open(const store::LibraryPaths &paths);

    /// Adds assets, all or none, and gives them their primary keys. Returns when they will survive any crash.
    /// What several threads add at the same time is committed in one transaction.
    [[nodiscard]] Result<> add(std::span<Addition> additions);

    /// Removes the row of an asset, and with it all that the store says of it. Succeeds without one.
    [[nodiscard]] Result<> remove(std::string_view uuid, AssetPlace from = AssetPlace::library);

    /// The oldest asset whose original has that sum, or else whose companion has; nothing when there is none.
    [[nodiscard]] Result<std::optional<AssetRecord>> assetWithSum(const Sha256 &sum);

    /// The second file of an asset; nothing when it has none.
    [[nodiscard]] Result<std::optional<store::Companion>> companionOf(std::string_view uuid);
    /// Gives one to an asset that has none.
    [[nodiscard]] Result<> addCompanion(std::string_view uuid, const store::Companion &companion);

    /// Whether there is an asset with that UUID.
    [[nodiscard]] Result<bool> contains(std::string_view uuid);

    /// Whether there is one in the library or in the trash.
    [[nodiscard]] Result<bool> knows(std::string_view uuid);

    /// Assets whose thumbnails are due: of those with primary keys after `last`, in their order, at most
    /// `limit`.
    [[nodiscard]] Result<std::vector<AssetRecord>> due(std::int64_t last, std::size_t limit);

    struct Counts {
        std::uint64_t photos = 0;
        std::uint64_t videos = 0;
        bool operator==(const Counts &) const = default;
    };
    /// Of the assets after the last commit that has been answered, or a later one. Nothing when they can't be
    /// read. Doesn't wait for the database.
    [[nodiscard]] std::optional<Counts> counts() const WL_EXCLUDES(countsMutex);

    /// The thumbnails that were made for a round, or for one before it, survive a crash from now on.
    [[nodiscard]] Result<> noteSynced(std::int64_t round);
    /// They may have been lost, and are due again.
    [[nodiscard]] Result<> noteLost(std::int64_t round);

    /// Whether an asset is there and its thumbnails are due.
    [[nodiscard]] Result<bool> isDue(std::int64_t asset);

    [[nodiscard]] Result<DueFacts> dueFacts(std::int64_t asset);

    /// The file name of an asset's edited rendition; empty when it has none.
    [[nodiscard]] Result<std::string> renditionOf(std::string_view uuid);

    /// Assets that were added after a date, the newest first.
    [[nodiscard]] Result<std::vector<AssetRecord>> addedSince(double date);

    /// Assets whose originals can be decoded: of those with primary keys after `last`, in their order, at
    /// most `limit`.
    [[nodiscard]] Result<std::vector<AssetRecord>> decodable(std::int64_t last, std::size_t limit);
    /// How many there are.
    [[nodiscard]] Result<std::uint64_t> countDecodable();

    [[nodiscard]] Result<> setExternalUsageIntent(std::int64_t asset, std::uint64_t intent);

    /// Runs `make`, which takes the database and gives a result, in a transaction, and gives that result. On
    /// failure the transaction is rolled back; on success this returns when the change will survive any
    /// crash. `make` should be quick, since nothing else is stored meanwhile.
    template <class Make>
    [[nodiscard]] auto change(const Make &make) {
        using Outcome = std::invoke_result_t<const Make &, sqlite::Database &>;
        const MutexLock lock(databaseMutex);
        sqlite::Transaction transaction(database);
        if (!transaction.isOpen())
            return Outcome(fail(database.problem()));
        Outcome outcome = make(database);
        if (!outcome)
            return outcome;
        if (const auto committed = commit(transaction); !committed)
            return Outcome(passOn(committed));
        afterCommit();
        return outcome;
    }

    /// Whether what could not be committed last may be found done after a crash, since the disk took nothing
    /// else either.
    [[nodiscard]] bool mayFailureBeFoundDone();

    /// Has `changed`, which should be quick, called after each commit that leaves more or fewer photos or
    /// videos.
    void whenCountsChange(Handler<void()> changed);
    /// The same after each commit that changes the bulletins.
    void whenBulletinsChange(Handler<void()> changed);
    /// The same after each commit with which assets come or go, or get another date, place or look.
    void whenAssetsChange(Handler<void()> changed);

    /// Moves what was written into the database file, so that it stands alone.
    [[nodiscard]] Result<> checkpoint();

    /// Mends the database if it is damaged; meanwhile nothing is stored.
    [[nodiscard]] Result<MendedStore> mend();

    /// Writes the notes beside the store again, from all rows.
    [[nodiscard]] Result<> rewriteNotes();
    /// Whether they lack something.
    [[nodiscard]] bool areNotesIncomplete();
    /// Nothing is stored any more.
    void end();

private:
    struct Pending {
        std::span<Addition> additions;
        Result<> result;
        bool isDone = false;
    };

    Store(store::LibraryPaths libraryPaths, sqlite::Database opened)
        : paths(std::move(libraryPaths)), database(std::move(opened)), notes(paths) {}
    void commit(std::span<Pending *const> group) WL_EXCLUDES(databaseMutex);
    /// If it fails, a start after a crash does not find it done either, as far as the disk allows; else the
    /// problem says that it may.
    [[nodiscard]] Result<> commit(sqlite::Transaction &transaction) WL_REQUIRES(databaseMutex);
    [[nodiscard]] Result<> insert(std::span<Pending *const> group) WL_REQUIRES(databaseMutex);
    [[nodiscard]] Result<std::optional<AssetRecord>> findSum(const Sha256 &sum) WL_REQUIRES(databaseMutex);
    /// The same of one in the trash, which it takes out of there.
    [[nodiscard]] Result<std::optional<AssetRecord>> restoreSum(const Sha256 &sum) WL_REQUIRES(databaseMutex);
    /// The assets that a condition with these values selects.
    template <class... Values>
    [[nodiscard]] Result<std::vector<AssetRecord>> select(const char *condition, const Values &...values)
        WL_REQUIRES(databaseMutex);
    void afterCommit() WL_REQUIRES(databaseMutex);
    void noticeCounts() WL_REQUIRES(databaseMutex);
    void noticeBulletins() WL_REQUIRES(databaseMutex);
    void noticeChanges() WL_REQUIRES(databaseMutex);

    const store::LibraryPaths paths;
    Mutex mutex;
    Condition groupCommitted;
    std::vector<Pending *> pending WL_GUARDED_BY(mutex);
    bool isCommitting WL_GUARDED_BY(mutex) = false;

    Mutex databaseMutex; // never taken before the other one
    sqlite::Database database WL_GUARDED_BY(databaseMutex);
    bool failureMayBeFoundDone WL_GUARDED_BY(databaseMutex) = false;
    StoreNotes notes WL_GUARDED_BY(databaseMutex);
    Handler<void()> countsChanged WL_GUARDED_BY(databaseMutex);
    Handler<void()> bulletinsChanged WL_GUARDED_BY(databaseMutex);
    /// What they were after the last commit.
    std::string knownBulletins WL_GUARDED_BY(databaseMutex);
    Handler<void()> assetsChanged WL_GUARDED_BY(databaseMutex);
    /// The number of the last change of an asset.
    std::int64_t knownChange WL_GUARDED_BY(databaseMutex) = 0;
    mutable Mutex countsMutex; // never held for long
    std::optional<Counts> knownCounts WL_GUARDED_BY(countsMutex);
};

} // namespace wickerlane::hoardd

#endif
