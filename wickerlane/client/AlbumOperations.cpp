#include "wickerlane/protocol/AlbumRows.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

// The kind of the reply is not checked: an error reads as a missing entitlement.
void sendDeletion(const Request &request, MessageConnection *connection, WorkQueue *queue,
                  wickerlane::Handler<void(bool, Error *)> handler) {
    request.sendWithReply(connection, queue, [handler = std::move(handler)](const Reply &reply) {
        const bool success = reply.get(keys::success);
        const bool hasEntitlement = reply.get(keys::hasEntitlement);
        handler(success, hasEntitlement ? nullptr
                                        : JXGatekeeperClient::securityPolicyErrorForMissingEntitlement(
                                              JXDeleteAssetsEntitlement));
    });
}

} // namespace

// The kind of the reply is not checked: an error reads as a free name without an album.
void JXGatekeeperClient::addGroupWithName(String *name, Handler<bool, URL *, Error *> handler) {
    if (!handler)
        failParameter(this, protocol::addGroup.name, "resultsBlock != NULL");
    Request request(protocol::addGroup);
    request.set(keys::name, name);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        if (reply.get(keys::nameTaken)) {
            handler(true, nullptr, nullptr);
            return;
        }
        URL *groupURL = reply.get(keys::groupURL);
        handler(false, groupURL, groupURL != nullptr ? nullptr : errorWithCode(WickerlaneErrorNoGroupURL));
    });
}

void JXGatekeeperClient::addAssetWithURL(URL *assetURL, String *toAlbumWithUUID,
                                         Handler<bool, Error *> handler) {
    constexpr const char *name = protocol::addAssetToAlbum.name;
    if (assetURL == nullptr)
        failParameter(this, name, "assetURL");
    if (toAlbumWithUUID == nullptr)
        failParameter(this, name, "albumUUID");
    if (!handler)
        failParameter(this, name, "resultsBlock != NULL");
    Request request(protocol::addAssetToAlbum);
    request.set(keys::assetURL, assetURL);
    request.set(keys::albumUUID, toAlbumWithUUID);
    request.sendWithReply(connection(), replyQueue(),
                          [handler](const Reply &reply) { handler(reply.get(keys::success), nullptr); });
}

bool JXGatekeeperClient::renameAlbumWithUUID(String *uuid, String *to) {
    Request request(protocol::renameAlbum);
    request.set(keys::albumUUID, uuid);
    request.set(keys::name, to);
    return request.sendAndWait(connection()).isDictionary();
}

bool JXGatekeeperClient::deleteAlbumWithUUID(String *uuid) {
    Request request(protocol::deleteAlbum);
    request.set(keys::albumUUID, uuid);
    return request.sendAndWait(connection()).isDictionary();
}

bool JXGatekeeperClient::removePhotos(Array *photos, String *fromAlbumWithUUID) {
    Request request(protocol::removeFromAlbum);
    request.set(keys::photoUUIDs, uuidsOf(photos));
    request.set(keys::albumUUID, fromAlbumWithUUID);
    return request.sendAndWait(connection()).isDictionary();
}

void JXGatekeeperClient::deleteAssetWithURL(URL *assetURL, Handler<bool, Error *> handler) {
    if (assetURL == nullptr)
        failParameter(this, protocol::deleteAsset.name, "assetURL");
    // The text is "resultBlock" here and "resultsBlock" in all other operations.
    if (!handler)
        failParameter(this, protocol::deleteAsset.name, "resultBlock != NULL");
    Request request(protocol::deleteAsset);
    request.set(keys::assetURL, assetURL);
    sendDeletion(request, connection(), replyQueue(), std::move(handler));
}

void JXGatekeeperClient::removeAssetWithURL(URL *assetURL, Handler<bool, Error *> handler) {
    if (assetURL == nullptr)
        failParameter(this, protocol::removeAsset.name, "assetURL");
    if (!handler)
        failParameter(this, protocol::removeAsset.name, "resultsBlock != NULL");
    Request request(protocol::removeAsset);
    request.set(keys::assetURL, assetURL);
    sendDeletion(request, connection(), replyQueue(), std::move(handler));
}

void JXGatekeeperClient::restoreTrashedAssetWithURL(URL *assetURL, Handler<bool, Error *> handler) {
    if (assetURL == nullptr)
        failParameter(this, protocol::restoreTrashedAsset.name, "assetURL");
    if (!handler)
        failParameter(this, protocol::restoreTrashedAsset.name, "resultsBlock != NULL");
    Request request(protocol::restoreTrashedAsset);
    request.set(keys::assetURL, assetURL);
    sendDeletion(request, connection(), replyQueue(), std::move(handler));
}

void JXGatekeeperClient::emptyTrashWithHandler(Handler<bool, Error *> handler) {
    if (!handler)
        failParameter(this, protocol::emptyTrash.name, "resultsBlock != NULL");
    sendDeletion(Request(protocol::emptyTrash), connection(), replyQueue(), std::move(handler));
}

void JXGatekeeperClient::setExternalUsageIntent(std::uint64_t intent, URL *forAssetWithURL,
                                                Handler<bool, Error *> handler) {
    if (forAssetWithURL == nullptr)
        failParameter(this, protocol::setExternalUsageIntent.name, "assetURL");
    if (!handler)
        failParameter(this, protocol::setExternalUsageIntent.name, "resultsBlock != NULL");
    Request request(protocol::setExternalUsageIntent);
    request.set(keys::externalUsageIntent, intent);
    request.set(keys::assetURL, forAssetWithURL);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        if (reply.isError()) {
            consoleLog("Unable to set external usage intent because Msg service returned an error. (%@)",
                       reply.errorDescription());
            handler(false, nullptr);
        } else if (reply.isDictionary()) {
            handler(reply.get(keys::success), nullptr);
        }
    });
}

void JXGatekeeperClient::recalculateCachedAlbumCounts() {
    Request(protocol::recalculateCachedAlbumCounts).send(connection());
}

void JXGatekeeperClient::automaticallyDeleteEmptyAlbum(const ManagedObject *album) {
    Request request(protocol::automaticallyDeleteEmptyAlbum);
    request.set(keys::albumOID, album != nullptr ? album->objectID() : nullptr);
    request.send(connection());
}
