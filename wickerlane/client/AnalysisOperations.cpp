#include "wickerlane/protocol/AnalysisRows.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

void sendAndIgnoreReply(MessageConnection *connection, const protocol::Row &row) {
    static_cast<void>(Request(row).sendAndWait(connection));
}

// For a moment or a list of moments. One that was never saved needs no analysis, so that nothing is sent.
void analyze(MessageConnection *connection, const protocol::Row &row,
             const protocol::Key<protocol::coding::ObjectID> &key, const ManagedObject *object) {
    ManagedObjectID *objectID = object != nullptr ? object->objectID() : nullptr;
    if (objectID != nullptr && !objectID->isTemporary())
        Request(row).set(key, objectID).send(connection);
}

} // namespace

bool JXGatekeeperClient::hasCompletedMomentAnalysis() {
    const Request request(protocol::hasCompletedMomentAnalysis);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("Unable to retrieve moment analysis state from hoardd. This is unfortunate. (%@)",
                   reply.errorDescription());
    return reply.get(keys::isComplete);
}

void JXGatekeeperClient::rebuildMomentsIncremental(bool incremental) {
    Request request(protocol::rebuildMoments);
    request.set(keys::incremental, incremental);
    static_cast<void>(request.sendAndWait(connection()));
}

void JXGatekeeperClient::rebuildMomentLists() {
    sendAndIgnoreReply(connection(), protocol::rebuildMomentLists);
}

void JXGatekeeperClient::analyzeAllMoments() {
    sendAndIgnoreReply(connection(), protocol::analyzeAllMoments);
}

void JXGatekeeperClient::analyzeInvalidMomentsAndDupesIfNeeded() {
    sendAndIgnoreReply(connection(), protocol::analyzeInvalidMomentsAndDupesIfNeeded);
}

void JXGatekeeperClient::rebuildCloudFeed() {
    sendAndIgnoreReply(connection(), protocol::rebuildCloudFeed);
}

void JXGatekeeperClient::resetDupesAnalysis() {
    sendAndIgnoreReply(connection(), protocol::resetDupesAnalysis);
}

void JXGatekeeperClient::rebuildAllThumbnails() {
    sendAndIgnoreReply(connection(), protocol::rebuildAllThumbnails);
}

void JXGatekeeperClient::setAreDuplicates(bool areDuplicates, Array *photos) {
    Request request(protocol::setAreDuplicates);
    request.set(keys::areDuplicates, areDuplicates);
    request.set(keys::photoUUIDs, uuidsOf(photos));
    static_cast<void>(request.sendAndWait(connection()));
}

void JXGatekeeperClient::analyzeMoment(const ManagedObject *moment) {
    analyze(connection(), protocol::analyzeMoment, keys::momentOID, moment);
}

void JXGatekeeperClient::analyzeMomentList(const ManagedObject *momentList) {
    analyze(connection(), protocol::analyzeMomentList, keys::momentListOID, momentList);
}
