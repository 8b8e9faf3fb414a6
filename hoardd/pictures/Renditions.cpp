#include "hoardd/pictures/Renditions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "hoardd/library/Interim.h"
#include "hoardd/library/Sha256.h"
#include "hoardd/media/FileType.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;
using store::AssetRecord;
using store::ThumbnailSize;

namespace {

std::string failing(const std::string &what) {
    return "can't " + what + ": " + std::strerror(errno);
}

std::string folderOf(const std::string &path) {
    return path.substr(0, path.rfind('/'));
}

std::string hexadecimal(Bytes bytes) {
    std::string text;
    for (const std::byte each : bytes) {
        constexpr const char *digits = "0123456789abcdef";
        text += digits[std::to_integer<unsigned>(each) >> 4];
        text += digits[std::to_integer<unsigned>(each) & 15];
    }
    return text;
}

} // namespace

std::string Renditions::pathOf(const AssetRecord &asset) const {
    std::string problem;
    auto database = openReader(library, problem);
    if (!database)
        return {};
    Statement statement = database->prepare("SELECT filename FROM zrendition WHERE assetuuid = ?");
    statement.bind(asset.uuid);
    return statement.next()
               ? library.paths().renditionFolder(asset.uuid) + '/' + std::string(statement.text(0))
               : std::string();
}

std::string Renditions::set(const AssetRecord &asset, const Data &picture, const Dictionary *properties) {
    const FileType type = fileTypeOf(picture.span().first(std::min(picture.length(), mediaTypeBytes)), "");
    const std::string folder = library.paths().renditionFolder(asset.uuid);
    // Named by its contents, so that a rendition never takes the place of another before its row does.
    const store::Sha256 sum = sha256Of(picture.span());
    const std::string filename = asset.uuid + '-' + hexadecimal(Bytes(sum).first(8)) + '.' + type.extension;
    const std::string path = folder + '/' + filename;
    const std::lock_guard guard(library.locks().of(asset.uuid));
    if (!library.writer().contains(asset.uuid).value_or(false))
        return "there is no such asset";
    const std::string earlier = pathOf(asset);
    if (earlier == path && ::access(path.c_str(), F_OK) == 0)
        return {};

    if (!makeFolders(folder) || !syncFolder(folderOf(folder)) || !replaceFile(path, picture.span()))
        return failing("write " + path);
    const UniqueFd file = openFile(path, O_RDONLY);
    NewThumbnails thumbnails(library.paths(), asset.uuid);
    std::string problem = file ? make(file.get(), thumbnails) : failing("open " + path);
    if (problem.empty()) {
        const auto coded = properties != nullptr ? createPropertyListData(properties) : nullptr;
        const auto added = Date::createNow();
        // Were the process killed before the thumbnails are in their places, the next would make them.
        problem = asText(library.writer().change([&](Database &database) {
            return database.prepare("INSERT OR REPLACE INTO zrendition VALUES (?, ?, ?, ?, ?)")
                       .bind(asset.uuid, std::string_view(filename), Bytes(sum), added->referenceSeconds(),
                             coded ? coded->span() : Bytes())
                       .run() &&
                   database.prepare("INSERT OR IGNORE INTO zduethumbnail VALUES (?)")
                       .bind(asset.primaryKey)
                       .run();
        }));
        const std::string &needless = problem.empty() ? earlier : path;
        if (earlier != path)
            ::unlink(needless.c_str());
        return problem.empty() ? publish(thumbnails, asset, true) : problem;
    }
    if (earlier != path)
        ::unlink(path.c_str());
    return problem;
}

std::string Renditions::makeThumbnails(const AssetRecord &asset, bool force, bool newIndex) {
    bool isMissing = asset.thumbnailIndex == 0;
    for (const ThumbnailSize size : store::thumbnailSizes)
        isMissing = isMissing || ::access(library.paths().thumbnail(asset.uuid, size).c_str(), F_OK) != 0;
    if (!force && !isMissing)
        return {};
    const std::lock_guard guard(library.locks().of(asset.uuid));
    if (!library.writer().contains(asset.uuid).value_or(false))
        return "there is no such asset";
    const std::string rendition = pathOf(asset);
    const std::string path = rendition.empty() ? library.paths().original(asset) : rendition;
    const UniqueFd picture = openFile(path, O_RDONLY);
    NewThumbnails thumbnails(library.paths(), asset.uuid);
    const std::string problem = picture ? make(picture.get(), thumbnails) : failing("open " + path);
    return problem.empty() ? publish(thumbnails, asset, newIndex) : problem;
}

std::string Renditions::make(int picture, NewThumbnails &thumbnails) {
    if (std::string problem = thumbnails.open(); !problem.empty())
        return problem;
    const ProbeResult probed = library.media().probe(picture, thumbnails.targets());
    return probed.succeeded() ? std::string() : probed.reason;
}

std::string Renditions::publish(NewThumbnails &thumbnails, const AssetRecord &asset, bool newIndex) {
    if (std::string problem = thumbnails.publish(); !problem.empty())
        return problem;
    const bool counts = newIndex || asset.thumbnailIndex == 0;
    return asText(library.writer().change([&](Database &database) {
        return database
                   .prepare(
                       counts ? "UPDATE zgenericasset SET thumbnailindex = thumbnailindex + 1, previewpurged "
                                "= 0 WHERE uuid = ?"
                              : "UPDATE zgenericasset SET previewpurged = 0 WHERE uuid = ? AND previewpurged")
                   .bind(asset.uuid)
                   .run() &&
               database.prepare("DELETE FROM zduethumbnail WHERE asset = ?").bind(asset.primaryKey).run();
    }));
}

} // namespace wickerlane::hoardd
