#include "hoardd/library/Store.h"

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

Failure failedOn(const Database &database) {
    return fail(database.problem());
}

/// Lays out a new database, or takes the steps that an older one lacks.
Result<> bringUpToDate(Database &database, bool isNew) {
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen() || !store::layOut(database))
        return failedOn(database);
    if (isNew) {
        const auto uuid = UUID::createRandom();
        sqlite::Statement statement = database.prepare("INSERT INTO zlibrary VALUES (?)");
        if (!statement.bind(uuid->uuidString()->utf8()).run())
            return failedOn(database);
    }
    if (!transaction.commit())
        return failedOn(database);
    return {};
}

Result<> prepare(Database &database) {
    const auto version = database.integer("PRAGMA user_version");
    if (!version)
        return failedOn(database);
    if (*version < 0 || *version > store::modelVersion())
        return fail(ProblemKind::newerVersion, "the library has model version " + std::to_string(*version) +
                                                   ", and this hoardd knows version " +
                                                   std::to_string(store::modelVersion()));
    return *version < store::modelVersion() ? bringUpToDate(database, *version == 0) : Result<>();
}

} // namespace

Result<std::unique_ptr<Store>> Store::open(const store::LibraryPaths &paths) {
    auto database = Database::open(paths.database(), Database::Access::write);
    if (!database)
        return passOn(database);
    if (const auto prepared = prepare(*database); !prepared)
        return fail(prepared.error().kind, "can't open " + paths.database() + ": " + prepared.error().text,
                    paths.database());
    std::unique_ptr<Store> store(new Store(std::move(*database)));
    const MutexLock lock(store->databaseMutex);
    store->noticeCounts();
    return store;
}

// The first thread to come commits for all that come meanwhile; it goes on until nothing is left.
Result<> Store::add(std::span<Addition> additions) {
    Pending mine{additions, {}, false};
    MutexLock lock(mutex);
    pending.push_back(&mine);
    while (!mine.isDone) {
        if (isCommitting) {
            committed.wait(mutex);
            continue;
        }
        isCommitting = true;
        const std::vector<Pending *> group = std::exchange(pending, {});
        lock.unlock();
        commit(group);
        lock.lock();
        for (Pending *each : group)
            each->isDone = true;
        isCommitting = false;
        committed.notifyAll();
    }
    return mine.result;
}

void Store::commit(std::span<Pending *const> group) {
    const MutexLock lock(databaseMutex);
    const Result<> inserted = insert(group);
    // One that fails must not fail the others: each is tried alone.
    for (Pending *const &each : group)
        each->result = inserted || group.size() == 1 ? inserted : insert({&each, 1});
}

Result<> Store::insert(std::span<Pending *const> group) {
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen())
        return failed();
    sqlite::Statement statement = database.prepare(store::insertAsset);
    sqlite::Statement due = database.prepare("INSERT INTO zduethumbnail VALUES (?)");
    for (Pending *each : group)
        for (Addition &addition : each->additions) {
            // Within the transaction, so that of two equal ones the second finds the first.
            if (addition.unlessPresent) {
                auto present = findSum(addition.record.sha256);
                if (!present)
                    return passOn(present);
                if (*present) {
                    addition.wasPresent = true;
                    addition.record = **std::move(present);
                    continue;
                }
            }
            bindRecord(statement, addition.record);
            if (!statement.run())
                return failed();
            addition.record.primaryKey = database.lastRowID();
            if (addition.thumbnailsAreDue && !due.bind(addition.record.primaryKey).run())
                return failed();
        }
    if (!transaction.commit())
        return failed();
    noticeCounts();
    return {};
}

Failure Store::failed() {
    return failedOn(database);
}

void Store::whenCountsChange(Handler<void()> changed) {
    const MutexLock lock(databaseMutex);
    countsChanged = std::move(changed);
}

void Store::noticeCounts() {
    sqlite::Statement statement = database.prepare(store::selectCounts);
    if (!statement.next())
        return;
    const std::pair counts(statement.integer(0), statement.integer(1));
    if (std::exchange(knownCounts, counts) != counts && countsChanged)
        countsChanged();
}

Result<std::optional<store::AssetRecord>> Store::findSum(const store::Sha256 &sum) {
    sqlite::Statement statement =
        database.prepare(std::string(store::selectAssets) + "WHERE sha256 = ? ORDER BY pk LIMIT 1");
    if (statement.bind(Bytes(sum)).next())
        return store::readRecord(statement);
    if (statement.failed())
        return failed();
    return std::nullopt;
}

Result<std::optional<store::AssetRecord>> Store::assetWithSum(const store::Sha256 &sum) {
    const MutexLock lock(databaseMutex);
    return findSum(sum);
}

Result<bool> Store::contains(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    sqlite::Statement statement = database.prepare("SELECT 1 FROM zgenericasset WHERE uuid = ?");
    const bool found = statement.bind(uuid).next();
    if (statement.failed())
        return failed();
    return found;
}

Result<std::vector<store::AssetRecord>> Store::due(std::int64_t last, std::size_t limit) {
    const MutexLock lock(databaseMutex);
    sqlite::Statement statement =
        database.prepare(std::string(store::selectAssets) +
                         "WHERE pk IN (SELECT asset FROM zduethumbnail) AND pk > ? ORDER BY pk LIMIT ?");
    statement.bind(last, static_cast<std::int64_t>(limit));
    std::vector<store::AssetRecord> records;
    while (statement.next())
        records.push_back(store::readRecord(statement));
    if (statement.failed())
        return failed();
    return records;
}

Result<bool> Store::isDue(std::int64_t asset) {
    const MutexLock lock(databaseMutex);
    sqlite::Statement statement = database.prepare("SELECT 1 FROM zduethumbnail WHERE asset = ?");
    const bool found = statement.bind(asset).next();
    if (statement.failed())
        return failed();
    return found;
}

Result<std::string> Store::renditionOf(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    sqlite::Statement statement = database.prepare("SELECT filename FROM zrendition WHERE assetuuid = ?");
    if (statement.bind(uuid).next())
        return std::string(statement.text(0));
    if (statement.failed())
        return failed();
    return std::string();
}

Result<> Store::checkpoint() {
    const MutexLock lock(databaseMutex);
    if (!database.checkpoint())
        return failed();
    return {};
}

} // namespace wickerlane::hoardd
