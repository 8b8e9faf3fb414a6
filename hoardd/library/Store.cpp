#include "hoardd/library/Store.h"

#include <limits>

#include "hoardd/library/Failures.h"
#include "hoardd/library/State.h"
#include "hoardd/library/StoreBackups.h"
#include "hoardd/library/StoreIdentity.h"
#include "hoardd/library/TrashStore.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::hoardd {

using sqlite::Database;

namespace {

/// Gives the store an identity unless it has one: a new one, or one that has lost it. URLs of object IDs hold
/// it.
Result<> giveIdentity(Database &database, const store::LibraryPaths &paths) {
    const auto hasOne = database.prepare("SELECT 1 FROM zlibrary").any();
    if (!hasOne)
        return passOn(hasOne);
    if (*hasOne)
        return {};
    return database.prepare("INSERT INTO zlibrary VALUES (?)")
        .bind(formerIdentity(paths, readNotes(paths)))
        .run();
}

/// Lays out a new database, or takes the steps that an older one lacks.
Result<> prepare(Database &database, const store::LibraryPaths &paths) {
    const auto version = database.integer("PRAGMA user_version");
    if (!version)
        return passOn(version);
    if (*version == store::modelVersion())
        return giveIdentity(database, paths);
    const auto hasTables = database.prepare("SELECT 1 FROM sqlite_schema").any();
    if (!hasTables)
        return passOn(hasTables);
    if (*version == 0 && *hasTables)
        return fail(ProblemKind::damagedStore, "it has tables and no version");
    if (*version > 0 && *version < store::modelVersion()) {
        const auto backedUp = backUpStore(paths);
        if (!backedUp && backedUp.error().kind == ProblemKind::damagedStore)
            return backedUp;
        if (!backedUp)
            JX_LOG(JXLogLevelError, JXPhotosStateLog,
                   "can't back the store up before it is brought up to date: %s",
                   backedUp.error().text.c_str());
    }
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen())
        return fail(database.problem());
    if (const auto laidOut = store::layOut(database); !laidOut)
        return laidOut;
    if (const auto named = giveIdentity(database, paths); !named)
        return named;
    const auto done = transaction.commit();
    if (done && *version > 0)
        consoleLog("hoardd: the library was brought up to date: its model version was %lld, and is %lld now",
                   static_cast<long long>(*version), static_cast<long long>(store::modelVersion()));
    return done;
}

} // namespace

namespace {

Result<Database> openPrepared(const store::LibraryPaths &paths) {
    auto database = Database::open(paths.database(), Database::Access::write);
    if (!database)
        return passOn(database);
    if (const auto prepared = prepare(*database, paths); !prepared)
        return fail(inContext("can't open " + paths.database(), prepared.error(), paths.database()));
    return database;
}

} // namespace

namespace {

constexpr std::int64_t allRounds = std::numeric_limits<std::int64_t>::max();

/// The thumbnails that were made for rounds up to this one are due again, so that their size is unknown.
Result<> noteRoundsLost(Database &database, std::int64_t round) {
    for (const char *update :
         {"UPDATE zgenericasset SET derivedbytes = NULL WHERE derivedbytes IS NOT NULL AND "
          "pk IN (SELECT asset FROM zduethumbnail WHERE made BETWEEN 1 AND ?)",
          "UPDATE zduethumbnail SET made = 0 WHERE made BETWEEN 1 AND ?",
          "UPDATE ztrashedasset SET derivedbytes = NULL WHERE derivedbytes IS NOT NULL AND "
          "pk IN (SELECT asset FROM ztrashedduethumbnail WHERE made BETWEEN 1 AND ?)",
          "UPDATE ztrashedduethumbnail SET made = 0 WHERE made BETWEEN 1 AND ?"})
        if (auto noted = database.prepare(update).bind(round).run(); !noted)
            return noted;
    return {};
}

Result<> insertCompanion(Database &database, std::string_view uuid, const store::Companion &companion) {
    return database
        .prepare("INSERT INTO zcompanion (assetuuid, filename, originalfilename, format, bytesize, sha256) "
                 "VALUES (?, ?, ?, ?, ?, ?)")
        .bind(uuid, companion.filename, companion.originalFilename, companion.format, companion.byteSize,
              Bytes(companion.sha256))
        .run();
}

} // namespace

