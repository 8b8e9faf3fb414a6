#include "hoardd/albums/Albums.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <span>

#include "hoardd/albums/BulletinBoard.h"
#include "hoardd/library/Clock.h"
#include "hoardd/library/Interim.h"
#include "hoardd/library/State.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::hoardd {

using store::AlbumRecord;

namespace {

constexpr const char *albumFile = "/album.plist";
constexpr const char *assetsFile = "/assets"; // UUIDs, one a line, in the order of adding

/// What a user is called: by the full name, if there is one, else as at logging in.
std::string nameOf(uid_t user) {
    std::array<char, 4096> buffer{};
    passwd entry{}, *found = nullptr;
    if (::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
        return {};
    const std::string_view full = found->pw_gecos != nullptr ? found->pw_gecos : "";
    const std::string_view name = full.substr(0, full.find(','));
    return std::string(name.empty() ? found->pw_name : name);
}

bool insertAlbum(sqlite::Database &database, const AlbumRecord &album) {
    return database
        .prepare("INSERT INTO zalbum (uuid, name, streamid, datecreated) VALUES (?, ?, nullif(?, ''), ?)")
        .bind(album.uuid, album.name, album.streamID, album.dateCreated)
        .run();
}

bool exists(sqlite::Database &database, const char *sql, std::string_view value) {
    return database.prepare(sql).bind(value).next();
}

} // namespace

Albums::Made Albums::make(std::string_view name, std::string_view streamID) {
    Made made;
    AlbumRecord album;
    album.uuid = UUID::createRandom()->uuidString()->utf8();
    album.name = name;
    album.streamID = streamID;
    album.dateCreated = secondsNow();
    bool isNew = false;
    made.problem = asText(library.writer().change([&](sqlite::Database &database) {
        auto shared = database.prepare("SELECT uuid FROM zalbum WHERE streamid = ?");
        if (!streamID.empty() && shared.bind(streamID).next()) {
            made.uuid = shared.text(0);
            return true;
        }
        made.nameTaken = exists(database, "SELECT 1 FROM zalbum WHERE name = ?", name);
        if (made.nameTaken)
            return true;
        isNew = insertAlbum(database, album);
        return isNew;
    }));
    if (!made.problem.empty() || !isNew)
        return made;
    noteAlbum(album);
    made.uuid = album.uuid;
    return made;
}

std::string Albums::add(const store::ManagedAsset &asset, const store::ManagedAlbum &album, uid_t user) {
    bool isNew = false, isFull = false;
    const double date = secondsNow();
    const AlbumRecord &record = album.record();
    std::string problem = asText(library.writer().change([&](sqlite::Database &database) {
        auto present = database.prepare("SELECT 1 FROM zalbumasset WHERE album = ? AND asset = ?");
        if (present.bind(record.primaryKey, asset.record().primaryKey).next())
            return true;
        if (!record.streamID.empty()) {
            auto count = database.prepare("SELECT cachedcount FROM zalbum WHERE pk = ?");
            isFull = count.bind(record.primaryKey).next() &&
                     count.integer(0) >= state::get(database, state::mostSharedAssets).value_or(INT64_MAX);
            if (isFull)
                return true;
        }
        isNew = database.prepare("INSERT INTO zalbumasset VALUES (?, ?, ?)")
                    .bind(record.primaryKey, asset.record().primaryKey, date)
                    .run();
        return isNew && (record.streamID.empty() ||
                         BulletinBoard::addAsset(database, asset.record(), record, nameOf(user), date));
    }));
    if (isFull)
        problem = "the shared album is full";
    if (!problem.empty() || !isNew)
        return problem;
    noteAsset(record.uuid, asset.record().uuid);
    if (!record.streamID.empty())
        BulletinBoard::tellOfChange();
    return {};
}

std::string Albums::deleteIfEmpty(std::int64_t album) {
    std::string uuid;
    std::string problem = asText(library.writer().change([&](sqlite::Database &database) {
        auto empty = database.prepare("SELECT uuid FROM zalbum WHERE pk = ? AND NOT EXISTS "
                                      "(SELECT 1 FROM zalbumasset WHERE album = zalbum.pk)");
        if (!empty.bind(album).next())
            return !empty.failed();
        uuid = empty.text(0);
        empty.reset();
        return database.prepare("DELETE FROM zalbum WHERE pk = ?").bind(album).run();
    }));
    if (problem.empty() && !uuid.empty()) {
        BulletinBoard::tellOfChange(); // those of the album have gone with it
        std::error_code ignored;       // it would only come back with a restore
        std::filesystem::remove_all(library.paths().albums() + '/' + uuid, ignored);
    }
    return problem;
}

std::string Albums::recount() {
    return asText(library.writer().change([](sqlite::Database &database) {
        return database.execute("UPDATE zalbum SET cachedcount = "
                                "(SELECT count(*) FROM zalbumasset WHERE album = zalbum.pk)");
    }));
}

// What stands beside the store is a copy, written after the commit: one that fails is told, and costs nothing
// unless the store is lost, too.
void Albums::noteAlbum(const AlbumRecord &album) const {
    const std::string folder = library.paths().albums() + '/' + album.uuid;
    const auto described = Dictionary::createWithKeys(
        {{"name", String::of(album.name)},
         {"streamID", String::of(album.streamID)},
         {"dateCreated", Date::createWithReferenceSeconds(album.dateCreated).get()}});
    const auto bytes = createPropertyListData(described.get());
    if (!makeFolders(folder) || !bytes || !replaceFile(folder + albumFile, bytes->span()))
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't note the album %s beside the store",
               album.uuid.c_str());
}

