#include "wickerlane/store/StoreReader.h"

#include <algorithm>
#include <map>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/AssetURL.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::store {

namespace {

constexpr std::string_view selectAlbums =
    "SELECT pk, uuid, name, coalesce(streamid, ''), datecreated, cachedcount FROM zalbum ";

Ref<ManagedAlbum> readAlbum(const sqlite::Statement &statement, std::string_view storeUUID) {
    return ManagedAlbum::create({statement.integer(0), std::string(statement.text(1)),
                                 std::string(statement.text(2)), std::string(statement.text(3)),
                                 statement.real(4), static_cast<std::uint64_t>(statement.integer(5))},
                                storeUUID);
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
        return fail(*version > modelVersion() ? ProblemKind::newerVersion : ProblemKind::failed,
                    path + " has model version " + std::to_string(*version) + ", not " +
                        std::to_string(modelVersion()),
                    path);
    const auto uuid = database.prepare("SELECT uuid FROM zlibrary").first([](const sqlite::Statement &row) {
        return std::string(row.text(0));
    });
    if (!uuid)
        return failToRead(uuid.error());
    if (uuid->value_or("").empty())
        return failToRead({ProblemKind::damagedStore, "it has no identity", {}});
    return **uuid;
}

} // namespace

/// The connection, and who may use it. A statement is reset before the lock is given up, so that no read
/// transaction stays open between calls: that would keep the daemon's write-ahead log growing.
struct StoreReader::Connection {
    Mutex mutex;
    sqlite::Database database WL_GUARDED_BY(mutex);
    /// Of select(), by what narrows it.
    std::map<std::string, sqlite::Statement, std::less<>> prepared WL_GUARDED_BY(mutex);

    sqlite::Statement counting WL_GUARDED_BY(mutex) = database.prepare(selectCounts);

    explicit Connection(sqlite::Database opened) : database(std::move(opened)) {}

    /// The records that a statement made of `selectAssets` and `narrowing` gives.
    template <class... Values>
    Result<std::vector<AssetRecord>> select(std::string_view narrowing, const Values &...values) {
        const MutexLock lock(mutex);
        auto found = prepared.find(narrowing);
        if (found == prepared.end())
            found = prepared.emplace(narrowing, database.prepare(std::string(selectAssets).append(narrowing)))
                        .first;
        auto records = found->second.bind(values...).all(readRecord);
        if (!records)
            prepared.erase(found);
        return records;
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
    return std::unique_ptr<StoreReader>(
        new StoreReader(paths, *std::move(uuid), std::make_unique<Connection>(std::move(*database))));
}

Ref<ManagedAsset> StoreReader::assetOf(AssetRecord record) const {
    return ManagedAsset::create(std::move(record), libraryPaths.folder(), identity);
}

Result<std::vector<Ref<ManagedAsset>>> StoreReader::assets(const AssetQuery &query) {
    constexpr auto maxInteger = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    std::string narrowing = "WHERE ";
    narrowing += query.album != 0 ? "pk IN (SELECT asset FROM zalbumasset WHERE album = ?) " : "? = 0 ";
    if (query.kind)
        narrowing += *query.kind == AssetKind::photo ? "AND kind = 0 " : "AND kind = 1 ";
    narrowing += query.newestFirst ? "ORDER BY coalesce(clockdate, datecreated) DESC, pk DESC"
                                   : "ORDER BY coalesce(clockdate, datecreated), pk";
    narrowing += " LIMIT ? OFFSET ?";
    auto records =
        connection->select(narrowing, query.album, std::min<std::uint64_t>(query.limit, maxInteger),
                           std::min<std::uint64_t>(query.offset, maxInteger));
    if (!records)
        return passOn(records);
    std::vector<Ref<ManagedAsset>> result;
    result.reserve(records->size());
    for (AssetRecord &record : *records)
        result.push_back(assetOf(std::move(record)));
    return result;
}

Result<AssetCounts> StoreReader::counts() {
    const MutexLock lock(connection->mutex);
    const auto counts = connection->counting.first([](const sqlite::Statement &row) {
        const auto count = [&](int column) { return static_cast<std::uint64_t>(row.integer(column)); };
        return AssetCounts{count(0), count(1), count(2), count(3)};
    });
    connection->counting.reset();
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
    return {assetOf(readRecord(row)), row.real(trashedDateColumn)};
}

Result<std::vector<TrashedAsset>> StoreReader::trash() {
    const MutexLock lock(connection->mutex);
    return connection->database
        .prepare(std::string(selectTrashedAssets) + "ORDER BY datetrashed DESC, pk DESC")
        .all([&](const sqlite::Statement &row) { return readTrashed(row); });
}

Result<TrashedAsset> StoreReader::trashedWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    if (!parsed)
        return TrashedAsset();
    const MutexLock lock(connection->mutex);
    auto trashed = connection->database.prepare(std::string(selectTrashedAssets) + "WHERE uuid = ?")
                       .bind(parsed->uuidString()->utf8())
                       .first([&](const sqlite::Statement &row) { return readTrashed(row); });
    if (!trashed)
        return passOn(trashed);
    return std::move(*trashed).value_or(TrashedAsset());
}

Result<std::vector<Ref<ManagedAlbum>>> StoreReader::albums() {
    const MutexLock lock(connection->mutex);
    return connection->database.prepare(std::string(selectAlbums) + "ORDER BY name, pk")
        .all([&](const sqlite::Statement &row) { return readAlbum(row, identity); });
}

Result<Ref<ManagedAlbum>> StoreReader::albumWhere(std::string_view narrowing, std::string_view value) {
    const MutexLock lock(connection->mutex);
    auto album = connection->database.prepare(std::string(selectAlbums).append(narrowing))
                     .bind(value)
                     .first([&](const sqlite::Statement &row) { return readAlbum(row, identity); });
    if (!album)
        return passOn(album);
    return std::move(*album).value_or(nullptr);
}

Result<Ref<ManagedAlbum>> StoreReader::albumWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    if (!parsed)
        return nullptr;
    return albumWhere("WHERE uuid = ?", parsed->uuidString()->utf8());
}

Result<Ref<ManagedAlbum>> StoreReader::albumNamed(std::string_view name) {
    return albumWhere("WHERE name = ?", name);
}

Result<std::vector<AssetChange>> StoreReader::changes(std::int64_t since) {
    const MutexLock lock(connection->mutex);
    return connection->database
        .prepare("SELECT pk, date, what, assetuuid FROM zchange WHERE pk > ? ORDER BY pk")
        .bind(since)
        .all([](const sqlite::Statement &row) {
            return AssetChange{row.integer(0), row.real(1), static_cast<AssetChange::What>(row.integer(2)),
                               std::string(row.text(3))};
        });
}

ManagedObjectID *StoreReader::managedObjectIDForURI(const char *uri, std::size_t length) {
    const std::string_view text(uri, length);
    if (primaryKeyInURI(text, identity) == 0)
        return nullptr;
    return autorelease(ManagedObjectID::create(URL::of(text)));
}

} // namespace wickerlane::store
