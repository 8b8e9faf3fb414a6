#include "hoardd/library/StoreMending.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <set>

#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/StoreBackups.h"
#include "hoardd/library/StoreIdentity.h"
#include "hoardd/library/StoreNotes.h"
#include "hoardd/library/StoreSalvage.h"
#include "hoardd/library/TrashStore.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/KeptSums.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/StoreHistory.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;
using sqlite::Database;
using sqlite::Statement;
using store::LibraryPaths;

namespace {

constexpr const char *fileSuffixes[] = {"", "-wal", "-shm"};
constexpr const char *assetTable = "zgenericasset";
constexpr const char *trashTable = "ztrashedasset";

std::string mendingPath(const LibraryPaths &paths) {
    return paths.database() + ".mending"; // until it is complete
}
std::string mendedPath(const LibraryPaths &paths) {
    return paths.database() + ".mended";
}

std::string dateForName() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &parts)};
}

/// A name beside the database that no file has.
std::string freePath(const LibraryPaths &paths, const char *what) {
    const std::string start = paths.database() + '.' + what + '-' + dateForName();
    std::string path = start;
    for (int number = 2; fs::exists(path) || fs::exists(path + ".txt"); ++number)
        path = start + '-' + std::to_string(number);
    return path;
}

void removeDatabase(const std::string &path) {
    for (const char *suffix : {"", "-wal", "-shm", "-journal"})
        ::unlink((path + suffix).c_str());
}

Result<> moveDatabase(const std::string &path, const std::string &place) {
    for (const char *suffix : fileSuffixes)
        if (::rename((path + suffix).c_str(), (place + suffix).c_str()) != 0 && errno != ENOENT)
            return failSystem("move", path + suffix);
    return {};
}

Result<> setIdentity(Database &database, const std::string &uuid) {
    return database.execute("DELETE FROM zlibrary").and_then([&] {
        return database.prepare("INSERT INTO zlibrary VALUES (?)").bind(uuid).run();
    });
}

/// Whether making the indexes again can mend all of it.
bool areOfIndexes(const std::vector<std::string> &faults) {
    return std::ranges::all_of(faults, [](const std::string &fault) {
        return fault.find("missing from index") != std::string::npos ||
               fault.starts_with("wrong # of entries in index") ||
               fault.starts_with("non-unique entry in index");
    });
}

constexpr const char *noIdentity = "it has no identity";

/// What was done, if anything could be.
std::optional<std::string> mendInPlace(const LibraryPaths &paths, Database *writer,
                                       const std::vector<std::string> &faults) {
    const bool isIdentity = faults.front() == noIdentity;
    if (!isIdentity && !areOfIndexes(faults))
        return std::nullopt;
    std::optional<Database> own;
    if (writer == nullptr) {
        auto opened = Database::open(paths.database(), Database::Access::write);
        if (!opened)
            return std::nullopt;
        writer = &own.emplace(*std::move(opened));
    }
    if (isIdentity && setIdentity(*writer, formerIdentity(paths, readNotes(paths))))
        return "the store has its identity again";
    if (!isIdentity && writer->execute("REINDEX;"))
        return "the indexes of the store were made again";
    return std::nullopt;
}

Result<> takeSteps(Database &database, std::int64_t count) {
    for (const char *step : store::schemaSteps().first(static_cast<std::size_t>(count)))
        if (const auto done = database.execute(step); !done)
            return done;
    return database.execute(("PRAGMA user_version = " + std::to_string(count)).c_str());
}

/// A new store that is put together from what there is.
class Rebuild {
public:
    Rebuild(const LibraryPaths &library, Database target)
        : paths(library), database(std::move(target)), notes(readNotes(library)) {}

