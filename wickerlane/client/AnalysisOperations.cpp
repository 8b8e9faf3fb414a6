#include "wickerlane/protocol/AnalysisRows.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

// Sends and waits; what comes back is not looked at.
void demand(MessageConnection *connection, const protocol::Operation &row) {
    static_cast<void>(Request(row).sendAndWait(connection));
}

// Names a moment or a list of moments; one that was never saved is not worth a request.
void analyze(MessageConnection *connection, const protocol::Operation &row,
             const protocol::Key<protocol::coding::ObjectID> &key, const ManagedObject *object) {
    ManagedObjectID *objectID = object != nullptr ? object->objectID() : nullptr;
    if (objectID != nullptr && !objectID->isTemporary())
        Request(row).set(key, objectID).send(connection);
}

} // namespace

bool JXGatekeeperClient::hasCompletedMomentAnalysis() {
    ReleaseScope scope;
    const Reply reply = Request(protocol::hasCompletedMomentAnalysis).sendAndWait(connection());
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
    demand(connection(), protocol::rebuildMomentLists);
}

void JXGatekeeperClient::analyzeAllMoments() {
    demand(connection(), protocol::analyzeAllMoments);
}

void JXGatekeeperClient::analyzeInvalidMomentsAndDupesIfNeeded() {
    demand(connection(), protocol::analyzeInvalidMomentsAndDupesIfNeeded);
}

void JXGatekeeperClient::rebuildCloudFeed() {
    demand(connection(), protocol::rebuildCloudFeed);
}

void JXGatekeeperClient::resetDupesAnalysis() {
    demand(connection(), protocol::resetDupesAnalysis);
}

void JXGatekeeperClient::rebuildAllThumbnails() {
    demand(connection(), protocol::rebuildAllThumbnails);
}

void JXGatekeeperClient::setAreDuplicates(bool areDuplicates, Array *photos) {
    ReleaseScope scope;
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
