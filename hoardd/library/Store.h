// Writing the library's store.
#ifndef HOARDD_LIBRARY_STORE_H
#define HOARDD_LIBRARY_STORE_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// The one connection that writes the database and checkpoints it: the process that has it holds the
/// library's lock. Thread-safe.
class Store {
public:
    /// An asset to be added.
    struct Addition {
        store::AssetRecord record;     ///< Gets its primary key; or becomes the one that was present.
        bool unlessPresent = false;    ///< Not when there is one with the same sum.
        bool wasPresent = false;       ///< There was: nothing has been added.
        bool thumbnailsAreDue = false; ///< They are still to be made; see due().
    };

    /// Opens the database, and lays it out when it is new. Null, with a reason, on failure.
    [[nodiscard]] static std::unique_ptr<Store> open(const store::LibraryPaths &paths, std::string &problem);

    /// Adds assets, all or none, and gives them their primary keys. Returns when they will survive any crash.
    /// What several threads add at the same time is committed in one transaction. An empty text on success,
    /// else the reason.
    [[nodiscard]] std::string add(std::span<Addition> additions);

    /// The oldest asset whose original has that sum; nothing when there is none.
    [[nodiscard]] std::optional<store::AssetRecord> assetWithSum(const store::Sha256 &sum);

    /// Whether there is an asset with that UUID; nothing when the database does not say.
    [[nodiscard]] std::optional<bool> contains(std::string_view uuid);

    /// Assets whose thumbnails are due: of those with primary keys after `last`, in their order, at most
    /// `most`. Nothing when the database does not say.
    [[nodiscard]] std::optional<std::vector<store::AssetRecord>> due(std::int64_t last, std::size_t most);

    /// Whether an asset is there and its thumbnails are due.
    [[nodiscard]] bool isDue(std::int64_t asset);

    /// The file name of an asset's edited rendition; empty when it has none.
    [[nodiscard]] std::string renditionOf(std::string_view uuid);

    /// Runs `make` in a transaction, which is rolled back when it gives false: a statement of it has failed
    /// then. Returns when the change will survive any crash. An empty text on success, else the reason.
    /// `make` should be quick, since nothing else is stored meanwhile.
    [[nodiscard]] std::string change(const Handler<bool(sqlite::Database &)> &make);

    /// Has `changed`, which should be quick, called after each commit that leaves more or fewer photos or
    /// videos. Before other threads use the store.
    void whenCountsChange(Handler<void()> changed) { countsChanged = std::move(changed); }

    /// Moves what was written into the database file, so that it stands alone. False on failure.
    [[nodiscard]] bool checkpoint();

private:
    struct Pending {
        std::span<Addition> additions;
        std::string problem;
        bool done = false;
    };

    explicit Store(sqlite::Database opened) : database(std::move(opened)) {}
    [[nodiscard]] std::optional<store::AssetRecord> findSum(const store::Sha256 &sum);
    void commit(std::span<Pending *const> group);
    [[nodiscard]] std::string insert(std::span<Pending *const> group);
    void noticeCounts();

    std::mutex lock; // of what follows but the database, which is the committing thread's
    std::condition_variable committed;
    std::vector<Pending *> pending;
    bool isCommitting = false;

    std::mutex databaseLock;
    sqlite::Database database;
    Handler<void()> countsChanged;
    std::pair<std::int64_t, std::int64_t> knownCounts; // of photos and videos, after the last commit
};

} // namespace wickerlane::hoardd

#endif