    Result<> run() {
        if (const auto without = database.execute("PRAGMA foreign_keys=OFF;"); !without)
            return without;
        // When the disk is full SQLite rolls it back, and the commit fails.
        sqlite::Transaction transaction(database);
        if (!transaction.isOpen())
            return fail(database.problem());
        const auto taken = takeFromDamaged().and_then([&] {
            database.setTriggersRun(true); // which the steps may count on
            return store::layOut(database);
        });
        database.setTriggersRun(false); // rows come as they were
        if (!taken)
            return taken;
        if (const auto dropped = dropUnsoundRows(); !dropped)
            return dropped;
        noteCount("the damaged store");
        takeFromNotes();
        noteCount("the notes beside it");
        takeFromBackup();
        const auto done = complete().and_then([&] { return transaction.commit(); });
        if (!done)
            return done;
        const auto faults = database.faults(1);
        if (!faults)
            return passOn(faults);
        if (!faults->empty())
            return fail(ProblemKind::failed, "the new store is not sound: " + faults->front());
        return database.checkpoint();
    }
    [[nodiscard]] std::string summary() const { return sources.empty() ? "no assets" : sources; }

private:
    /// A table that the layout fills says nothing that the damaged one could add to.
    Result<> takeFromDamaged() {
        auto damaged = Database::open(paths.database(), Database::Access::read);
        std::int64_t version = store::modelVersion();
        if (damaged) {
            static_cast<void>(damaged->execute("PRAGMA cell_size_check=ON;"));
            const std::int64_t said = damaged->integer("PRAGMA user_version").value_or(version);
            if (said > 0 && said < version)
                version = said;
        }
        const auto laidOut =
            version == store::modelVersion() ? store::layOut(database) : takeSteps(database, version);
        if (!laidOut)
            return laidOut;
        database.setTriggersRun(false); // rows come as they were
        for (const std::string &table : tablesOf(database)) {
            const bool isFilled =
                database.prepare("SELECT 1 FROM " + table + " LIMIT 1").any().value_or(false);
            if (isFilled || (damaged && salvageTable(*damaged, database, table)))
                whole.insert(table);
        }
        if (damaged)
            keepSequences(*damaged);
        return {};
    }

    Result<> dropUnsoundRows() {
        std::vector<std::int64_t> unsound;
        const auto read =
            database.prepare(std::string(store::selectAssets)).forEach([&](const Statement &row) {
                const AssetRecord record = store::readRecord(row);
                if (!faultOf(record).empty())
                    unsound.push_back(record.primaryKey);
            });
        if (!read)
            return read;
        if (!unsound.empty())
            whole.erase(assetTable);
        for (const std::int64_t key : unsound)
            if (const auto done = database.prepare("DELETE FROM zgenericasset WHERE pk = ?").bind(key).run();
                !done)
                return done;
        return {};
    }

    [[nodiscard]] bool hasFile(std::string_view directory, std::string_view filename) const {
        AssetRecord asset;
        asset.directory = directory;
        asset.filename = filename;
        return !directory.empty() && ::access(paths.original(asset).c_str(), F_OK) == 0;
    }

    void takeFromNotes() {
        for (const auto &[name, columns] : notes) {
            const std::string &table = name.first;
            if (whole.contains(table) || table == "zlibrary")
                continue;
            if (table != assetTable ||
                hasFile(notedText(columns, "directory"), notedText(columns, "filename")))
                static_cast<void>(insertNotedRow(database, table, columns));
        }
    }

    void takeFromBackup() {
        for (const std::string &path : storeBackups(paths)) {
            if (whole.size() >= tablesOf(database).size() || !checkStoreFile(path))
                continue;
            auto backup = Database::open(path, Database::Access::read);
            if (!backup)
                continue;
            for (const std::string &table : tablesOf(database)) {
                if (whole.contains(table))
                    continue;
                const WantsFile wants = [this](std::string_view directory, std::string_view filename) {
                    return hasFile(directory, filename);
                };
                static_cast<void>(
                    salvageTable(*backup, database, table,
                                 table == assetTable || table == trashTable ? wants : WantsFile()));
            }
            keepSequences(*backup);
            noteCount("the backup " + std::string(lastPathComponent(path)));
            return;
        }
    }

    /// So that no key is used again for another row.
    void keepSequences(Database &from) {
        static_cast<void>(
            from.prepare("SELECT name, seq FROM sqlite_sequence").forEach([&](const Statement &row) {
                static_cast<void>(
                    database.prepare("UPDATE sqlite_sequence SET seq = max(seq, ?2) WHERE name = ?1")
                        .bind(std::string(row.text(0)), row.integer(1))
                        .run());
            }));
    }

    Result<> complete() {
        auto identity = identityIn(database);
        if (!identity)
            identity = formerIdentity(paths, notes);
        return setIdentity(database, *identity)
            // What was deleted since the backup.
            .and_then([&] {
                return database.execute(
                    "DELETE FROM zgenericasset WHERE uuid IN (SELECT uuid FROM ztrashedasset);");
            })
            .and_then([&] { return keepKeysOfTrash(database); })
            .and_then([&] { return removeOrphans(database); })
            .and_then([&] {
                return database.execute(
                    "UPDATE zalbum SET cachedcount = (SELECT count(*) FROM zalbumasset WHERE album = "
                    "zalbum.pk);"
                    // Moments are written again even if they seem right, and with them their lists.
                    "UPDATE zmoment SET assetcount = 0;"
                    "DELETE FROM zmomentlist WHERE pk NOT IN (SELECT coalesce(list, 0) FROM zmoment);"
                    "INSERT INTO zmomentchange (date) SELECT coalesce(clockdate, datecreated) FROM "
                    "zgenericasset;"
                    "INSERT INTO zduefingerprint SELECT a.pk FROM zgenericasset a "
                    "LEFT JOIN zfingerprint f ON f.asset = a.pk "
                    "WHERE (f.asset IS NULL OR f.thumbnailindex <> a.thumbnailindex) AND "
                    "NOT EXISTS (SELECT 1 FROM zduefingerprint d WHERE d.asset = a.pk);"
                    "UPDATE zduplicatestate SET changed = changed + 1;");
            })
            // Backups of the store know files as they were.
            .and_then([&] { return store::forgetDerivedSizes(database); })
            .and_then([&] { return store::beginHistory(database); })
            .and_then([&] { return store::recountSums(database); });
    }