Result<std::unique_ptr<Store>> Store::open(const store::LibraryPaths &paths) {
    auto database = openPrepared(paths);
    if (!database)
        return passOn(database);
    std::unique_ptr<Store> store(new Store(paths, std::move(*database)));
    const MutexLock lock(store->databaseMutex);
    if (const auto watched = store->notes.watch(store->database); !watched)
        return fail(inContext("can't open " + paths.database(), watched.error(), paths.database()));
    // Of an earlier process, which did not come to sync them.
    if (const auto due = noteRoundsLost(store->database, allRounds); !due)
        return fail(inContext("can't open " + paths.database(), due.error(), paths.database()));
    store->noticeChanges();
    return store;
}

Result<MendedStore> Store::mend() {
    const MutexLock lock(databaseMutex);
    auto mended = mendStore(paths, &database);
    if (!mended || !mended->isReplaced)
        return mended;
    auto renewed = openPrepared(paths);
    if (!renewed)
        return passOn(renewed);
    database = *std::move(renewed);
    if (const auto watched = notes.watch(database); !watched)
        return passOn(watched);
    noticeChanges();
    if (assetsChanged) // though the numbers of its changes may be the same
        assetsChanged();
    return mended;
}

Result<> Store::rewriteNotes() {
    std::uint64_t last = 0;
    {
        const MutexLock lock(databaseMutex);
        last = notes.beginFile();
    }
    auto reader = Database::open(paths.database(), Database::Access::read);
    if (!reader)
        return passOn(reader);
    const sqlite::Snapshot snapshot(*reader);
    return hoardd::rewriteNotes(paths, last, *reader, forgottenRows(paths, *reader));
}

bool Store::areNotesIncomplete() {
    const MutexLock lock(databaseMutex);
    return notes.areIncomplete();
}

void Store::end() {
    const MutexLock lock(databaseMutex);
    notes.end();
}

void Store::afterCommit() {
    noticeChanges();
    notes.noteChanges(database);
}

