#include "wickerlane/protocol/LibraryOperations.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

// A count that the reply lacks is null, not zero.
Ref<Number> countUnder(const protocol::Key<protocol::coding::UInt64> &key, const Reply &reply) {
    return reply.has(key) ? Number::create(reply.get(key)) : nullptr;
}

} // namespace

void JXGatekeeperClient::createPixholdDatabase() {
    ReleaseScope scope;
    const Request request(protocol::createPixholdDatabase);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("Unable to create library. This is bad. (%@)", reply.errorDescription());
}

void JXGatekeeperClient::getPhotosAndVideosCountWithHandler(Handler<Number *, Number *> handler) {
    if (!handler)
        failParameter(this, protocol::getPhotosAndVideosCount.name, "handler != NULL");
    const Request request(protocol::getPhotosAndVideosCount);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        WorkQueue::global()->async(
            [handler, photos = countUnder(keys::photoCount, reply),
             videos = countUnder(keys::videoCount, reply)] { handler(photos.get(), videos.get()); });
    });
}

std::int64_t JXGatekeeperClient::getCurrentModelVersion() {
    ReleaseScope scope;
    const Request request(protocol::getCurrentModelVersion);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error getting current model version");
    return reply.isDictionary() ? reply.get(keys::version) : -1;
}