    void noteCount(const std::string &source) {
        const std::int64_t now = database.integer("SELECT count(*) FROM zgenericasset").value_or(count);
        if (now > count)
            sources.append(sources.empty() ? "" : ", ")
                .append(std::to_string(now - count))
                .append(now - count == 1 ? " asset from " : " assets from ")
                .append(source);
        count = now;
    }

    const LibraryPaths &paths;
    Database database;
    const NotedRows notes;
    std::set<std::string> whole; // tables that nothing need be added to
    std::int64_t count = 0;
    std::string sources;
};

void writeReport(const std::string &path, const std::string &text) {
    const std::string line = text + '\n';
    if (!replaceFile(path, std::as_bytes(std::span(line))))
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't write %s", path.c_str());
}

Result<MendedStore> rebuild(const LibraryPaths &paths, const std::string &fault) {
    const std::string mending = mendingPath(paths);
    removeDatabase(mending);
    removeDatabase(mendedPath(paths));
    std::string summary;
    {
        auto made = Database::open(mending, Database::Access::write);
        if (!made)
            return passOn(made);
        Rebuild work(paths, *std::move(made));
        if (const auto done = work.run(); !done) {
            removeDatabase(mending);
            return passOn(done);
        }
        summary = work.summary();
    }
    if (::rename(mending.c_str(), mendedPath(paths).c_str()) != 0)
        return failSystem("move", mending);
    const bool wasThere = fs::exists(paths.database());
    const std::string aside = freePath(paths, wasThere ? "damaged" : "missing");
    if (wasThere)
        if (const auto moved = moveDatabase(paths.database(), aside); !moved)
            return passOn(moved);
    if (const auto finished = finishMending(paths); !finished)
        return passOn(finished);
    MendedStore mended;
    mended.isReplaced = true;
    mended.text = wasThere ? "the store was damaged (" + fault + ") and is kept as " + aside +
                                 "; the new one has " + summary
                           : "the store was missing; the new one has " + summary;
    writeReport(aside + ".txt", mended.text);
    return mended;
}

} // namespace

Result<> finishMending(const LibraryPaths &paths) {
    const std::string mended = mendedPath(paths);
    if (::access(paths.database().c_str(), F_OK) == 0 || ::access(mended.c_str(), F_OK) != 0)
        return {};
    // What was written ahead to the old file must not be read as the new one's.
    if (const auto moved = moveDatabase(paths.database(), freePath(paths, "damaged")); !moved)
        return moved;
    if (::rename(mended.c_str(), paths.database().c_str()) != 0)
        return failSystem("move", mended);
    return makeNamesDurable(std::string(parentFolder(paths.database())));
}

Result<MendedStore> mendStore(const LibraryPaths &paths, Database *writer) {
    constexpr int enough = 100;
    const std::string path = paths.database();
    if (::access(path.c_str(), F_OK) != 0)
        return rebuild(paths, {});
    // Always a connection of its own: the writer still has pages in memory that the file has lost.
    const auto faultsNow = [&]() -> Result<std::vector<std::string>> {
        auto reader = Database::open(path, Database::Access::read);
        if (!reader)
            return passOn(reader);
        const auto version = reader->integer("PRAGMA user_version");
        if (!version)
            return passOn(version);
        if (*version > store::modelVersion())
            return fail(ProblemKind::newerVersion, path + " was made by a newer hoardd", path);
        auto faults = reader->faults(enough);
        if (faults && faults->empty() && *version <= 0)
            faults->emplace_back("it has no version");
        if (faults && faults->empty() && !identityIn(*reader))
            faults->emplace_back(noIdentity);
        return faults;
    };
    auto faults = faultsNow();
    if (!faults && faults.error().kind != ProblemKind::damagedStore)
        return passOn(faults);
    if (!faults)
        return rebuild(paths, faults.error().text);
    if (faults->empty())
        return MendedStore();
    const std::string fault = faults->front();
    if (const auto mended = mendInPlace(paths, writer, *faults)) {
        faults = faultsNow();
        if (faults && faults->empty())
            return MendedStore{.text = *mended + " (" + fault + ")"};
    }
    return rebuild(paths, fault);
}

} // namespace wickerlane::hoardd
