#include "wickerlane/client/ClientInternal.h"
#include "wickerlane/client/LastError.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/CoreRows.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

constexpr const char *noArgument = "The asset's URL or the album's UUID is missing.";

// Why hoardd says no in a reply that is no error; nothing when it has saved the asset.
std::optional<Problem> refusalIn(const Reply &reply, const Dictionary *result) {
    if (reply.get(keys::noData))
        return noDataToSave();
    if (reply.get(keys::jobQueueFull))
        return jobQueueFull();
    if (result == nullptr)
        return Problem{ProblemKind::failed, noAnswer, {}};
    return problemOfJob(*result);
}

// An older hoardd says no without a reason: then it is `usual`.
bool succeeded(const Reply &reply, const char *usual) {
    const bool success = reply.get(keys::success);
    if (!success && !reply.isError())
        noteProblem(reply.problem().value_or(Problem{ProblemKind::failed, usual, {}}));
    return success;
}

// Of a reply that also says whether this program has the entitlement.
bool succeeded(const Reply &reply, const String *entitlement, const char *usual) {
    if (reply.isError() || reply.get(keys::hasEntitlement))
        return succeeded(reply, usual);
    const auto told = reply.problem();
    noteProblem(told && told->kind != ProblemKind::refused ? *told : entitlementMissing(entitlement));
    return false;
}

bool isMissing(const void *argument, const char *reason) {
    if (argument == nullptr)
        noteProblem({ProblemKind::invalid, reason, {}});
    return argument == nullptr;
}

// Sends a request about one asset that needs an entitlement.
bool changeAsset(MessageConnection *connection, const protocol::Row &row, URL *assetURL,
                 const String *entitlement, const char *usual) {
    if (isMissing(assetURL, noArgument))
        return false;
    Request request(row);
    request.set(keys::assetURL, assetURL);
    return succeeded(request.sendAndWait(connection), entitlement, usual);
}

} // namespace

bool JXGatekeeperClient::requestAccess() {
    const Request request(protocol::requestAccess);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return false;
    if (!reply.has(keys::authorized)) {
        noteProblem({ProblemKind::failed, noAnswer, {}});
        return false;
    }
    if (reply.get(keys::authorized) == 0)
        return true;
    noteProblem(accessRefused());
    return false;
}

Dictionary *JXGatekeeperClient::saveAsset(Dictionary *jobDictionary, ImageSurface *imageSurface,
                                          ImageSurface *previewImageSurface) {
    Request request(protocol::saveAsset);
    request.set(keys::jobDictionary, jobDictionary);
    request.set(keys::imagePort, imageSurface);
    request.set(keys::previewImagePort, previewImageSurface);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return nullptr;
    Dictionary *result = reply.get(keys::resultJobDictionary);
    const auto refusal = refusalIn(reply, result);
    if (refusal)
        noteProblem(*refusal);
    return request.handOver(refusal ? nullptr : result);
}

Array *JXGatekeeperClient::saveAssets(Array *jobDictionaries) {
    Request request(protocol::batchSaveAssets);
    request.set(keys::jobDictionaries, jobDictionaries);
    const Reply reply = request.sendAndWait(connection());
    return request.handOver(reply.isError() ? nullptr : reply.get(keys::resultJobDictionaries));
}

URL *JXGatekeeperClient::addAlbum(String *name) {
    Request request(protocol::addGroup);
    request.set(keys::name, name);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        return nullptr;
    URL *url = reply.get(keys::groupURL);
    if (reply.get(keys::nameTaken))
        noteProblem({ProblemKind::exists, "There is an album of that name.", {}});
    else if (url == nullptr)
        noteProblem({ProblemKind::failed, noAnswer, {}});
    return request.handOver(url);
}

bool JXGatekeeperClient::addAsset(URL *assetURL, String *toAlbumWithUUID) {
    if (isMissing(assetURL, noArgument) || isMissing(toAlbumWithUUID, noArgument))
        return false;
    Request request(protocol::addAssetToAlbum);
    request.set(keys::assetURL, assetURL);
    request.set(keys::albumUUID, toAlbumWithUUID);
    return succeeded(request.sendAndWait(connection()),
                     "hoardd did not add the asset. See that there is such an asset and such an album; more "
                     "is in hoardd's log.");
}

bool JXGatekeeperClient::deleteAsset(URL *assetURL) {
    return changeAsset(connection(), protocol::deleteAsset, assetURL, JXDeleteAssetsEntitlement,
                       "hoardd did not delete the asset. See that there is such an asset; more is in "
                       "hoardd's log.");
}

bool JXGatekeeperClient::removeAsset(URL *assetURL) {
    return changeAsset(connection(), protocol::removeAsset, assetURL, JXDeleteAssetsEntitlement,
                       "hoardd did not delete the asset. See that there is such an asset, in the library or "
                       "the trash; more is in hoardd's log.");
}

bool JXGatekeeperClient::restoreTrashedAsset(URL *assetURL) {
    return changeAsset(connection(), protocol::restoreTrashedAsset, assetURL, JXDeleteAssetsEntitlement,
                       "hoardd did not restore the asset. See that it is in the trash; more is in hoardd's "
                       "log.");
}

bool JXGatekeeperClient::emptyTrash() {
    return succeeded(Request(protocol::emptyTrash).sendAndWait(connection()), JXDeleteAssetsEntitlement,
                     "hoardd did not empty the trash. More is in hoardd's log.");
}

bool JXGatekeeperClient::setLargePreviewImage(URL *assetURL, Data *imageData, Dictionary *properties) {
    if (isMissing(assetURL, noArgument) || isMissing(imageData, "There is no picture to set."))
        return false;
    Request request(protocol::setLargePreviewImage);
    request.set(keys::assetURL, assetURL);
    request.set(keys::imageData, imageData);
    request.set(keys::properties, properties);
    return succeeded(request.sendAndWait(connection()), JXWriteAssetsEntitlement,
                     "hoardd did not set the edited version. See that there is such an asset, and that the "
                     "picture can be decoded; more is in hoardd's log.");
}

bool JXGatekeeperClient::revertAsset(URL *assetURL) {
    if (isMissing(assetURL, noArgument))
        return false;
    Request request(protocol::revertAsset);
    request.set(keys::assetURL, assetURL);
    return request.sendAndWait(connection()).isDictionary();
}

bool JXGatekeeperClient::setUsageIntent(std::uint64_t intent, URL *forAssetWithURL) {
    if (isMissing(forAssetWithURL, noArgument))
        return false;
    Request request(protocol::setExternalUsageIntent);
    request.set(keys::externalUsageIntent, intent);
    request.set(keys::assetURL, forAssetWithURL);
    return succeeded(request.sendAndWait(connection()),
                     "hoardd did not record the use. See that there is such an asset; more is in hoardd's "
                     "log.");
}
