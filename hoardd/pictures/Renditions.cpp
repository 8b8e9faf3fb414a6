#include "hoardd/pictures/Renditions.h"

#include <unistd.h>

#include <algorithm>

#include "hoardd/library/DurableFolders.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/library/StagedFile.h"
#include "hoardd/library/WorkNote.h"
#include "hoardd/media/FileType.h"
#include "hoardd/pictures/DerivedSize.h"
#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/PreviewWell.h"
#include "hoardd/pictures/ShownPicture.h"
#include "hoardd/pictures/Thumbnails.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

namespace {

/// Named by its contents, so that a rendition never takes the place of another before its row does.
std::string filenameOf(const AssetRecord &asset, Bytes picture, const Sha256 &sum) {
    const FileType type = fileTypeOf(picture.first(std::min(picture.size(), mediaTypeBytes)), "");
    return asset.uuid + '-' + hexadecimal(Bytes(sum).first(8)) + '.' + type.extension;
}

Result<> writeRendition(Library &library, const std::string &path, Bytes picture) {
    const std::string folder(parentFolder(path));
    if (auto made = makeDurableFolder(folder); !made)
        return made;
    auto file = StagedFile::create(library.paths().saving());
    if (!file)
        return passOn(file);
    if (auto written = file->write(picture); !written)
        return written;
    if (auto synced = file->sync(); !synced)
        return synced;
    if (auto moved = file->moveTo(path); !moved)
        return moved;
    return makeNamesDurable(folder);
}

/// Of what was committed: the thumbnails stay due when they can't be put in their places.
void putThumbnails(Library &library, StagedThumbnails &thumbnails, const AssetRecord &asset) {
    const auto published = publishThumbnails(library, thumbnails, asset, true);
    if (published)
        return;
    JX_LOG(JXLogLevelError, JXThumbnailsLog, "the thumbnails of %s are made later: %s", asset.uuid.c_str(),
           published.error().text.c_str());
    library.thumbnailRetry().noteFailure();
}

/// Writes a picture and its thumbnails, with the asset's lock held. The picture goes again on failure.
Result<> replaceRendition(Library &library, const AssetRecord &asset, const std::string &earlier,
                          const std::string &path, Bytes picture, const RenditionRow &row) {
    const auto removeUnlessEarlier = [&](const std::string &needless) {
        if (earlier != path)
            ::unlink(needless.c_str());
    };
    // Until the row is committed nothing else says whose the file is.
    const auto note = WorkNote::write(library.paths(), asset, Work::rendition);
    if (!note)
        return passOn(note);
    if (auto written = writeRendition(library, path, picture); !written) {
        removeUnlessEarlier(path); // it may be in its place already
        return written;
    }
    auto thumbnails = stageThumbnails(library, asset.uuid, path);
    if (!thumbnails) {
        removeUnlessEarlier(path);
        return passOn(thumbnails);
    }
    // Were the process killed before the thumbnails are in their places, the next would make them.
    auto stored = library.writer().change(
        [&](sqlite::Database &database) { return storeRendition(database, asset.primaryKey, row); });
    removeUnlessEarlier(stored ? earlier : path);
    if (stored)
        putThumbnails(library, *thumbnails, asset);
    return stored;
}

} // namespace

Result<> setRendition(Library &library, const AssetRecord &asset, const Data &picture,
                      const Dictionary *properties) {
    const auto summed = store::sha256Of(picture.span());
    if (!summed)
        return passOn(summed);
    const Sha256 &sum = *summed;
    const std::string filename = filenameOf(asset, picture.span(), sum);
    const std::string path = library.paths().renditionFolder(asset.uuid) + '/' + filename;
    const auto coded = properties != nullptr ? createPropertyListData(properties) : nullptr;

    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    const auto earlier = renditionPath(library, asset);
    if (!earlier)
        return passOn(earlier);
    const Bytes described = coded ? coded->span() : Bytes();
    if (*earlier == path && ::access(path.c_str(), F_OK) == 0)
        return library.writer().change([&](sqlite::Database &database) {
            return storeRenditionProperties(database, asset.uuid, described);
        });
    return replaceRendition(library, asset, *earlier, path, picture.span(),
                            {asset.uuid, filename, sum, described});
}

Result<> revertRendition(Library &library, const AssetRecord &asset) {
    const MutexLock lock(library.locks().of(asset.uuid));
    if (auto isThere = requireAsset(library, asset.uuid); !isThere)
        return isThere;
    const auto rendition = renditionPath(library, asset);
    if (!rendition)
        return passOn(rendition);
    if (rendition->empty())
        return fail(ProblemKind::notFound, "the asset has not been edited");
    const std::string original = library.paths().original(asset);
    if (::access(original.c_str(), R_OK) != 0)
        return failSystem("read", original);
    auto thumbnails = stageThumbnails(library, asset.uuid, original);
    const bool hasNone = !thumbnails && thumbnails.error().kind == ProblemKind::invalid;
    if (!thumbnails && !hasNone)
        return passOn(thumbnails);
    // Until the file has gone nothing else says whose it is.
    const auto note = WorkNote::write(library.paths(), asset, Work::rendition);
    if (!note)
        return passOn(note);
    // Were the process killed before the thumbnails are in their places, the next would make them.
    if (auto stored = library.writer().change(
            [&](sqlite::Database &database) { return storeNoRendition(database, asset); });
        !stored)
        return stored;
    ::unlink(rendition->c_str());
    if (thumbnails) {
        putThumbnails(library, *thumbnails, asset);
        return {};
    }
    for (const auto &kind : store::thumbnailKinds)
        ::unlink(library.paths().thumbnail(asset.uuid, kind.size).c_str());
    leavePreviewWell(library, asset);
    return library.writer().change([&](sqlite::Database &database) {
        return storeNoThumbnails(database, asset.primaryKey).and_then([&] {
            return storeDerivedSize(library, database, asset);
        });
    });
}

Result<> forgetMissingRendition(Library &library, const std::string &uuid) {
    const MutexLock lock(library.locks().of(uuid));
    const auto filename = library.writer().renditionOf(uuid);
    if (!filename)
        return passOn(filename);
    const std::string path = library.paths().renditionFolder(uuid) + '/' + *filename;
    if (filename->empty() || ::access(path.c_str(), F_OK) == 0 || errno != ENOENT)
        return {};
    const auto asset = assetWithUUID(library, uuid);
    if (!asset)
        return passOn(asset);
    return library.writer().change(
        [&](sqlite::Database &database) { return storeNoRendition(database, (*asset)->record()); });
}

} // namespace wickerlane::hoardd
