#include "wickerlane/store/StoreReader.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>

#include "wickerlane/model/AssetURL.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/PageCursor.h"
#include "wickerlane/store/QueryPlan.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/StoreHistory.h"

namespace wickerlane::store {

namespace {

constexpr std::string_view selectAlbums =
    "SELECT pk, uuid, name, coalesce(streamid, ''), datecreated, cachedcount FROM zalbum ";

AlbumRecord readAlbum(const sqlite::Statement &statement) {
    return {statement.integer(0),
            std::string(statement.text(1)),
            std::string(statement.text(2)),
            std::string(statement.text(3)),
            statement.real(4),
            static_cast<std::uint64_t>(statement.integer(5))};
}

/// Followed by what narrows selectAssets.
constexpr std::string_view countAssets = "SELECT count(*) FROM zgenericasset ";

/// Leaves out rows that can't be objects, which a check finds.
template <class Record>
void keepSound(std::vector<Record> &records) {
    std::erase_if(records, [](const Record &each) { return !faultOf(each).empty(); });
}

/// Device and number; zeros for no file.
using FileIdentity = std::pair<dev_t, ino_t>;

FileIdentity identityOfFile(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? FileIdentity(status.st_dev, status.st_ino) : FileIdentity();
}

/// The identity of the store in a database of this version.
Result<std::string> identityOf(sqlite::Database &database, const std::string &path) {
    const auto failToRead = [&](const Problem &problem) {
        return fail(problem.kind, "can't read " + path + ": " + problem.text, path);
    };
    const auto version = database.integer("PRAGMA user_version");
    if (!version)
        return failToRead(version.error());
    if (*version != modelVersion())
        return fail(*version > modelVersion() ? ProblemKind::newerVersion : ProblemKind::busy,
                    path + " has model version " + std::to_string(*version) + ", not " +
                        std::to_string(modelVersion()),
                    path);
    const auto uuid = database.prepare("SELECT uuid FROM zlibrary").first([](const sqlite::Statement &row) {
        return std::string(row.text(0));
    });
    if (!uuid)
        return failToRead(uuid.error());
    if (!UUID::createWithText(uuid->value_or("")))
        return failToRead({ProblemKind::damagedStore, "it has no identity", {}});
    return **uuid;
}

/// At most `limit` changes with higher numbers than `since`, damaged ones among them.
Result<std::vector<AssetChange>> readChanges(sqlite::Database &database, std::int64_t since,
                                             std::int64_t limit) {
    return database.prepare("SELECT pk, date, what, assetuuid FROM zchange WHERE pk > ? ORDER BY pk LIMIT ?")
        .bind(since, limit)
        .all([](const sqlite::Statement &row) {
            return AssetChange{row.integer(0), row.real(1), static_cast<AssetChange::What>(row.integer(2)),
                               std::string(row.text(3))};
        });
}

/// The first moment of the day or month of a date.
double startOfSection(double date, SectionUnit unit) {
    constexpr double secondsOfDay = 86'400;
    const double day = std::floor(date / secondsOfDay);
    constexpr double farthest = 1e8; // days
    if (unit == SectionUnit::day || !(std::abs(day) < farthest))
        return day * secondsOfDay;
    using namespace std::chrono;
    constexpr sys_days reference = 2001y / January / 1;
    const year_month_day shown = reference + days(static_cast<int>(day));
    return static_cast<double>((sys_days(shown.year() / shown.month() / 1) - reference).count()) *
           secondsOfDay;
}

std::uint16_t shapeOf(const AssetRecord &asset) {
    if (asset.width == 0 || asset.height == 0)
        return 0;
    const std::uint64_t thousandths = std::uint64_t{1000} * asset.width / asset.height;
    return static_cast<std::uint16_t>(std::clamp<std::uint64_t>(thousandths, 1, 65'535));
}

} // namespace

/// The connection, and who may use it. A statement is reset before the lock is given up, so that no read
/// transaction stays open between calls: that would keep the daemon's write-ahead log growing.
struct StoreReader::Connection {
    struct Opened {
        FileIdentity file;
        sqlite::Database database;
        /// Of select(), by what narrows it.
        std::map<std::string, sqlite::Statement, std::less<>> prepared{};
        sqlite::Statement counting = database.prepare(selectCounts);
    };
    const std::string path;
    Mutex mutex;
    std::unique_ptr<Opened> opened WL_GUARDED_BY(mutex);

    Connection(std::string file, sqlite::Database database)
        : path(std::move(file)), opened(new Opened{identityOfFile(path), std::move(database)}) {}

    /// The connection to the file that is the store now: a repair may have put another in its place.
    Opened &current() WL_REQUIRES(mutex) {
        const FileIdentity file = identityOfFile(path);
        if (file == opened->file || file == FileIdentity())
            return *opened;
        if (auto renewed = sqlite::Database::open(path, sqlite::Database::Access::read))
            opened.reset(new Opened{file, std::move(*renewed)});
        return *opened;
    }

    /// What `use` makes of the statement of `columns` and `narrowing`, which is kept for the next time.
    template <class Use>
    auto with(std::string_view columns, std::string_view narrowing, const Use &use)
        -> decltype(use(std::declval<sqlite::Statement &>())) {
        constexpr std::size_t maxPrepared = 64; // there are many queries, of which a program uses few
        const MutexLock lock(mutex);
        Opened &used = current();
        const std::string sql = std::string(columns).append(narrowing);
        auto found = used.prepared.find(sql);
        if (found == used.prepared.end()) {
            if (used.prepared.size() >= maxPrepared)
                used.prepared.clear();
            found = used.prepared.emplace(sql, used.database.prepare(sql)).first;
        }
        auto result = use(found->second);
        if (!result)
            used.prepared.erase(found);
        return result;
    }

    /// The records that a statement made of `selectAssets` and `narrowing` gives.
    template <class... Values>
    Result<std::vector<AssetRecord>> select(std::string_view narrowing, const Values &...values) {
        auto records = with(selectAssets, narrowing, [&](sqlite::Statement &statement) {
            return statement.bind(values...).all(readRecord);
        });
        if (records)
            keepSound(*records);
        return records;
    }

    /// Whether the table has assets, whatever its indexes say.
    Result<bool> hasAny() {
        const MutexLock lock(mutex);
        return current().database.prepare("SELECT 1 FROM zgenericasset NOT INDEXED LIMIT 1").any();
    }
};

StoreReader::StoreReader(LibraryPaths paths, std::string uuid, std::unique_ptr<Connection> opened)
    : libraryPaths(std::move(paths)), identity(std::move(uuid)), connection(std::move(opened)) {
}

StoreReader::~StoreReader() = default;

Result<std::unique_ptr<StoreReader>> StoreReader::open(const LibraryPaths &paths) {
    auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
    if (!database)
        return passOn(database);
    auto uuid = identityOf(*database, paths.database());
    if (!uuid)
        return passOn(uuid);
    return std::unique_ptr<StoreReader>(new StoreReader(
        paths, *std::move(uuid), std::make_unique<Connection>(paths.database(), std::move(*database))));
}

Ref<ManagedAsset> StoreReader::assetOf(AssetRecord record) const {
    return ManagedAsset::create(std::move(record), libraryPaths.folder(), identity);
}

// An index that was emptied gives no rows, and no error.
Failure StoreReader::failToList() const {
    return fail(ProblemKind::damagedStore, libraryPaths.database() + " holds assets and lists none of them",
                libraryPaths.database());
}

Result<StoreReader::Page> StoreReader::page(const wickerlane::AssetQuery &query) {
    const auto selections = selectionsFor(query, identity);
    if (!selections)
        return passOn(selections);
    const auto read = [&]() -> Result<Page> {
        Page page;
        const auto takeRow = [&](const sqlite::Statement &row) {
            AssetRecord record = readRecord(row);
            if (!isWanted(record, query.filter) || !faultOf(record).empty())
                return true;
            if (page.records.size() == query.limit) { // there is more
                page.next = cursorAfter(page.records.back(), query.order);
                return false;
            }
            page.records.push_back(std::move(record));
            return true;
        };
        for (const Selection &each : *selections) {
            const auto goesOn =
                connection->with(selectAssets, each.narrowing, [&](sqlite::Statement &statement) {
                    each.bindTo(statement);
                    return statement.forEachWhile(takeRow);
                });
            if (!goesOn)
                return passOn(goesOn);
            if (!*goesOn)
                break;
        }
        return page;
    };
    auto found = read();
    const bool isOfAll = query.cursor.empty() && selections->front().narrowing.starts_with(" ORDER BY");
    if (!found || !found->records.empty() || !isOfAll)
        return found;
    const auto unlisted = connection->hasAny();
    if (!unlisted)
        return passOn(unlisted);
    if (*unlisted)
        found = read(); // the first may have been added just now
    if (*unlisted && found && found->records.empty())
        return failToList();
    return found;
}

Result<std::vector<AssetSection>> StoreReader::sections(const AssetFilter &filter, SectionUnit unit,
                                                        bool isDescending) {
    const auto selections = selectionsFor({.filter = filter, .isDescending = isDescending}, identity);
    if (!selections)
        return passOn(selections);
    std::vector<AssetSection> sections;
    AssetRecord record;
    const auto addRow = [&](const sqlite::Statement &row) {
        readRecordInto(record, row);
        if (!isWanted(record, filter) || !faultOf(record).empty())
            return;
        const double start = startOfSection(record.shownDate(), unit);
        if (sections.empty() || sections.back().start != start)
            sections.push_back({start, {}});
        sections.back().shapes.push_back(shapeOf(record));
    };
    const Selection &all = selections->front();
    const auto done = connection->with(selectAssets, all.narrowing, [&](sqlite::Statement &statement) {
        all.bindTo(statement);
        return statement.forEach(addRow);
    });
    if (!done)
        return passOn(done);
    return sections;
}

Result<std::uint64_t> StoreReader::count(const AssetFilter &filter) {
    const auto selections = selectionsFor({.filter = filter}, identity);
    if (!selections)
        return passOn(selections);
    const Selection &all = selections->front();
    std::uint64_t count = 0;
    // What is within a circle is not known without the places.
    const auto counted =
        filter.nearLatitude
            ? connection->with(selectAssets, all.narrowing,
                               [&](sqlite::Statement &statement) {
                                   all.bindTo(statement);
                                   return statement.forEach([&](const sqlite::Statement &row) {
                                       count += isWanted(readRecord(row), filter) ? 1U : 0U;
                                   });
                               })
            : connection->with(countAssets, all.narrowing, [&](sqlite::Statement &statement) {
                  all.bindTo(statement);
                  return statement.forEach([&](const sqlite::Statement &row) {
                      count = static_cast<std::uint64_t>(row.integer(0));
                  });
              });
    if (!counted)
        return passOn(counted);
    return count;
}

Result<AssetCounts> StoreReader::counts() {
    const MutexLock lock(connection->mutex);
    sqlite::Statement &counting = connection->current().counting;
    const auto counts = counting.first([](const sqlite::Statement &row) {
        const auto count = [&](int column) { return static_cast<std::uint64_t>(row.integer(column)); };
        return AssetCounts{count(0), count(1), count(2), count(3)};
    });
    counting.reset();
    if (!counts)
        return passOn(counts);
    return counts->value_or(AssetCounts{});
}

template <class Value>
Result<Ref<ManagedAsset>> StoreReader::assetWhere(std::string_view narrowing, const Value &value) {
    auto records = connection->select(narrowing, value);
    if (!records)
        return passOn(records);
    return records->empty() ? nullptr : assetOf(std::move(records->front()));
}

Result<Ref<ManagedAsset>> StoreReader::assetWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    if (!parsed)
        return nullptr;
    return assetWhere("WHERE uuid = ?", parsed->uuidString()->utf8());
}

Result<Ref<ManagedAsset>> StoreReader::assetWithURL(const URL *assetURL) {
    return assetWithUUID(uuidOfAssetURL(assetURL));
}

Result<Ref<ManagedAsset>> StoreReader::assetWithURI(std::string_view uri) {
    const std::int64_t key = primaryKeyInURI(uri, identity);
    if (key == 0)
        return nullptr;
    return assetWhere("WHERE pk = ?", key);
}

Result<Ref<ManagedAsset>> StoreReader::assetWithObjectID(const ManagedObjectID *objectID) {
    if (objectID == nullptr || objectID->isTemporary())
        return nullptr;
    return assetWithURI(objectID->uriRepresentation()->absoluteString()->utf8());
}

TrashedAsset StoreReader::readTrashed(const sqlite::Statement &row) const {
    AssetRecord record = readRecord(row);
    if (!faultOf(record).empty())
        return {};
    return {assetOf(std::move(record)), row.real(trashedDateColumn)};
}

Result<std::vector<TrashedAsset>> StoreReader::trash() {
    const MutexLock lock(connection->mutex);
    auto trashed =
        connection->current()
            .database.prepare(std::string(selectTrashedAssets) + "ORDER BY datetrashed DESC, pk DESC")
            .all([&](const sqlite::Statement &row) { return readTrashed(row); });
    if (trashed)
        std::erase_if(*trashed, [](const TrashedAsset &each) { return !each.asset; });
    return trashed;
}

Result<StoreReader::TrashedPage> StoreReader::trash(const TrashQuery &query) {
    const auto selection = selectionFor(query);
    if (!selection)
        return passOn(selection);
    TrashedPage page;
    const auto takeRow = [&](const sqlite::Statement &row) {
        TrashedRecord record{readRecord(row), row.real(trashedDateColumn)};
        if (!faultOf(record.asset).empty())
            return true;
        if (page.records.size() == query.limit) { // there is more
            const TrashedRecord &last = page.records.back();
            page.next = cursorText(last.asset.primaryKey, last.dateTrashed);
            return false;
        }
        page.records.push_back(std::move(record));
        return true;
    };
    const auto read =
        connection->with(selectTrashedAssets, selection->narrowing, [&](sqlite::Statement &statement) {
            selection->bindTo(statement);
            return statement.forEachWhile(takeRow);
        });
    if (!read)
        return passOn(read);
    return page;
}

Result<TrashedAsset> StoreReader::trashedWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    if (!parsed)
        return TrashedAsset();
    const MutexLock lock(connection->mutex);
    auto trashed = connection->current()
                       .database.prepare(std::string(selectTrashedAssets) + "WHERE uuid = ?")
                       .bind(parsed->uuidString()->utf8())
                       .first([&](const sqlite::Statement &row) { return readTrashed(row); });
    if (!trashed)
        return passOn(trashed);
    return std::move(*trashed).value_or(TrashedAsset());
}

Result<std::vector<Ref<ManagedAlbum>>> StoreReader::albums() {
    const MutexLock lock(connection->mutex);
    auto records = connection->current()
                       .database.prepare(std::string(selectAlbums) + "ORDER BY name, pk")
                       .all(readAlbum);
    if (!records)
        return passOn(records);
    keepSound(*records);
    std::vector<Ref<ManagedAlbum>> albums;
    albums.reserve(records->size());
    for (AlbumRecord &each : *records)
        albums.push_back(ManagedAlbum::create(std::move(each), identity));
    return albums;
}

Result<Ref<ManagedAlbum>> StoreReader::albumWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    if (!parsed)
        return nullptr;
    const MutexLock lock(connection->mutex);
    auto album = connection->current()
                     .database.prepare(std::string(selectAlbums) + "WHERE uuid = ?")
                     .bind(parsed->uuidString()->utf8())
                     .first(readAlbum);
    if (!album)
        return passOn(album);
    if (!*album || !faultOf(**album).empty())
        return nullptr;
    return ManagedAlbum::create(**std::move(album), identity);
}

