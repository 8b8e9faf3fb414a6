#include "wickerlane/protocol/AssetRows.h"

#include "wickerlane/client/ClientInternal.h"
#include "wickerlane/log/JXLog.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

constexpr const char *receivedError = "Received error from hoardd.";

// Logs a job that has its sender's call stack under "callStack": the stack first, then the other entries.
void logJobWithCallStack(const char *method, Object *job) {
    ReleaseScope scope;
    auto *dictionary = as<Dictionary>(job);
    Object *callStack = dictionary != nullptr ? dictionary->get("callStack") : nullptr;
    if (callStack == nullptr)
        return;
    consoleLog("##### %@ %@", String::of(method), callStack);
    JXJobLogDictionary(dictionary, Array::of({String::of("callStack")}));
}

} // namespace

int JXGatekeeperClient::fileDescriptorForAssetURL(URL *assetURL) {
    Request request(protocol::fileDescriptorForAssetURL);
    request.set(keys::assetURL, assetURL);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog(receivedError);
    return reply.get(keys::fileDescriptor);
}

URL *JXGatekeeperClient::fileURLForAssetURL(URL *assetURL, bool withAdjustments) {
    Request request(protocol::fileURLForAssetURL);
    request.set(keys::assetURL, assetURL);
    if (withAdjustments)
        request.set(keys::withAdjustments, true);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog(receivedError);
    return request.handOver(reply.get(keys::fileURL));
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
    request.set(keys::jobDictionaries, jobDictionaries);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        if (reply.isError())
            handler(nullptr, errorWithCode(WickerlaneErrorService));
        else if (reply.isDictionary())
            handler(reply.get(keys::resultJobDictionaries), nullptr);
    });
}

URL *JXGatekeeperClient::fileURLForNewAssetWithType(int assetType, String *extension) {
    Request request(protocol::fileURLForNewAsset);
    request.set(keys::assetType, static_cast<std::uint64_t>(assetType));
    request.set(keys::extension, extension);
    const Reply reply = request.sendAndWait(connection());
    return request.handOver(reply.get(keys::url));
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
    Request request(protocol::imageDataForAsset);
    request.set(keys::objectID, objectID);
    request.set(keys::format, static_cast<std::uint64_t>(std::int64_t{format}));
    const Reply reply = request.sendAndWait(connection());
    return request.handOver(reply.get(keys::imageData));
}

// The request is sent twice. The caller waits for the first reply, whose values the handler gets when the
// second reply has come.
void JXGatekeeperClient::setLargePreviewImageForAssetWithURL(URL *assetURL, Data *imageData,
                                                             Dictionary *properties,
                                                             Handler<bool, Error *> handler) {
    Request request(protocol::setLargePreviewImage);
    request.set(keys::assetURL, assetURL);
    request.set(keys::imageData, imageData);
    request.set(keys::properties, properties);
    const Reply first = request.sendAndWait(connection());
    request.sendWithReply(connection(), replyQueue(), [handler, first](const Reply &) {
        if (first.isError()) {
            consoleLog("Can't set edited rendition for asset (%@)", first.errorDescription());
            if (handler)
                handler(false, nullptr);
            return;
        }
        if (!handler)
            return;
        const bool success = first.get(keys::success);
        const bool hasEntitlement = first.get(keys::hasEntitlement);
        handler(success, hasEntitlement ? nullptr
                                        : securityPolicyErrorForMissingEntitlement(JXWriteAssetsEntitlement));
    });
}

void JXGatekeeperClient::updateThumbnailsForPhotos(Array *photos, bool waitForReply, bool assignNewIndex,
                                                   bool forceRefresh) {
    Request request(protocol::updateThumbnails);
    request.set(keys::photoUUIDs, uuidsOf(photos));
    request.set(keys::assignNewIndex, assignNewIndex);
    request.set(keys::forceRefresh, forceRefresh);
    request.set(keys::waitingForReply, waitForReply);
    if (waitForReply)
        static_cast<void>(request.sendAndWait(connection()));
    else
        request.send(connection());
}

bool JXGatekeeperClient::adjustDatesBySeconds(std::int64_t seconds, Array *photos) {
    Request request(protocol::adjustDates);
    request.set(keys::seconds, seconds);
    request.set(keys::photoUUIDs, uuidsOf(photos));
    return request.sendAndWait(connection()).isDictionary();
}

bool JXGatekeeperClient::setDetails(Dictionary *details, Array *photos) {
    Request request(protocol::setDetails);
    request.set(keys::properties, details);
    request.set(keys::photoUUIDs, uuidsOf(photos));
    return request.sendAndWait(connection()).isDictionary();
}

void JXGatekeeperClient::updateCameraPreviewWellImage(const ManagedObject *asset) {
    Request request(protocol::updateCameraPreviewWell);
    // Unlike all other object IDs this one is sent as a string.
    if (asset != nullptr && asset->objectID() != nullptr)
        request.set(keys::objectIDText, asset->objectID()->uriRepresentation()->absoluteString());
    request.send(connection());
}

void JXGatekeeperClient::updateRestoredAssetWithUUID(String *uuid, Object *paths) {
    JX_LOG(JXLogLevelDebug, JXGenericLog, "Updating restored asset with uuid = %@", uuid);
    Request request(protocol::updateRestoredAsset);
    request.set(keys::assetUUID, uuid != nullptr ? uuid : String::of(""));
    request.set(keys::assetPaths, paths);
    request.sendWithReply(connection(), replyQueue(), [](const Reply &) {});
}

void JXGatekeeperClient::writeDataInBackground(Data *data, URL *toFileURL) {
    Request request(protocol::writeDataInBackground);
    request.set(keys::dataToSave, data);
    request.set(keys::destinationURL, toFileURL);
    request.send(connection());
}

void JXGatekeeperClient::downloadAsset(ManagedObjectID *objectID, bool requestThumbnail,
                                       bool shouldPrioritize, bool shouldExtendTimer) {
    if (objectID == nullptr)
        return;
    Request request(protocol::downloadAsset);
    request.set(keys::objectID, objectID);
    request.set(keys::requestThumbnail, requestThumbnail);
    request.set(keys::shouldPrioritize, shouldPrioritize);
    request.set(keys::shouldExtendTimer, shouldExtendTimer);
    request.send(connection());
}

std::int64_t JXGatekeeperClient::estimatedOutputFileLengthForVideoURL(URL *videoURL, String *fallbackFilePath,
                                                                      String *exportPreset,
                                                                      Dictionary *exportProperties) {
    const auto hasText = [](const String *text) { return text != nullptr && text->length() != 0; };
    Request request(protocol::estimatedOutputFileLength);
    request.set(keys::videoURL, videoURL);
    if (hasText(fallbackFilePath))
        request.set(keys::fallbackFilePath, fallbackFilePath);
    if (hasText(exportPreset))
        request.set(keys::exportPreset, exportPreset);
    if (exportProperties != nullptr && exportProperties->count() != 0)
        request.set(keys::exportProperties, exportProperties);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog(receivedError);
    return reply.isDictionary() ? reply.get(keys::fileLength) : -1;
}

Dictionary *JXGatekeeperClient::videoMetadataAtPath(String *path) {
    Request request(protocol::videoMetadata);
    request.set(keys::filePath, path);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog(receivedError);
    return request.handOver(as<Dictionary>(reply.get(keys::metadata)));
}
