#include "hoardd/albums/AlbumNotes.h"

#include <fcntl.h>

#include <cmath>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

#include "hoardd/library/Clock.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::hoardd {

using store::LibraryPaths;

namespace {

constexpr std::size_t maxNoteBytes = 64 << 20;
constexpr const char *albumFile = "/album.plist";
constexpr const char *assetsFile = "/assets"; // UUIDs, one a line

std::string noteFolder(const LibraryPaths &paths, const std::string &albumUUID) {
    return paths.albums() + '/' + albumUUID;
}

std::optional<AlbumRecord> readAlbum(const std::string &folder) {
    const auto uuid = UUID::createWithText(std::filesystem::path(folder).filename().string());
    std::vector<std::byte> bytes;
    if (!uuid || !readFile(folder + albumFile, bytes, maxNoteBytes))
        return std::nullopt;
    const auto described = createPropertyListObject(bytes);
    const auto *dictionary = as<Dictionary>(described.get());
    const auto *name = dictionary != nullptr ? dictionary->get<String>("name") : nullptr;
    if (name == nullptr)
        return std::nullopt;
    AlbumRecord album;
    album.uuid = uuid->uuidString()->utf8();
    album.name = name->utf8();
    if (const auto *stream = dictionary->get<String>("streamID"))
        album.streamID = stream->utf8();
    const auto *created = dictionary->get<Date>("dateCreated");
    album.dateCreated = created != nullptr && std::isfinite(created->referenceSeconds())
                            ? created->referenceSeconds()
                            : secondsNow();
    return album;
}

std::vector<std::string> readAssets(const std::string &folder) {
    std::vector<std::byte> bytes;
    std::vector<std::string> assets;
    if (!readFile(folder + assetsFile, bytes, maxNoteBytes))
        return assets; // an empty album has no such file
    std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    // A last line without its end was cut off.
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        assets.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return assets;
}

} // namespace

void noteAlbum(const LibraryPaths &paths, const AlbumRecord &album) {
    const std::string folder = noteFolder(paths, album.uuid);
    const auto described = Dictionary::createWithKeys(
        {{"name", String::of(album.name)},
         {"streamID", String::of(album.streamID)},
         {"dateCreated", Date::createWithReferenceSeconds(album.dateCreated).get()}});
    const auto bytes = createPropertyListData(described.get());
    if (!makeFolders(folder) || !bytes || !replaceFile(folder + albumFile, bytes->span()))
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't note the album %s beside the store",
               album.uuid.c_str());
}

void noteAlbumAsset(const LibraryPaths &paths, const std::string &albumUUID, const std::string &assetUUID) {
    const std::string line = assetUUID + '\n';
    const UniqueFd file = openFile(noteFolder(paths, albumUUID) + assetsFile, O_WRONLY | O_APPEND | O_CREAT);
    if (!file || !writeAll(file.get(), std::as_bytes(std::span(line))))
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't note an asset of the album %s beside the store",
               albumUUID.c_str());
}

void noteAlbumAssets(const LibraryPaths &paths, const std::string &albumUUID,
                     std::span<const std::string> assetUUIDs) {
    std::string lines;
    for (const std::string &each : assetUUIDs)
        lines.append(each).append("\n");
    if (!replaceFile(noteFolder(paths, albumUUID) + assetsFile, std::as_bytes(std::span(lines))))
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't note the assets of the album %s beside the store",
               albumUUID.c_str());
}

void removeAlbumNote(const LibraryPaths &paths, const std::string &albumUUID) {
    std::error_code ignored; // it would only come back with a restore
    std::filesystem::remove_all(noteFolder(paths, albumUUID), ignored);
}

std::vector<NotedAlbum> readAlbumNotes(const LibraryPaths &paths) {
    std::vector<NotedAlbum> noted;
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(paths.albums(), none)) {
        ReleaseScope scope;
        const std::string folder = entry.path();
        if (auto album = readAlbum(folder))
            noted.push_back({*std::move(album), readAssets(folder)});
    }
    return noted;
}

} // namespace wickerlane::hoardd
