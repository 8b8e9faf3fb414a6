#include "hoardd/service/OperationFamilies.h"

#include <unistd.h>

#include "hoardd/library/Clock.h"
#include "hoardd/library/Lookup.h"
#include "hoardd/pictures/PictureStore.h"
#include "hoardd/pictures/PreviewWell.h"
#include "hoardd/pictures/Renditions.h"
#include "hoardd/pictures/Thumbnails.h"
#include "hoardd/service/Call.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/Entitlements.h"
#include "wickerlane/store/RenditionReader.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

// Comes twice for one call of a client: the second time there is nothing left to do.
Result<Answer> setLargePreviewImage(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    const auto *properties = as<Dictionary>(call.get(keys::properties));
    if (call.value(keys::properties) != nullptr && properties == nullptr)
        return fail(ProblemKind::invalid, "properties is not a dictionary");
    const Data *picture = call.get(keys::imageData);
    if (picture == nullptr || picture->length() == 0)
        return fail(ProblemKind::invalid, "the picture is empty");
    if (const auto done = setRendition(library, (*asset)->record(), *picture, properties); !done)
        return passOn(done);
    return Answer().set(keys::success, true).set(keys::hasEntitlement, true);
}

Result<Answer> revertAsset(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    return whenDone(revertRendition(library, (*asset)->record()));
}

Result<Answer> renditionOfAsset(Library &library, const Call &call) {
    const auto asset = assetWithURL(library, call.get(keys::assetURL));
    if (!asset)
        return passOn(asset);
    const AssetRecord &record = (*asset)->record();
    const auto rendition =
        library.read([&](sqlite::Database &database) { return store::readRendition(database, record.uuid); });
    if (!rendition)
        return passOn(rendition);
    Answer answer;
    if (!*rendition)
        return answer;
    answer.set(keys::fileURL,
               URL::ofPath(library.paths().renditionFolder(record.uuid) + '/' + (*rendition)->filename));
    if (const auto properties = (*rendition)->properties())
        answer.set(keys::properties, properties.get());
    return answer;
}

Result<Answer> updateThumbnails(Library &library, const Call &call) {
    const auto *uuids = as<Array>(call.get(keys::photoUUIDs));
    if (uuids == nullptr)
        return fail(ProblemKind::invalid, "photoUUIDs is not an array");
    const ThumbnailRequest request{.isForced = call.get(keys::forceRefresh),
                                   .newIndex = call.get(keys::assignNewIndex)};
    for (const Object *each : *uuids) {
        ReleaseScope scope;
        const auto *uuid = as<String>(each);
        const auto asset = assetWithUUID(library, uuid != nullptr ? uuid->utf8() : std::string_view());
        if (!asset || (*asset)->record().isUndecodable())
            continue; // what can't be decoded has none
        if (const auto made = makeThumbnails(library, (*asset)->record(), request); !made)
            JX_LOG(JXLogLevelError, JXThumbnailsLog, "can't make the thumbnails of %@: %s", uuid,
                   made.error().text.c_str());
    }
    return Answer();
}

Result<Answer> updateCameraPreviewWell(Library &library, const Call &call) {
    const String *uri = call.get(keys::objectIDText);
    if (uri == nullptr)
        return whenDone(clearPreviewWell(library));
    const auto asset = assetWithURI(library, uri->utf8());
    if (!asset)
        return passOn(asset);
    return whenDone(showInPreviewWell(library, (*asset)->record()));
}

constexpr double previewKeptSeconds = 86'400;

Result<Answer> download(Library &library, const Call &call) {
    const auto found = assetWithObjectID(library, call.value(keys::objectID));
    if (!found)
        return passOn(found);
    const AssetRecord &asset = (*found)->record();
    const std::string original = library.paths().original(asset);
    if (::access(original.c_str(), R_OK) != 0)
        return fail(ProblemKind::notFound, "the original is missing, and there is no cloud to fetch it from",
                    original);
    if (call.get(keys::shouldExtendTimer)) {
        const auto kept = library.writer().change([&](sqlite::Database &database) {
            return keepPreviewUntil(database, asset.primaryKey, secondsNow() + previewKeptSeconds);
        });
        if (!kept)
            return passOn(kept);
    }
    if (!call.get(keys::requestThumbnail) || asset.isUndecodable())
        return Answer();
    return whenDone(makeThumbnails(library, asset, {}));
}

// A library without a cloud has all its originals, so that nothing is ever fetched; a thumbnail that is
// missing can still be made.
Result<> downloadAsset(Library &library, ClientJobs queue, const Call &call) {
    const auto job = [&library, call] {
        call.finish(withoutExceptions([&] { return download(library, call); }));
    };
    return call.get(keys::shouldPrioritize) ? queue.addFirst(job) : queue.add({job});
}

constexpr Operation operations[] = {
    {.row = &protocol::setLargePreviewImage,
     .handler = setLargePreviewImage,
     .runs = Runs::asJob,
     .entitlement = &JXWriteAssetsEntitlement,
     .refusal = bySuccessAndEntitlement},
    {.row = &protocol::revertAsset,
     .handler = revertAsset,
     .runs = Runs::asJob,
     .entitlement = &JXWriteAssetsEntitlement},
    reading(protocol::renditionOfAsset, renditionOfAsset),
    {&protocol::updateThumbnails, updateThumbnails, Runs::asJob},
    {&protocol::updateCameraPreviewWell, updateCameraPreviewWell},
    {&protocol::downloadAsset, downloadAsset},
};

} // namespace

std::span<const Operation> renditionOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
