#include "hoardd/albums/AlbumStore.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

std::string firstText(const Statement &row) {
    return std::string(row.text(0));
}

} // namespace

Result<> insertAlbum(Database &database, const AlbumRecord &album) {
    return database
        .prepare("INSERT INTO zalbum (uuid, name, streamid, datecreated) VALUES (?, ?, nullif(?, ''), ?)")
        .bind(album.uuid, album.name, album.streamID, album.dateCreated)
        .run();
}

Result<bool> isAlbumNameTaken(Database &database, std::string_view name) {
    return database.prepare("SELECT 1 FROM zalbum WHERE name = ?").bind(name).any();
}

Result<std::optional<std::string>> albumOfStream(Database &database, std::string_view streamID) {
    return database.prepare("SELECT uuid FROM zalbum WHERE streamid = ?").bind(streamID).first(firstText);
}

Result<bool> hasAlbum(Database &database, std::string_view uuid) {
    return database.prepare("SELECT 1 FROM zalbum WHERE uuid = ?").bind(uuid).any();
}

Result<bool> isInAlbum(Database &database, std::int64_t album, std::int64_t asset) {
    return database.prepare("SELECT 1 FROM zalbumasset WHERE album = ? AND asset = ?")
        .bind(album, asset)
        .any();
}

Result<> insertAlbumAsset(Database &database, std::int64_t album, std::int64_t asset, double date) {
    return database.prepare("INSERT INTO zalbumasset (album, asset, dateadded) VALUES (?, ?, ?)")
        .bind(album, asset, date)
        .run();
}

Result<> insertAlbumAssets(Database &database, std::string_view albumUUID,
                           std::span<const std::string> assetUUIDs, double date) {
    Statement insert = database.prepare(
        "INSERT OR IGNORE INTO zalbumasset (album, asset, dateadded) SELECT zalbum.pk, zgenericasset.pk, ? "
        "FROM zalbum, zgenericasset WHERE zalbum.uuid = ? AND zgenericasset.uuid = ?");
    for (const std::string &asset : assetUUIDs)
        if (const auto inserted = insert.bind(date, albumUUID, asset).run(); !inserted)
            return inserted;
    return {};
}

Result<std::int64_t> countAssetsInAlbum(Database &database, std::int64_t album) {
    const auto count = database.prepare("SELECT cachedcount FROM zalbum WHERE pk = ?")
                           .bind(album)
                           .first([](const Statement &row) { return row.integer(0); });
    if (!count)
        return passOn(count);
    return count->value_or(0);
}

Result<> renameAlbum(Database &database, std::string_view uuid, std::string_view name) {
    return database.prepare("UPDATE zalbum SET name = ?2 WHERE uuid = ?1").bind(uuid, name).run();
}

Result<> deleteAlbum(Database &database, std::string_view uuid) {
    return database.prepare("DELETE FROM zalbum WHERE uuid = ?").bind(uuid).run();
}

Result<> removeAlbumAsset(Database &database, std::int64_t album, std::int64_t asset) {
    return database.prepare("DELETE FROM zalbumasset WHERE album = ? AND asset = ?").bind(album, asset).run();
}

Result<std::vector<std::string>> assetsInAlbum(Database &database, std::string_view albumUUID) {
    return database
        .prepare("SELECT zgenericasset.uuid FROM zalbumasset JOIN zgenericasset ON zgenericasset.pk = asset "
                 "WHERE album = (SELECT pk FROM zalbum WHERE uuid = ?) ORDER BY zalbumasset.dateadded, asset")
        .bind(albumUUID)
        .all(firstText);
}

Result<std::optional<std::string>> deleteAlbumIfEmpty(Database &database, std::int64_t album) {
    auto empty = database
                     .prepare("SELECT uuid FROM zalbum WHERE pk = ? AND NOT EXISTS "
                              "(SELECT 1 FROM zalbumasset WHERE album = zalbum.pk)")
                     .bind(album)
                     .first(firstText);
    if (!empty || !*empty)
        return empty;
    if (const auto deleted = database.prepare("DELETE FROM zalbum WHERE pk = ?").bind(album).run(); !deleted)
        return passOn(deleted);
    return empty;
}

Result<std::vector<std::string>> deleteAlbumsCreatedAfter(Database &database, double date) {
    auto albums = database.prepare("SELECT uuid FROM zalbum WHERE datecreated > ?").bind(date).all(firstText);
    if (!albums)
        return albums;
    if (const auto deleted = database.prepare("DELETE FROM zalbum WHERE datecreated > ?").bind(date).run();
        !deleted)
        return passOn(deleted);
    return albums;
}

Result<std::vector<ShrunkAlbum>> deleteAlbumAssetsAddedAfter(Database &database, double date) {
    auto albums =
        database
            .prepare(
                "SELECT uuid FROM zalbum WHERE pk IN (SELECT album FROM zalbumasset WHERE dateadded > ?)")
            .bind(date)
            .all([](const Statement &row) {
                return ShrunkAlbum{firstText(row), {}};
            });
    if (!albums)
        return albums;
    const auto deleted = database.prepare("DELETE FROM zalbumasset WHERE dateadded > ?").bind(date).run();
    if (!deleted)
        return passOn(deleted);
    for (ShrunkAlbum &album : *albums) {
        auto assets = assetsInAlbum(database, album.uuid);
        if (!assets)
            return passOn(assets);
        album.assets = *std::move(assets);
    }
    return albums;
}

Result<> recountAlbums(Database &database) {
    return database.execute("UPDATE zalbum SET cachedcount = "
                            "(SELECT count(*) FROM zalbumasset WHERE album = zalbum.pk)");
}

} // namespace wickerlane::hoardd
