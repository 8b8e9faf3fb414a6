#include "wickerlane/store/ObjectStore.h"

#include <algorithm>
#include <map>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/AssetURL.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::store {

/// The connection, and who may use it. A statement is reset before the lock is given up, so that no read
/// transaction stays open between calls: that would keep the daemon's write-ahead log growing.
struct ObjectStore::Connection {
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

constinit const Class ObjectStore::classInfo{"ObjectStore", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(ObjectStore);

ObjectStore::ObjectStore(LibraryPaths paths, std::string uuid, std::unique_ptr<Connection> opened)
    : libraryPaths(std::move(paths)), identity(std::move(uuid)), connection(std::move(opened)) {
}

ObjectStore::~ObjectStore() = default;

Ref<ObjectStore> ObjectStore::open(const LibraryPaths &paths, std::string *problem) {
    std::string unwanted;
    std::string &reason = problem != nullptr ? *problem : unwanted;
    auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
    if (!database) {
        reason = database.error().text;
        return nullptr;
    }
    const auto version = database->integer("PRAGMA user_version");
    if (!version) {
        reason = "can't read " + paths.database() + ": " + database->problem().text;
        return nullptr;
    }
    if (*version != modelVersion()) {
        reason = paths.database() + " has model version " + std::to_string(*version) + ", not " +
                 std::to_string(modelVersion());
        return nullptr;
    }
    const auto uuid = database->prepare("SELECT uuid FROM zlibrary").first([](const sqlite::Statement &row) {
        return std::string(row.text(0));
    });
    if (!uuid || uuid->value_or("").empty()) {
        reason = "can't read " + paths.database() + ": it has no identity";
        return nullptr;
    }
    return Ref<ObjectStore>::adopt(
        new ObjectStore(paths, **uuid, std::make_unique<Connection>(std::move(*database))));
}

Array *ObjectStore::assets(const AssetQuery &query) {
    constexpr auto maxInteger = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    std::string narrowing = "WHERE ";
    narrowing += query.album != 0 ? "pk IN (SELECT asset FROM zalbumasset WHERE album = ?) " : "? = 0 ";
    if (query.kind)
        narrowing += *query.kind == AssetKind::photo ? "AND kind = 0 " : "AND kind = 1 ";
    narrowing += query.newestFirst ? "ORDER BY datecreated DESC, pk DESC" : "ORDER BY datecreated, pk";
    narrowing += " LIMIT ? OFFSET ?";
    auto records =
        connection->select(narrowing, query.album, std::min<std::uint64_t>(query.limit, maxInteger),
                           std::min<std::uint64_t>(query.offset, maxInteger));
    if (!records)
        return nullptr;
    auto result = MutableArray::create();
    for (AssetRecord &record : *records)
        result->append(ManagedAsset::create(std::move(record), libraryPaths.folder(), identity).get());
    return autorelease(std::move(result));
}

std::optional<AssetCounts> ObjectStore::counts() {
    const MutexLock lock(connection->mutex);
    const auto counts = connection->counting.first([](const sqlite::Statement &row) {
        const auto count = [&](int column) { return static_cast<std::uint64_t>(row.integer(column)); };
        return AssetCounts{count(0), count(1), count(2), count(3)};
    });
    connection->counting.reset();
    return counts.value_or(std::nullopt);
}

ManagedAsset *ObjectStore::assetWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    if (!parsed)
        return nullptr;
    auto records = connection->select("WHERE uuid = ?", parsed->uuidString()->utf8());
    if (!records || records->empty())
        return nullptr;
    return autorelease(ManagedAsset::create(std::move(records->front()), libraryPaths.folder(), identity));
}

ManagedAsset *ObjectStore::assetWithURL(const URL *assetURL) {
    return assetWithUUID(uuidOfAssetURL(assetURL));
}

ManagedAsset *ObjectStore::assetWithKey(std::int64_t primaryKey) {
    auto records = connection->select("WHERE pk = ?", primaryKey);
    if (!records || records->empty())
        return nullptr;
    return autorelease(ManagedAsset::create(std::move(records->front()), libraryPaths.folder(), identity));
}

ManagedAsset *ObjectStore::assetWithObjectID(const ManagedObjectID *objectID) {
    if (objectID == nullptr || objectID->isTemporary())
        return nullptr;
    const std::int64_t key =
        primaryKeyInURI(objectID->uriRepresentation()->absoluteString()->utf8(), identity);
    return key != 0 ? assetWithKey(key) : nullptr;
}

namespace {

constexpr std::string_view selectAlbums =
    "SELECT pk, uuid, name, coalesce(streamid, ''), datecreated, cachedcount FROM zalbum ";

Ref<ManagedAlbum> readAlbum(const sqlite::Statement &statement, std::string_view storeUUID) {
    return ManagedAlbum::create({statement.integer(0), std::string(statement.text(1)),
                                 std::string(statement.text(2)), std::string(statement.text(3)),
                                 statement.real(4), static_cast<std::uint64_t>(statement.integer(5))},
                                storeUUID);
}

} // namespace

Array *ObjectStore::albums() {
    const MutexLock lock(connection->mutex);
    auto result = MutableArray::create();
    const Result<> read =
        connection->database.prepare(std::string(selectAlbums) + "ORDER BY name, pk")
            .forEach([&](const sqlite::Statement &row) { result->append(readAlbum(row, identity).get()); });
    return read ? autorelease(std::move(result)) : nullptr;
}

ManagedAlbum *ObjectStore::albumWhere(std::string_view narrowing, std::string_view value) {
    const MutexLock lock(connection->mutex);
    auto album = connection->database.prepare(std::string(selectAlbums).append(narrowing))
                     .bind(value)
                     .first([&](const sqlite::Statement &row) { return readAlbum(row, identity); });
    return album && *album ? autorelease(**std::move(album)) : nullptr;
}

ManagedAlbum *ObjectStore::albumWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    return parsed ? albumWhere("WHERE uuid = ?", parsed->uuidString()->utf8()) : nullptr;
}

ManagedAlbum *ObjectStore::albumNamed(std::string_view name) {
    return albumWhere("WHERE name = ?", name);
}

std::optional<std::vector<AssetChange>> ObjectStore::changes(std::int64_t since) {
    const MutexLock lock(connection->mutex);
    auto changes =
        connection->database.prepare("SELECT pk, date, what, assetuuid FROM zchange WHERE pk > ? ORDER BY pk")
            .bind(since)
            .all([](const sqlite::Statement &row) {
                return AssetChange{row.integer(0), row.real(1),
                                   static_cast<AssetChange::What>(row.integer(2)), std::string(row.text(3))};
            });
    return changes ? std::optional(*std::move(changes)) : std::nullopt;
}

ManagedObjectID *ObjectStore::managedObjectIDForURI(const char *uri, std::size_t length) {
    const std::string_view text(uri, length);
    if (primaryKeyInURI(text, identity) == 0)
        return nullptr;
    return autorelease(ManagedObjectID::create(URL::of(text)));
}

} // namespace wickerlane::store