void Albums::noteAsset(const std::string &albumUUID, const std::string &assetUUID) const {
    const std::string path = library.paths().albums() + '/' + albumUUID + assetsFile, line = assetUUID + '\n';
    const UniqueFd file = openFile(path, O_WRONLY | O_APPEND | O_CREAT);
    if (!file || !writeAll(file.get(), std::as_bytes(std::span(line))))
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't note an asset of the album %s beside the store",
               albumUUID.c_str());
}

std::string Albums::recreate() {
    constexpr std::size_t mostBytes = 64 << 20;
    std::string problems;
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(library.paths().albums(), none)) {
        ReleaseScope scope;
        AlbumRecord album;
        const auto uuid = UUID::createWithText(entry.path().filename().string());
        std::vector<std::byte> bytes, lines;
        if (!uuid || !readFile(entry.path().string() + albumFile, bytes, mostBytes))
            continue;
        const auto described = createPropertyListObject(bytes);
        const auto *dictionary = as<Dictionary>(described.get());
        const auto *name = dictionary != nullptr ? dictionary->get<String>("name") : nullptr;
        if (name == nullptr)
            continue;
        album.uuid = uuid->uuidString()->utf8();
        album.name = name->utf8();
        if (const auto *stream = dictionary->get<String>("streamID"))
            album.streamID = stream->utf8();
        const auto *created = dictionary->get<Date>("dateCreated");
        album.dateCreated = created != nullptr && std::isfinite(created->referenceSeconds())
                                ? created->referenceSeconds()
                                : secondsNow();
        static_cast<void>(readFile(entry.path().string() + assetsFile, lines, mostBytes)); // may be empty
        const std::string_view text(reinterpret_cast<const char *>(lines.data()), lines.size());
        const std::string problem = asText(library.writer().change([&](sqlite::Database &database) {
            if (exists(database, "SELECT 1 FROM zalbum WHERE uuid = ?", album.uuid))
                return true;
            // The name may have gone to another album meanwhile, and the stream, too.
            if (exists(database, "SELECT 1 FROM zalbum WHERE streamid = ?", album.streamID))
                album.streamID.clear();
            const std::string wanted = album.name;
            for (int number = 2; exists(database, "SELECT 1 FROM zalbum WHERE name = ?", album.name);
                 ++number)
                album.name = wanted + ' ' + std::to_string(number);
            if (!insertAlbum(database, album))
                return false;
            auto insert = database.prepare(
                "INSERT OR IGNORE INTO zalbumasset SELECT zalbum.pk, zgenericasset.pk, ? "
                "FROM zalbum, zgenericasset WHERE zalbum.uuid = ? AND zgenericasset.uuid = ?");
            const double added = secondsNow();
            for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
                if (text.find('\n', at) == std::string_view::npos)
                    break; // a line that was cut off
                if (!insert.bind(added, album.uuid, text.substr(at, text.find('\n', at) - at)).run())
                    return false;
            }
            return true;
        }));
        if (!problem.empty())
            problems += (problems.empty() ? "" : "; ") + album.name + ": " + problem;
    }
    return problems;
}

} // namespace wickerlane::hoardd
