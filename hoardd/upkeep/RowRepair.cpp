#include "hoardd/upkeep/RowRepair.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>

#include "hoardd/library/Clock.h"
#include "hoardd/library/StoreNotes.h"
#include "hoardd/library/TrashStore.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/Soundness.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;
using sqlite::Database;
using sqlite::Statement;

namespace {

/// The text, or what was noted of it; else with a replacement for what is none.
std::string textOf(std::string text, const std::string &noted) {
    if (isText(text))
        return text;
    if (!noted.empty() && isText(noted))
        return noted;
    std::erase(text, '\0');
    auto mended = MutableString::create();
    mended->append(text);
    return std::string(mended->utf8());
}

/// The name of the original in its folder, by the UUID; empty when there is none.
std::string originalNamed(const store::LibraryPaths &paths, const std::string &uuid) {
    std::error_code none;
    const std::string folder = paths.folder() + '/' + store::LibraryPaths::directoryOfOriginal(uuid);
    for (const auto &entry : fs::directory_iterator(folder, none)) {
        std::string name = entry.path().filename();
        if (name.starts_with(uuid + '.'))
            return name;
    }
    return {};
}

AssetRecord mended(const store::LibraryPaths &paths, const NotedRows &notes, AssetRecord asset) {
    if (!isUUID(asset.uuid))
        asset.uuid = asset.filename.substr(0, 36);
    if (!isUUID(asset.uuid))
        return asset;
    if (const std::string name = originalNamed(paths, asset.uuid); !name.empty()) {
        asset.directory = store::LibraryPaths::directoryOfOriginal(asset.uuid);
        asset.filename = name;
    }
    const auto row = notes.find(std::pair(std::string("zgenericasset"), asset.uuid));
    const auto noted = [&](const char *column) {
        return row != notes.end() ? notedText(row->second, column) : std::string();
    };
    asset.originalFilename = textOf(std::move(asset.originalFilename), noted("originalfilename"));
    asset.format = textOf(std::move(asset.format), noted("format"));
    asset.problem = textOf(std::move(asset.problem), noted("problem"));
    asset.camera = textOf(std::move(asset.camera), noted("camera"));
    asset.lens = textOf(std::move(asset.lens), noted("lens"));
    asset.caption = captionOf(textOf(std::move(asset.caption), noted("caption")));
    asset.keywords = keywordLines(keywordsIn(textOf(std::move(asset.keywords), noted("keywords"))));
    asset.rating = std::clamp<std::int64_t>(asset.rating, 0, maxRating);
    if (asset.isoSpeed.value_or(0) < 0)
        asset.isoSpeed.reset();
    for (std::optional<double> *number : {&asset.exposureSeconds, &asset.aperture, &asset.focalLength})
        if (*number && !(**number >= 0 && std::isfinite(**number)))
            number->reset();
    for (double *date : {&asset.dateCreated, &asset.dateAdded})
        if (!std::isfinite(*date))
            *date = secondsNow();
    if (asset.byteSize > INT64_MAX) {
        std::error_code none;
        const std::uintmax_t size = fs::file_size(paths.original(asset), none);
        asset.byteSize = none ? 0 : size;
    }
    return asset;
}

Result<> replaceAsset(Database &database, const AssetRecord &asset) {
    if (!faultOf(asset).empty())
        return database.prepare("DELETE FROM zgenericasset WHERE pk = ?").bind(asset.primaryKey).run();
    return database
        .prepare("UPDATE zgenericasset SET uuid = ?2, directory = ?3, filename = ?4, originalfilename = ?5, "
                 "format = ?6, problem = ?7, datecreated = ?8, dateadded = ?9, bytesize = ?10, camera = ?11, "
                 "lens = ?12, exposureseconds = ?13, aperture = ?14, isospeed = ?15, focallength = ?16, "
                 "rating = ?17, caption = ?18, keywords = ?19 WHERE pk = ?1")
        .bind(asset.primaryKey, asset.uuid, asset.directory, asset.filename, asset.originalFilename,
              asset.format, asset.problem, asset.dateCreated, asset.dateAdded, asset.byteSize, asset.camera,
              asset.lens, asset.exposureSeconds, asset.aperture, asset.isoSpeed, asset.focalLength,
              asset.rating, asset.caption, asset.keywords)
        .run();
}

Result<> replaceAlbum(Database &database, AlbumRecord album) {
    if (!isUUID(album.uuid))
        album.uuid = UUID::createRandom()->uuidString()->utf8();
    if (!isText(album.name)) // no two have the same
        album.name = textOf(album.name, {}) + ' ' + album.uuid.substr(0, 8);
    if (!std::isfinite(album.dateCreated))
        album.dateCreated = secondsNow();
    const std::optional<std::string_view> stream = album.streamID.empty() || !isText(album.streamID)
                                                       ? std::nullopt
                                                       : std::optional<std::string_view>(album.streamID);
    return database
        .prepare("UPDATE zalbum SET uuid = ?2, name = ?3, datecreated = ?4, streamid = ?5 WHERE pk = ?1")
        .bind(album.primaryKey, album.uuid, album.name, album.dateCreated, stream)
        .run();
}

/// A person keeps what is known of them under a text that can be asked for; a change of nothing goes.
Result<> mendTexts(Database &database) {
    for (const store::TextColumn &column : store::textColumns()) {
        const auto rows = store::rowsWithoutText(database, column);
        if (!rows)
            return passOn(rows);
        const std::string table = column.table;
        for (const auto &[number, text] : *rows) {
            const std::string mended = column.holdsUUID ? std::string() : textOf(text, {});
            const auto done =
                mended.empty()
                    ? database.prepare("DELETE FROM " + table + " WHERE rowid = ?").bind(number).run()
                    : database
                          .prepare("UPDATE OR REPLACE " + table + " SET " + column.column +
                                   " = ? WHERE rowid = ?")
                          .bind(mended, number)
                          .run();
            if (!done)
                return done;
        }
    }
    return {};
}

template <class Record>
void keepUnsound(std::vector<Record> &records) {
    std::erase_if(records, [](const Record &each) { return faultOf(each).empty(); });
}

} // namespace

