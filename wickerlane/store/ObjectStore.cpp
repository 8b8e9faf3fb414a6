#include "wickerlane/store/ObjectStore.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "wickerlane/store/AssetURL.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::store {

/// The connection, and who may use it. A statement is reset before the lock is given up, so that no read
/// transaction stays open between calls: that would keep the daemon's write-ahead log growing.
struct ObjectStore::Connection {
    std::mutex lock;
    sqlite::Database database;
    std::map<std::string, sqlite::Statement, std::less<>> prepared; // of select(), by what narrows it

    sqlite::Statement counting = database.prepare(selectCounts);

    explicit Connection(sqlite::Database opened) : database(std::move(opened)) {}

    /// The records that a statement made of `selectAssets` and `narrowing` gives; nothing on failure.
    template <class... Values>
    std::optional<std::vector<AssetRecord>> select(std::string_view narrowing, const Values &...values) {
        const std::lock_guard guard(lock);
        auto found = prepared.find(narrowing);
        if (found == prepared.end())
            found = prepared.emplace(narrowing, database.prepare(std::string(selectAssets).append(narrowing)))
                        .first;
        sqlite::Statement &statement = found->second;
        statement.bind(values...);
        std::vector<AssetRecord> records;
        while (statement.next())
            records.push_back(readRecord(statement));
        if (statement.failed()) {
            prepared.erase(found);
            return std::nullopt;
        }
        statement.reset();
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
    auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read, reason);
    if (!database)
        return nullptr;
    const auto version = database->integer("PRAGMA user_version");
    if (!version) {
        reason = "can't read " + paths.database() + ": " + database->problem();
        return nullptr;
    }
    if (*version != modelVersion()) {
        reason = paths.database() + " has model version " + std::to_string(*version) + ", not " +
                 std::to_string(modelVersion());
        return nullptr;
    }
    std::string uuid;
    {
        sqlite::Statement statement = database->prepare("SELECT uuid FROM zlibrary");
        if (statement.next())
            uuid = statement.text(0);
    }
    if (uuid.empty()) {
        reason = "can't read " + paths.database() + ": it has no identity";
        return nullptr;
    }
    return Ref<ObjectStore>::adopt(
        new ObjectStore(paths, std::move(uuid), std::make_unique<Connection>(std::move(*database))));
}

Array *ObjectStore::assets(const AssetQuery &query) {
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    std::string narrowing = "WHERE ";
    narrowing += query.album != 0 ? "pk IN (SELECT asset FROM zalbumasset WHERE album = ?) " : "? = 0 ";
    if (query.kind)
        narrowing += *query.kind == AssetKind::photo ? "AND kind = 0 " : "AND kind = 1 ";
    narrowing += query.newestFirst ? "ORDER BY datecreated DESC, pk DESC" : "ORDER BY datecreated, pk";
    narrowing += " LIMIT ? OFFSET ?";
    auto records = connection->select(narrowing, query.album, std::min<std::uint64_t>(query.limit, most),
                                      std::min<std::uint64_t>(query.offset, most));
    if (!records)
        return nullptr;
    auto result = MutableArray::create();
    for (AssetRecord &record : *records)
        result->append(ManagedAsset::create(std::move(record), libraryPaths.folder(), identity).get());
    return autorelease(std::move(result));
}

std::optional<AssetCounts> ObjectStore::counts() {
    const std::lock_guard guard(connection->lock);
    sqlite::Statement &statement = connection->counting;
    std::optional<AssetCounts> counts;
    if (statement.next())
        counts = {static_cast<std::uint64_t>(statement.integer(0)),
                  static_cast<std::uint64_t>(statement.integer(1)),
                  static_cast<std::uint64_t>(statement.integer(2)),
                  static_cast<std::uint64_t>(statement.integer(3))};
    statement.reset();
    return counts;
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
    const std::lock_guard guard(connection->lock);
    sqlite::Statement statement =
        connection->database.prepare(std::string(selectAlbums) + "ORDER BY name, pk");
    auto result = MutableArray::create();
    while (statement.next())
        result->append(readAlbum(statement, identity).get());
    return statement.failed() ? nullptr : autorelease(std::move(result));
}

ManagedAlbum *ObjectStore::albumWhere(std::string_view narrowing, std::string_view value) {
    const std::lock_guard guard(connection->lock);
    sqlite::Statement statement = connection->database.prepare(std::string(selectAlbums).append(narrowing));
    return statement.bind(value).next() ? autorelease(readAlbum(statement, identity)) : nullptr;
}

ManagedAlbum *ObjectStore::albumWithUUID(std::string_view uuid) {
    const auto parsed = UUID::createWithText(uuid);
    return parsed ? albumWhere("WHERE uuid = ?", parsed->uuidString()->utf8()) : nullptr;
}

ManagedAlbum *ObjectStore::albumNamed(std::string_view name) {
    return albumWhere("WHERE name = ?", name);
}

std::optional<std::vector<AssetChange>> ObjectStore::changes(std::int64_t since) {
    const std::lock_guard guard(connection->lock);
    sqlite::Statement statement = connection->database.prepare(
        "SELECT pk, date, what, assetuuid FROM zchange WHERE pk > ? ORDER BY pk");
    statement.bind(since);
    std::vector<AssetChange> changes;
    while (statement.next())
        changes.push_back({statement.integer(0), statement.real(1),
                           static_cast<AssetChange::What>(statement.integer(2)),
                           std::string(statement.text(3))});
    return statement.failed() ? std::nullopt : std::optional(std::move(changes));
}

ManagedObjectID *ObjectStore::managedObjectIDForURI(const char *uri, std::size_t length) {
    const std::string_view text(uri, length);
    if (primaryKeyInURI(text, identity) == 0)
        return nullptr;
    return autorelease(ManagedObjectID::create(URL::of(text)));
}

} // namespace wickerlane::store
