#include "hoardd/library/Store.h"

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// Lays out a new database, or takes the steps that an older one lacks. An empty text on success, else the
/// reason.
std::string bringUpToDate(Database &database, bool isNew) {
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen() || !store::layOut(database))
        return database.problem();
    if (isNew) {
        const auto uuid = UUID::createRandom();
        sqlite::Statement statement = database.prepare("INSERT INTO zlibrary VALUES (?)");
        if (!statement.bind(uuid->uuidString()->utf8()).run())
            return database.problem();
    }
    return transaction.commit() ? std::string() : database.problem();
}

} // namespace

std::unique_ptr<Store> Store::open(const store::LibraryPaths &paths, std::string &problem) {
    auto database = Database::open(paths.database(), Database::Access::write, problem);
    if (!database)
        return nullptr;
    const auto version = database->integer("PRAGMA user_version");
    if (!version)
        problem = database->problem();
    else if (*version < 0 || *version > store::modelVersion())
        problem = "the library has model version " + std::to_string(*version) +
                  ", and this hoardd knows version " + std::to_string(store::modelVersion());
    else if (*version < store::modelVersion())
        problem = bringUpToDate(*database, *version == 0);
    else
        problem.clear();
    if (!problem.empty()) {
        problem = "can't open " + paths.database() + ": " + problem;
        return nullptr;
    }
    std::unique_ptr<Store> store(new Store(std::move(*database)));
    store->noticeCounts();
    return store;
}

// The first thread to come commits for all that come meanwhile; it goes on until nothing is left.
std::string Store::add(std::span<Addition> additions) {
    Pending mine{additions, {}, false};
    std::unique_lock guard(lock);
    pending.push_back(&mine);
    while (!mine.done) {
        if (isCommitting) {
            committed.wait(guard);
            continue;
        }
        isCommitting = true;
        const std::vector<Pending *> group = std::exchange(pending, {});
        guard.unlock();
        commit(group);
        guard.lock();
        for (Pending *each : group)
            each->done = true;
        isCommitting = false;
        committed.notify_all();
    }
    return mine.problem;
}

void Store::commit(std::span<Pending *const> group) {
    const std::lock_guard guard(databaseLock);
    const std::string problem = insert(group);
    if (problem.empty())
        return;
    // So that nobody fails for another's fault, each is tried alone.
    if (group.size() == 1)
        group.front()->problem = problem;
    else
        for (Pending *const &each : group)
            each->problem = insert({&each, 1});
}

std::string Store::insert(std::span<Pending *const> group) {
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen())
        return database.problem();
    sqlite::Statement statement = database.prepare(store::insertAsset);
    sqlite::Statement due = database.prepare("INSERT INTO zduethumbnail VALUES (?)");
    for (Pending *each : group)
        for (Addition &addition : each->additions) {
            // Within the transaction, so that of two equal ones the second finds the first.
            if (addition.unlessPresent)
                if (auto present = findSum(addition.record.sha256)) {
                    addition.wasPresent = true;
                    addition.record = *std::move(present);
                    continue;
                }
            bindRecord(statement, addition.record);
            if (!statement.run())
                return database.problem();
            addition.record.primaryKey = database.lastRowID();
            if (addition.thumbnailsAreDue && !due.bind(addition.record.primaryKey).run())
                return database.problem();
        }
    if (!transaction.commit())
        return database.problem();
    noticeCounts();
    return {};
}

void Store::noticeCounts() {
    sqlite::Statement statement = database.prepare(store::selectCounts);
    if (!statement.next())
        return;
    const std::pair counts(statement.integer(0), statement.integer(1));
    if (std::exchange(knownCounts, counts) != counts && countsChanged)
        countsChanged();
}

std::optional<store::AssetRecord> Store::findSum(const store::Sha256 &sum) {
    sqlite::Statement statement =
        database.prepare(std::string(store::selectAssets) + "WHERE sha256 = ? ORDER BY pk LIMIT 1");
    if (!statement.bind(Bytes(sum)).next())
        return std::nullopt;
    return store::readRecord(statement);
}

std::optional<store::AssetRecord> Store::assetWithSum(const store::Sha256 &sum) {
    const std::lock_guard guard(databaseLock);
    return findSum(sum);
}

std::optional<bool> Store::contains(std::string_view uuid) {
    const std::lock_guard guard(databaseLock);
    sqlite::Statement statement = database.prepare("SELECT 1 FROM zgenericasset WHERE uuid = ?");
    const bool found = statement.bind(uuid).next();
    return statement.failed() ? std::nullopt : std::optional(found);
}

std::optional<std::vector<store::AssetRecord>> Store::due(std::int64_t last, std::size_t most) {
    const std::lock_guard guard(databaseLock);
    sqlite::Statement statement =
        database.prepare(std::string(store::selectAssets) +
                         "WHERE pk IN (SELECT asset FROM zduethumbnail) AND pk > ? ORDER BY pk LIMIT ?");
    statement.bind(last, static_cast<std::int64_t>(most));
    std::vector<store::AssetRecord> records;
    while (statement.next())
        records.push_back(store::readRecord(statement));
    return statement.failed() ? std::nullopt : std::optional(std::move(records));
}

bool Store::isDue(std::int64_t asset) {
    const std::lock_guard guard(databaseLock);
    sqlite::Statement statement = database.prepare("SELECT 1 FROM zduethumbnail WHERE asset = ?");
    return statement.bind(asset).next();
}

std::string Store::renditionOf(std::string_view uuid) {
    const std::lock_guard guard(databaseLock);
    sqlite::Statement statement = database.prepare("SELECT filename FROM zrendition WHERE assetuuid = ?");
    return statement.bind(uuid).next() ? std::string(statement.text(0)) : std::string();
}

std::string Store::change(const Handler<bool(Database &)> &make) {
    const std::lock_guard guard(databaseLock);
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen() || !make(database) || !transaction.commit())
        return database.problem();
    noticeCounts();
    return {};
}

bool Store::checkpoint() {
    const std::lock_guard guard(databaseLock);
    return database.checkpoint();
}

} // namespace wickerlane::hoardd
