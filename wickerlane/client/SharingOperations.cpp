#include "wickerlane/protocol/SharingRows.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

// The values of "smJobType".
constexpr std::uint64_t askOnly = 0;
constexpr std::uint64_t purge = 1;

// Both operations on the shared albums' space log the same line.
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
    Request request(protocol::getCurrentBulletins);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error receiving bulletins from hoardd");
    return request.handOver(as<Array>(reply.get(keys::bulletins)));
}

std::int64_t JXGatekeeperClient::getCurrentApplicationBadgeCount() {
    const Request request(protocol::getCurrentApplicationBadgeCount);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error receiving application badge count from hoardd");
    return reply.get(keys::badgeCount);
}

Data *JXGatekeeperClient::getThumbnailImageDataForBulletinWithRecordID(unsigned long recordID) {
    Request request(protocol::getThumbnailImageDataForBulletin);
    request.set(keys::recordID, recordID);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error receiving image data for thumbnail with recordID = %lu from hoardd", recordID);
    return request.handOver(reply.get(keys::thumbnailImageData));
}

void JXGatekeeperClient::clearAllBulletinsWithLastClearedRecordID(unsigned long lastClearedRecordID) {
    Request(protocol::clearAllBulletins)
        .set(keys::lastClearedRecordID, lastClearedRecordID)
        .send(connection());
}

void JXGatekeeperClient::updateSharedAlbumsCachedServerConfigurationLimits() {
    Request(protocol::updateSharedAlbumsCachedServerConfigurationLimits).send(connection());
}

std::int64_t JXGatekeeperClient::purgeableSharedAssetsSpace() {
    Request request(protocol::purgeableSharedAssetsSpace);
    request.set(keys::smJobType, askOnly);
    return returnedBytes(request.sendAndWait(connection()));
}

std::int64_t JXGatekeeperClient::attemptToPurgeSharedAssetsSpace(std::uint64_t bytes) {
    Request request(protocol::attemptToPurgeSharedAssetsSpace);
    request.set(keys::smJobType, purge);
    request.set(keys::smBytesRequested, bytes);
    return returnedBytes(request.sendAndWait(connection()));
}

// The line is that of emailAddressForKey(), with the -1 that is returned.
int JXGatekeeperClient::keyForEmailAddress(String *address) {
    Request request(protocol::keyForEmailAddress);
    request.set(keys::email, address);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError()) {
        consoleLog("*** Error getting email address for key %lld", -1LL);
        return -1;
    }
    return static_cast<int>(reply.get(keys::emailKey));
}

String *JXGatekeeperClient::emailAddressForKey(int key) {
    Request request(protocol::emailAddressForKey);
    request.set(keys::emailKey, std::int64_t{key});
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError()) {
        consoleLog("*** Error getting email address for key %d", key);
        return nullptr;
    }
    return request.handOver(reply.get(keys::email));
}

Dictionary *JXGatekeeperClient::personInfoDictionaryForPersonID(String *personID) {
    if (personID == nullptr)
        return nullptr;
    Request request(protocol::personInfoDictionary);
    request.set(keys::personID, personID);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError()) {
        consoleLog("*** Error getting person info for personID %@", personID);
        return nullptr;
    }
    return request.handOver(reply.get(keys::personInfoDictionary));
}

void JXGatekeeperClient::setPersonInfoDictionary(Dictionary *info, String *forPersonID) {
    if (forPersonID == nullptr)
        return;
    Request(protocol::setPersonInfoDictionary)
        .set(keys::personID, forPersonID)
        .set(keys::personInfoDictionary, info)
        .send(connection());
}
