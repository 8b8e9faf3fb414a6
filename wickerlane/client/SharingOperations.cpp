#include "wickerlane/protocol/SharingRows.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

constexpr std::uint64_t askOnly = 0, purge = 1; // what "smJobType" says

// The one line of both operations on the shared albums' space.
std::int64_t returnedBytes(const Reply &reply) {
    if (reply.isError())
        consoleLog("*** Error receiving result for attemptToPurgeSharedAssetsSpace call");
    return reply.get(keys::smBytesReturned);
}

} // namespace

void JXGatekeeperClient::createSnapriverAlbumWithStreamID(String *streamID) {
    static_cast<void>(
        Request(protocol::createSnapriverAlbum).set(keys::streamID, streamID).sendAndWait(connection()));
}

void JXGatekeeperClient::enableSnapriversWithStreamID(String *streamID) {
    Request(protocol::enableSnaprivers).set(keys::streamID, streamID).send(connection());
}

Array *JXGatekeeperClient::getCurrentBulletins() {
    ReleaseScope scope;
    const Reply reply = Request(protocol::getCurrentBulletins).sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error receiving bulletins from hoardd");
    return scope.handOver(as<Array>(reply.get(keys::bulletins)));
}

std::int64_t JXGatekeeperClient::getCurrentApplicationBadgeCount() {
    const Reply reply = Request(protocol::getCurrentApplicationBadgeCount).sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error receiving application badge count from hoardd");
    return reply.get(keys::badgeCount);
}

Data *JXGatekeeperClient::getThumbnailImageDataForBulletinWithRecordID(unsigned long recordID) {
    ReleaseScope scope;
    Request request(protocol::getThumbnailImageDataForBulletin);
    request.set(keys::recordID, recordID);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error receiving image data for thumbnail with recordID = %lu from hoardd", recordID);
    return scope.handOver(reply.get(keys::thumbnailImageData));
}

void JXGatekeeperClient::clearAllBulletinsWithLastClearedRecordID(unsigned long lastClearedRecordID) {
    Request(protocol::clearAllBulletins)
        .set(keys::lastClearedRecordID, lastClearedRecordID)
        .send(connection());
}

void JXGatekeeperClient::updateSharedAlbumsCachedServerConfigurationLimits() {
    ReleaseScope scope;
    Request(protocol::updateSharedAlbumsCachedServerConfigurationLimits).send(connection());
}

std::int64_t JXGatekeeperClient::purgeableSharedAssetsSpace() {
    return returnedBytes(Request(protocol::purgeableSharedAssetsSpace)
                             .set(keys::smJobType, askOnly)
                             .sendAndWait(connection()));
}

std::int64_t JXGatekeeperClient::attemptToPurgeSharedAssetsSpace(std::uint64_t bytes) {
    return returnedBytes(Request(protocol::attemptToPurgeSharedAssetsSpace)
                             .set(keys::smJobType, purge)
                             .set(keys::smBytesRequested, bytes)
                             .sendAndWait(connection()));
}

// The line speaks of getting an address, and shows the -1 that is given back.
int JXGatekeeperClient::keyForEmailAddress(String *address) {
    const Reply reply =
        Request(protocol::keyForEmailAddress).set(keys::email, address).sendAndWait(connection());
    if (reply.isError()) {
        consoleLog("*** Error getting email address for key %lld", -1LL);
        return -1;
    }
    return static_cast<int>(reply.get(keys::emailKey));
}

String *JXGatekeeperClient::emailAddressForKey(int key) {
    const Reply reply = Request(protocol::emailAddressForKey)
                            .set(keys::emailKey, std::int64_t{key})
                            .sendAndWait(connection());
    if (reply.isError()) {
        consoleLog("*** Error getting email address for key %d", key);
        return nullptr;
    }
    return reply.get(keys::email);
}

Dictionary *JXGatekeeperClient::personInfoDictionaryForPersonID(String *personID) {
    if (personID == nullptr)
        return nullptr;
    const Reply reply =
        Request(protocol::personInfoDictionary).set(keys::personID, personID).sendAndWait(connection());
    if (reply.isError()) {
        consoleLog("*** Error getting person info for personID %@", personID);
        return nullptr;
    }
    return reply.get(keys::personInfoDictionary);
}

void JXGatekeeperClient::setPersonInfoDictionary(Dictionary *info, String *forPersonID) {
    if (forPersonID == nullptr)
        return;
    Request(protocol::setPersonInfoDictionary)
        .set(keys::personID, forPersonID)
        .set(keys::personInfoDictionary, info)
        .send(connection());
}