Result<ChangesPage> StoreReader::changesSince(std::string_view token, std::size_t limit) {
    constexpr std::size_t largestPage = 10'000;
    auto since = cursorIn<std::string>(token);
    const auto number = numberIn<std::int64_t>(token);
    if (limit > largestPage || (!token.empty() && !since && !number))
        return fail(ProblemKind::invalid, limit > largestPage ? "a page may have up to 10000 changes"
                                                              : "the token is none of this service");
    const MutexLock lock(connection->mutex);
    sqlite::Database &database = connection->current().database;
    const sqlite::Snapshot snapshot(database);
    const auto last =
        database.integer("SELECT coalesce((SELECT seq FROM sqlite_sequence WHERE name = 'zchange'), 0)");
    const auto first = database.integer("SELECT coalesce(min(pk), 0) FROM zchange");
    const auto history = historyOf(database);
    if (!last || !first || !history)
        return passOn(!last ? last : !first ? first : history);
    const std::string origin = *history == 0 ? identity : identity + "/" + std::to_string(*history);
    const std::int64_t oldest = *first != 0 ? *first : *last + 1; // all may have been deleted
    if (token.empty())
        since = PageCursor<std::string>{limit == 0 ? *last : oldest - 1, origin};
    else if (number)
        since = PageCursor<std::string>{*number, origin};
    ChangesPage page;
    page.isTooOld = since->value != origin || since->number < oldest - 1 || since->number > *last;
    std::int64_t reached = page.isTooOld ? *last : since->number;
    if (!page.isTooOld && limit > 0) {
        auto changes = readChanges(database, since->number, static_cast<std::int64_t>(limit));
        if (!changes)
            return passOn(changes);
        page.changes = *std::move(changes);
        reached = page.changes.size() < limit ? *last : page.changes.back().number;
        std::erase_if(page.changes, [](const AssetChange &each) { return !isUUID(each.uuid); });
    }
    page.isLast = reached == *last;
    page.token = cursorText(reached, origin);
    return page;
}

ManagedObjectID *StoreReader::managedObjectIDForURI(const char *uri, std::size_t length) {
    const std::string_view text(uri, length);
    if (primaryKeyInURI(text, identity) == 0)
        return nullptr;
    return autorelease(ManagedObjectID::create(URL::of(text)));
}

} // namespace wickerlane::store
