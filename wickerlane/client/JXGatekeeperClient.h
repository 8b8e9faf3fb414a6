// The one object through which a process talks to the photo library's daemon, hoardd.
//
// Conventions that hold for all operations:
//  - They may be called from any thread. Those that return a value, and those that say so, block until hoardd
//    has answered; the others return at once.
//  - A handler runs once, on the queue that its operation names, inside a release scope, and never on the
//    caller's thread; what it is given is borrowed for that time. A null handler where one is required is an
//    error of programming that stops the process.
//  - Object results are borrowed: they live until the current release scope ends.
//  - When the daemon can't be reached, operations give the failure value that they name, and most write one
//    line to the console log.
#ifndef WICKERLANE_CLIENT_JXGATEKEEPERCLIENT_H
#define WICKERLANE_CLIENT_JXGATEKEEPERCLIENT_H

#include "wickerlane/client/JXDaemonJob.h"
#include "wickerlane/platform/message/MessageConnection.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/ManagedObjectID.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/URL.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/platform/surface/ImageSurface.h"
#include "wickerlane/protocol/ServiceName.h"

/// Domain of every error that the client builds: "Wickerlane".
WL_EXPORT extern wickerlane::String *const WickerlaneErrorDomain;

/// Codes of errors in WickerlaneErrorDomain.
enum : std::int64_t {
    WickerlaneErrorAccessStatusTwo = 1,    ///< Access refused with status 2.
    WickerlaneErrorAccessStatusOne = 2,    ///< Access refused with status 1.
    WickerlaneErrorMissingEntitlement = 3, ///< The caller lacks an entitlement, which the description names.
    WickerlaneErrorService = 10, ///< The message service failed, or access was refused for another reason.
    WickerlaneErrorJobQueueFull = 11, ///< hoardd has too many jobs waiting; try again later.
    WickerlaneErrorNoData = 12,       ///< The job held no data to save.
};

class WL_EXPORT JXGatekeeperClient : public wickerlane::Object {
    WL_OBJECT
public:
    template <class... Arguments>
    using Handler = wickerlane::Handler<void(Arguments...)>;

    /// sharedInstance — the process's client, made on the first call and never destroyed.
    static JXGatekeeperClient *sharedInstance();
    /// init — a client of its own, whose connection is the caller's to release when the client is gone. Most
    /// callers want sharedInstance().
    [[nodiscard]] static wickerlane::Ref<JXGatekeeperClient> init();

    /// replyQueue — the global concurrent queue, on which most handlers run.
    [[nodiscard]] wickerlane::WorkQueue *replyQueue() const;
    /// sendQueue — the connection's target queue: the same as replyQueue().
    [[nodiscard]] wickerlane::WorkQueue *sendQueue() const;
    /// deviceSpecificReplyQueue — a serial queue on devices with one processor, else replyQueue().
    [[nodiscard]] wickerlane::WorkQueue *deviceSpecificReplyQueue() const;

    /// connection — the handle of the connection to hoardd. Null only if a caller set it so.
    [[nodiscard]] wickerlane::MessageConnection *connection() const noexcept { return _connection; }
    /// setConnection: — stores the handle without retaining it: the caller keeps it alive.
    void setConnection(wickerlane::MessageConnection *connection) noexcept { _connection = connection; }

    /// securityPolicyErrorForMissingEntitlement: — error 3, whose description names the entitlement.
    static wickerlane::Error *securityPolicyErrorForMissingEntitlement(wickerlane::String *entitlement);

    /// requestAccessWithHandler: — asks whether this process may use the photo library. The handler gets
    /// (granted, error) on the global queue. With a null handler nothing is sent.
    void requestAccessWithHandler(Handler<bool, wickerlane::Error *> handler);

    /// sendDaemonJob:replyHandler: — sends a job that encodes itself. The handler, which may be null, gets
    /// the raw reply, a dictionary or an error of the message service, on replyQueue().
    void sendDaemonJob(JXDaemonJob *job, Handler<wickerlane::MessageValue *> replyHandler);

    /// waitUntilConnectionSendsAllMessages — blocks until every message sent before has left this process.
    void waitUntilConnectionSendsAllMessages();

    /// launchHoardd — starts the daemon if it is not running.
    void launchHoardd();

    // Asset files and saves.

    /// fileDescriptorForAssetURL: — an asset's original, open for reading; the caller closes it. -1 on
    /// failure.
    [[nodiscard]] int fileDescriptorForAssetURL(wickerlane::URL *assetURL);

    /// fileURLForAssetURL:withAdjustments: — where an asset's file is: the original, or the edited rendition
    /// when there is one and it is asked for. Null on failure.
    [[nodiscard]] wickerlane::URL *fileURLForAssetURL(wickerlane::URL *assetURL, bool withAdjustments);

    /// saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface: — saves one asset, described by a
    /// job dictionary and, if not null, its picture and a preview of it. The handler (required) gets (result,
    /// error) on replyQueue(): a result job dictionary (null when hoardd gave none), or null and error 10, 11
    /// or 12.
    void saveAssetWithJobDictionary(wickerlane::Dictionary *jobDictionary,
                                    Handler<wickerlane::Dictionary *, wickerlane::Error *> handler,
                                    wickerlane::ImageSurface *imageSurface = nullptr,
                                    wickerlane::ImageSurface *previewImageSurface = nullptr);

    /// batchSaveAssetsWithJobDictionaries:handler: — saves many assets; null is none. The handler (required)
    /// gets (results, error) on replyQueue(): the results in order, of the jobs that could be encoded; or
    /// null and error 10. The collection must not change during the call.
    void batchSaveAssetsWithJobDictionaries(wickerlane::Array *jobDictionaries,
                                            Handler<wickerlane::Array *, wickerlane::Error *> handler);

    /// fileURLForNewAssetWithType:extension: — a file URL in the library, reserved for an asset that the
    /// caller writes and then saves. Null on failure.
    [[nodiscard]] wickerlane::URL *fileURLForNewAssetWithType(int assetType, wickerlane::String *extension);

    /// requestImageDataForAsset:format:handler: — an asset's picture in one of hoardd's image formats. The
    /// handler (required) gets (data or null, format) on deviceSpecificReplyQueue(); (null, 0) when hoardd
    /// can't be reached.
    void requestImageDataForAsset(wickerlane::ManagedObjectID *objectID, int format,
                                  Handler<wickerlane::Data *, int> handler);

    /// imageDataForAsset:format: — the same, blocking. Null on failure.
    [[nodiscard]] wickerlane::Data *imageDataForAsset(wickerlane::ManagedObjectID *objectID, int format);

    // The library's life and upkeep.

    /// createPixholdDatabase — makes the library's database if there is none. Blocks.
    void createPixholdDatabase();

    /// getPhotosAndVideosCountWithHandler: — the handler (required) gets the two counts on the global queue;
    /// each is null when hoardd did not say it.
    void getPhotosAndVideosCountWithHandler(Handler<wickerlane::Number *, wickerlane::Number *> handler);

    /// getCurrentModelVersion — version of the library store's model; -1 when unknown. Blocks.
    [[nodiscard]] std::int64_t getCurrentModelVersion();

private:
    JXGatekeeperClient() = default;

    wickerlane::Ref<wickerlane::WorkQueue> _serialReplyQueue;
    wickerlane::MessageConnection *_connection = nullptr;
};

#endif
