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

Result<> Store::remove(std::string_view uuid) {
    return change([&](Database &opened) {
        return opened.prepare("DELETE FROM zgenericasset WHERE uuid = ?").bind(uuid).run();
    });
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
    return database.prepare(std::string(store::selectAssets) + "WHERE sha256 = ? ORDER BY pk LIMIT 1")
        .bind(Bytes(sum))
        .first(store::readRecord);
}

Result<std::optional<store::AssetRecord>> Store::assetWithSum(const store::Sha256 &sum) {
    const MutexLock lock(databaseMutex);
    return findSum(sum);
}

Result<bool> Store::contains(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    return database.prepare("SELECT 1 FROM zgenericasset WHERE uuid = ?").bind(uuid).any();
}

Result<std::vector<store::AssetRecord>> Store::due(std::int64_t last, std::size_t limit) {
    const MutexLock lock(databaseMutex);
    return database
        .prepare(std::string(store::selectAssets) +
                 "WHERE pk IN (SELECT asset FROM zduethumbnail) AND pk > ? ORDER BY pk LIMIT ?")
        .bind(last, static_cast<std::int64_t>(limit))
        .all(store::readRecord);
}

Result<bool> Store::isDue(std::int64_t asset) {
    const MutexLock lock(databaseMutex);
    return database.prepare("SELECT 1 FROM zduethumbnail WHERE asset = ?").bind(asset).any();
}

Result<std::string> Store::renditionOf(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    const auto filename = database.prepare("SELECT filename FROM zrendition WHERE assetuuid = ?")
                              .bind(uuid)
                              .first([](const sqlite::Statement &row) { return std::string(row.text(0)); });
    return filename.map(
        [](const std::optional<std::string> &found) { return found.value_or(std::string()); });
}

Result<> Store::checkpoint() {
    const MutexLock lock(databaseMutex);
    if (!database.checkpoint())
        return failed();
    return {};
}

} // namespace wickerlane::hoardd
