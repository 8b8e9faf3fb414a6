#include "wickerlane/protocol/AssetOperations.h"

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

constexpr const char *receivedError = "Received error from hoardd.";

// A job that carries its sender's call stack is shown, without the stack's own entry, before it is sent.
void logJobWithCallStack(const char *method, Object *job) {
    auto *dictionary = as<Dictionary>(job);
    Object *callStack = dictionary != nullptr ? dictionary->get("callStack") : nullptr;
    if (callStack == nullptr)
        return;
    consoleLog("##### %@ %@", String::of(method), callStack);
    JXJobLogDictionary(dictionary, Array::of({String::of("callStack")}));
}

} // namespace

int JXGatekeeperClient::fileDescriptorForAssetURL(URL *assetURL) {
    ReleaseScope scope;
    Request request(protocol::fileDescriptorForAssetURL);
    request.set(keys::assetURL, assetURL);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog(receivedError);
    return reply.get(keys::fileDescriptor);
}

URL *JXGatekeeperClient::fileURLForAssetURL(URL *assetURL, bool withAdjustments) {
    ReleaseScope scope;
    Request request(protocol::fileURLForAssetURL);
    request.set(keys::assetURL, assetURL);
    if (withAdjustments)
        request.set(keys::withAdjustments, true);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog(receivedError);
    return scope.handOver(reply.get(keys::fileURL));
}

void JXGatekeeperClient::saveAssetWithJobDictionary(Dictionary *jobDictionary,
                                                    Handler<Dictionary *, Error *> handler,
                                                    ImageSurface *imageSurface,
                                                    ImageSurface *previewImageSurface) {
    if (!handler)
        failParameter(this, protocol::saveAsset.name, "resultsBlock != NULL");
    logJobWithCallStack(protocol::saveAsset.name, jobDictionary);
    Request request(protocol::saveAsset);
    request.set(keys::jobDictionary, jobDictionary);
    request.set(keys::imagePort, imageSurface);
    request.set(keys::previewImagePort, previewImageSurface);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        if (reply.isError()) {
            handler(nullptr, errorWithCode(WickerlaneErrorService));
            return;
        }
        if (!reply.isDictionary())
            return;
        Dictionary *result = reply.get(keys::resultJobDictionary);
        const bool noData = reply.get(keys::noData);
        const bool jobQueueFull = reply.get(keys::jobQueueFull);
        if (noData || jobQueueFull)
            handler(nullptr, errorWithCode(noData ? WickerlaneErrorNoData : WickerlaneErrorJobQueueFull));
        else
            handler(result, nullptr);
    });
}

void JXGatekeeperClient::batchSaveAssetsWithJobDictionaries(Array *jobDictionaries,
                                                            Handler<Array *, Error *> handler) {
    if (!handler)
        failParameter(this, protocol::batchSaveAssets.name, "resultsBlock != NULL");
    if (jobDictionaries != nullptr && jobDictionaries->count() != 0)
        logJobWithCallStack(protocol::batchSaveAssets.name, jobDictionaries->at(0));
    Request request(protocol::batchSaveAssets);
    // What can't be encoded is skipped: the array that travels may be shorter than the one given.
    request.set(keys::jobDictionaries, jobDictionaries);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        if (reply.isError())
            handler(nullptr, errorWithCode(WickerlaneErrorService));
        else if (reply.isDictionary())
            handler(reply.get(keys::resultJobDictionaries), nullptr);
    });
}

URL *JXGatekeeperClient::fileURLForNewAssetWithType(int assetType, String *extension) {
    ReleaseScope scope;
    Request request(protocol::fileURLForNewAsset);
    request.set(keys::assetType, static_cast<std::uint64_t>(assetType));
    request.set(keys::extension, extension);
    const Reply reply = request.sendAndWait(connection());
    return scope.handOver(reply.get(keys::url));
}

void JXGatekeeperClient::requestImageDataForAsset(ManagedObjectID *objectID, int format,
                                                  Handler<Data *, int> handler) {
    if (!handler)
        failParameter(this, "requestImageDataForAsset:format:handler:", "resultsBlock != NULL");
    Request request(protocol::imageDataForAsset);
    request.set(keys::objectID, objectID);
    request.set(keys::format, static_cast<std::uint64_t>(std::int64_t{format}));
    request.sendWithReply(connection(), deviceSpecificReplyQueue(), [handler, format](const Reply &reply) {
        if (reply.isError())
            handler(nullptr, 0);
        else if (reply.isDictionary())
            handler(reply.get(keys::imageData), format);
    });
}

Data *JXGatekeeperClient::imageDataForAsset(ManagedObjectID *objectID, int format) {
    ReleaseScope scope;
    Request request(protocol::imageDataForAsset);
    request.set(keys::objectID, objectID);
    request.set(keys::format, static_cast<std::uint64_t>(std::int64_t{format}));
    const Reply reply = request.sendAndWait(connection());
    return scope.handOver(reply.get(keys::imageData));
}