Result<> repairRows(Library &library) {
    const ReleaseScope scope;
    auto assets = library.read([](Database &database) {
        return database.prepare(std::string(store::selectAssets)).all(store::readRecord);
    });
    if (!assets)
        return passOn(assets);
    auto albums = library.read([](Database &database) {
        return database.prepare("SELECT pk, uuid, name, coalesce(streamid, ''), datecreated FROM zalbum")
            .all([](const Statement &row) {
                return AlbumRecord{row.integer(0), std::string(row.text(1)), std::string(row.text(2)),
                                   std::string(row.text(3)), row.real(4)};
            });
    });
    if (!albums)
        return passOn(albums);
    keepUnsound(*assets);
    keepUnsound(*albums);
    const auto texts = library.read([](Database &database) -> Result<std::size_t> {
        std::size_t count = 0;
        for (const store::TextColumn &column : store::textColumns()) {
            const auto rows = store::rowsWithoutText(database, column);
            if (!rows)
                return passOn(rows);
            count += rows->size();
        }
        return count;
    });
    if (!texts)
        return passOn(texts);
    if (assets->empty() && albums->empty() && *texts == 0)
        return {};
    JX_LOG(JXLogLevelNotice, JXPhotosStateLog,
           "repairing %zu assets, %zu albums and %zu other entries that the store holds wrong",
           assets->size(), albums->size(), *texts);
    const NotedRows notes = readNotes(library.paths());
    return library.writer().change([&](Database &database) -> Result<> {
        for (const AssetRecord &each : *assets)
            if (const auto done = replaceAsset(database, mended(library.paths(), notes, each)); !done)
                return done;
        for (const AlbumRecord &each : *albums)
            if (const auto done = replaceAlbum(database, each); !done)
                return done;
        return mendTexts(database);
    });
}

Result<> restoreForgottenRows(Library &library) {
    const auto forgotten = library.read(
        [&](Database &database) -> Result<NotedRows> { return forgottenRows(library.paths(), database); });
    if (!forgotten)
        return passOn(forgotten);
    if (forgotten->empty())
        return {};
    const auto restored = library.writer().change([&](Database &database) -> Result<std::size_t> {
        std::size_t count = 0;
        // Read again, now that nothing is removed meanwhile. Assets come before what refers to them.
        const NotedRows rows = forgottenRows(library.paths(), database);
        for (const bool isAsset : {true, false})
            for (const auto &[name, columns] : rows)
                if ((name.first == "zgenericasset") == isAsset)
                    count += insertNotedRow(database, name.first, columns) ? 1 : 0;
        return keepKeysOfTrash(database).map([count] { return count; });
    });
    if (!restored)
        return passOn(restored);
    JX_LOG(JXLogLevelNotice, JXPhotosStateLog, "restored %zu entries of the store from the notes beside it",
           *restored);
    return {};
}

} // namespace wickerlane::hoardd