// The first thread to come commits for all that come meanwhile; it goes on until nothing is left.
Result<> Store::add(std::span<Addition> additions) {
    Pending mine{additions, {}, false};
    MutexLock lock(mutex);
    pending.push_back(&mine);
    while (!mine.isDone) {
        if (isCommitting) {
            groupCommitted.wait(mutex);
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
        groupCommitted.notifyAll();
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

// What could be written to the log but not synced would be found there after a crash. Another commit takes
// its place in the log.
Result<> Store::commit(sqlite::Transaction &transaction) {
    const auto committed = transaction.commit();
    failureMayBeFoundDone = !committed;
    if (committed)
        return committed;
    transaction.rollBack();
    sqlite::Transaction other(database);
    const auto failures = state::get(database, state::failedCommits);
    failureMayBeFoundDone = !failures ||
                            !state::set(database, state::failedCommits, failures->value_or(0) + 1) ||
                            !other.commit();
    if (!failureMayBeFoundDone)
        return committed;
    Problem problem = committed.error();
    problem.text += "; it may be found done after a restart";
    return fail(std::move(problem));
}

Result<> Store::insert(std::span<Pending *const> group) {
    sqlite::Transaction transaction(database);
    if (!transaction.isOpen())
        return fail(database.problem());
    sqlite::Statement statement = database.prepare(store::insertAsset);
    sqlite::Statement due = database.prepare("INSERT INTO zduethumbnail (asset, made) VALUES (?, ?)");
    sqlite::Statement facts = database.prepare("INSERT INTO zduefacts VALUES (?, ?)");
    sqlite::Statement size = database.prepare("UPDATE zgenericasset SET derivedbytes = ? WHERE pk = ?");
    struct Found {
        Addition *addition;
        AssetRecord record;
        bool cameBack;
    };
    std::vector<Found> found; // handed back once they are committed
    for (Pending *each : group)
        for (Addition &addition : each->additions) {
            // Within the transaction, so that of two equal ones the second finds the first.
            if (addition.unlessPresent) {
                const Sha256 &sum = addition.record.sha256;
                auto present = findSum(sum);
                const bool mayComeBack = present && !*present && !addition.leavesTrashAlone;
                if (mayComeBack)
                    present = restoreSum(sum);
                if (!present)
                    return passOn(present);
                if (*present) {
                    found.push_back({&addition, **std::move(present), mayComeBack});
                    continue;
                }
            }
            store::bindRecord(statement, addition.record);
            if (const auto added = statement.run(); !added)
                return added;
            addition.record.primaryKey = database.lastRowID();
            if (addition.companion)
                if (const auto added = insertCompanion(database, addition.record.uuid, *addition.companion);
                    !added)
                    return added;
            if (const auto noted = due.bind(addition.record.primaryKey, addition.thumbnailRound).run();
                !noted)
                return noted;
            if (addition.thumbnailRound != 0)
                if (const auto noted = size.bind(addition.thumbnailBytes, addition.record.primaryKey).run();
                    !noted)
                    return noted;
            if (addition.dueFacts == DueFacts::none)
                continue;
            const bool hasDate = addition.dueFacts == DueFacts::all;
            if (const auto noted = facts.bind(addition.record.primaryKey, hasDate).run(); !noted)
                return noted;
        }
    if (const auto committed = commit(transaction); !committed)
        return committed;
    for (Found &each : found) {
        each.addition->wasPresent = true;
        each.addition->cameBack = each.cameBack;
        each.addition->record = std::move(each.record);
    }
    afterCommit();
    return {};
}

Result<> Store::remove(std::string_view uuid, AssetPlace from) {
    return change([=](Database &opened) {
        if (from == AssetPlace::trash)
            return deleteFromTrash(opened, uuid);
        return opened.prepare("DELETE FROM zgenericasset WHERE uuid = ?").bind(uuid).run();
    });
}

bool Store::mayFailureBeFoundDone() {
    const MutexLock lock(databaseMutex);
    return failureMayBeFoundDone;
}

void Store::whenCountsChange(Handler<void()> changed) {
    const MutexLock lock(databaseMutex);
    countsChanged = std::move(changed);
}

void Store::whenBulletinsChange(Handler<void()> changed) {
    const MutexLock lock(databaseMutex);
    bulletinsChanged = std::move(changed);
}

void Store::whenAssetsChange(Handler<void()> changed) {
    const MutexLock lock(databaseMutex);
    assetsChanged = std::move(changed);
}

std::optional<Store::Counts> Store::counts() const {
    const MutexLock lock(countsMutex);
    return knownCounts;
}

void Store::noticeCounts() {
    const auto read = database.prepare(store::selectCounts).first([](const sqlite::Statement &row) {
        return Counts{static_cast<std::uint64_t>(row.integer(0)), static_cast<std::uint64_t>(row.integer(1))};
    });
    const std::optional<Counts> now = read ? *read : std::nullopt;
    std::optional<Counts> before;
    {
        const MutexLock lock(countsMutex);
        before = std::exchange(knownCounts, now);
    }
    if (now && now != before && countsChanged)
        countsChanged();
}

// There are few of them.
void Store::noticeBulletins() {
    const auto read = database
                          .prepare("SELECT group_concat(recordid || ' ' || photos || ' ' || videos || ' ' || "
                                   "coalesce(asset, '')) FROM zbulletin")
                          .first([](const sqlite::Statement &row) { return std::string(row.text(0)); });
    if (!read)
        return;
    std::string now = read->value_or("");
    if (now == knownBulletins)
        return;
    knownBulletins = std::move(now);
    if (bulletinsChanged)
        bulletinsChanged();
}

void Store::noticeChanges() {
    noticeCounts();
    noticeBulletins();
    // The numbers last given to changes: they stay when the lists of changes are cleared.
    const auto change =
        database.integer("SELECT sum(seq) FROM sqlite_sequence WHERE name IN ('zchange', 'zmomentchange')");
    if (change && std::exchange(knownChange, *change) != *change && assetsChanged)
        assetsChanged();
}

Result<std::optional<AssetRecord>> Store::findSum(const Sha256 &sum) {
    for (const char *condition : {"WHERE sha256 = ? ORDER BY pk LIMIT 1",
                                  "WHERE uuid IN (SELECT assetuuid FROM zcompanion WHERE sha256 = ?) "
                                  "ORDER BY pk LIMIT 1"}) {
        auto found = database.prepare(std::string(store::selectAssets) + condition)
                         .bind(Bytes(sum))
                         .first(store::readRecord);
        if (!found || (*found && faultOf(**found).empty()))
            return found;
    }
    return std::optional<AssetRecord>();
}

Result<std::optional<AssetRecord>> Store::restoreSum(const Sha256 &sum) {
    const auto trashed = trashedWithSum(database, sum);
    if (!trashed)
        return passOn(trashed);
    if (!*trashed)
        return std::optional<AssetRecord>();
    if (const auto taken = takeFromTrash(database, **trashed); !taken)
        return passOn(taken);
    return findSum(sum);
}

Result<std::optional<AssetRecord>> Store::assetWithSum(const Sha256 &sum) {
    const MutexLock lock(databaseMutex);
    return findSum(sum);
}

Result<std::optional<store::Companion>> Store::companionOf(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    return store::readCompanion(database, uuid);
}

Result<> Store::addCompanion(std::string_view uuid, const store::Companion &companion) {
    return change([&](Database &opened) { return insertCompanion(opened, uuid, companion); });
}

Result<bool> Store::contains(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    return database.prepare("SELECT 1 FROM zgenericasset WHERE uuid = ?").bind(uuid).any();
}

Result<bool> Store::knows(std::string_view uuid) {
    const auto isThere = contains(uuid);
    if (!isThere || *isThere)
        return isThere;
    const MutexLock lock(databaseMutex);
    return isInTrash(database, uuid);
}

namespace {

/// The pages of a damaged store can give keys in an order that is none, and a loop that asks for those after
/// the last would not end.
Result<std::vector<AssetRecord>> ascending(Result<std::vector<AssetRecord>> assets, std::int64_t last) {
    if (assets)
        for (const AssetRecord &each : *assets)
            if (each.primaryKey <= std::exchange(last, each.primaryKey))
                return fail(ProblemKind::damagedStore, "the store's assets are in no order");
    return assets;
}

} // namespace

template <class... Values>
Result<std::vector<AssetRecord>> Store::select(const char *condition, const Values &...values) {
    return database.prepare(std::string(store::selectAssets) + condition)
        .bind(values...)
        .all(store::readRecord);
}

Result<std::vector<AssetRecord>> Store::due(std::int64_t last, std::size_t limit) {
    const MutexLock lock(databaseMutex);
    return ascending(
        select("WHERE pk IN (SELECT asset FROM zduethumbnail WHERE made = 0) AND pk > ? ORDER BY pk LIMIT ?",
               last, limit),
        last);
}

Result<std::vector<AssetRecord>> Store::decodable(std::int64_t last, std::size_t limit) {
    const MutexLock lock(databaseMutex);
    return ascending(select("WHERE pk > ? AND (problem = '' OR width > 0) ORDER BY pk LIMIT ?", last, limit),
                     last);
}

Result<std::uint64_t> Store::countDecodable() {
    const MutexLock lock(databaseMutex);
    return database.integer("SELECT count(*) FROM zgenericasset WHERE problem = '' OR width > 0")
        .map([](std::int64_t count) { return static_cast<std::uint64_t>(count); });
}

Result<std::vector<AssetRecord>> Store::addedSince(double date) {
    const MutexLock lock(databaseMutex);
    return select("WHERE dateadded > ? ORDER BY pk DESC", date);
}

Result<bool> Store::isDue(std::int64_t asset) {
    const MutexLock lock(databaseMutex);
    return database.prepare("SELECT 1 FROM zduethumbnail WHERE asset = ? AND made = 0").bind(asset).any();
}

Result<> Store::noteSynced(std::int64_t round) {
    return change([&](sqlite::Database &written) {
        return written.prepare("DELETE FROM zduethumbnail WHERE made BETWEEN 1 AND ?").bind(round).run();
    });
}

Result<> Store::noteLost(std::int64_t round) {
    return change([&](sqlite::Database &written) { return noteRoundsLost(written, round); });
}

Result<Store::DueFacts> Store::dueFacts(std::int64_t asset) {
    const MutexLock lock(databaseMutex);
    const auto date = database.prepare("SELECT date FROM zduefacts WHERE asset = ?")
                          .bind(asset)
                          .first([](const sqlite::Statement &row) { return row.integer(0) != 0; });
    if (!date)
        return passOn(date);
    return !*date ? DueFacts::none : **date ? DueFacts::all : DueFacts::allButDate;
}

Result<std::string> Store::renditionOf(std::string_view uuid) {
    const MutexLock lock(databaseMutex);
    const auto name = database.prepare("SELECT filename FROM zrendition WHERE assetuuid = ?")
                          .bind(uuid)
                          .first([](const sqlite::Statement &row) { return std::string(row.text(0)); });
    if (!name)
        return passOn(name);
    return name->value_or("");
}

Result<> Store::setExternalUsageIntent(std::int64_t asset, std::uint64_t intent) {
    return change([=](Database &opened) {
        return opened.prepare("UPDATE zgenericasset SET externalusageintent = ? WHERE pk = ?")
            .bind(intent, asset)
            .run();
    });
}

Result<> Store::checkpoint() {
    const MutexLock lock(databaseMutex);
    return database.checkpoint();
}

} // namespace wickerlane::hoardd
