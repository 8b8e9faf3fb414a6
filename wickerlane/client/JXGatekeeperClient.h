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
#include "wickerlane/model/ManagedObjectID.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/URL.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/platform/surface/ImageSurface.h"
#include "wickerlane/protocol/BulletinKeys.h"
#include "wickerlane/protocol/Entitlements.h"
#include "wickerlane/protocol/ServiceName.h"

/// Domain of every error that the client builds: "Wickerlane".
WL_EXTERN_C wickerlane::String *const WickerlaneErrorDomain;

/// Codes of errors in WickerlaneErrorDomain.
enum : std::int64_t {
    WickerlaneErrorAccessStatusTwo = 1,    ///< Access refused with status 2.
    WickerlaneErrorAccessStatusOne = 2,    ///< Access refused with status 1.
    WickerlaneErrorMissingEntitlement = 3, ///< The caller lacks an entitlement, which the description names.
    WickerlaneErrorService = 10, ///< The message service failed, or access was refused for another reason.
    WickerlaneErrorJobQueueFull = 11, ///< hoardd has too many jobs waiting; try again later.
    WickerlaneErrorNoData = 12,       ///< The job held no data to save.
    WickerlaneErrorNoGroupURL = 13,   ///< hoardd named no album although the name was not taken.
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

    /// setLargePreviewImageForAssetWithURL:imageData:properties:handler: — gives an asset an edited
    /// rendition. Blocks while it is stored; the handler, which may be null, then gets (success, error) on
    /// replyQueue(): error 3 when the caller lacks JXWriteAssetsEntitlement.
    void setLargePreviewImageForAssetWithURL(wickerlane::URL *assetURL, wickerlane::Data *imageData,
                                             wickerlane::Dictionary *properties,
                                             Handler<bool, wickerlane::Error *> handler);

    /// updateThumbnailsForPhotos:waitForReply:assignNewIndex:forceRefresh: — makes the thumbnails of photos
    /// that lack them, or of all of them if `forceRefresh`. `photos` holds objects that are a
    /// wickerlane::Photo. Blocks until they are made if `waitForReply`.
    void updateThumbnailsForPhotos(wickerlane::Array *photos, bool waitForReply, bool assignNewIndex,
                                   bool forceRefresh);

    /// updateCameraPreviewWellImage: — shows an asset, or none when it is null, in the camera's preview well.
    void updateCameraPreviewWellImage(const wickerlane::ManagedObject *asset);

    /// updateRestoredAssetWithUUID:paths: — says where the files of a restored asset are. `paths` is a
    /// property-list object.
    void updateRestoredAssetWithUUID(wickerlane::String *uuid, wickerlane::Object *paths);

    /// writeDataInBackground:toFileURL: — has hoardd write a file in the library.
    void writeDataInBackground(wickerlane::Data *data, wickerlane::URL *toFileURL);

    /// downloadAsset:requestThumbnail:shouldPrioritize:shouldExtendTimer: — asks for an asset that is not
    /// here. Null is ignored.
    void downloadAsset(wickerlane::ManagedObjectID *objectID, bool requestThumbnail, bool shouldPrioritize,
                       bool shouldExtendTimer);

    /// estimatedOutputFileLengthForVideoURL:fallbackFilePath:exportPreset:exportProperties: — bytes that an
    /// export of a video would have; -1, with a line on the console, when hoardd can't say or can't be
    /// reached. All but the URL may be null or empty. Blocks.
    [[nodiscard]] std::int64_t estimatedOutputFileLengthForVideoURL(wickerlane::URL *videoURL,
                                                                    wickerlane::String *fallbackFilePath,
                                                                    wickerlane::String *exportPreset,
                                                                    wickerlane::Dictionary *exportProperties);

    /// videoMetadataAtPath: — what a video file says of itself; null on failure. Blocks.
    [[nodiscard]] wickerlane::Dictionary *videoMetadataAtPath(wickerlane::String *path);

    // Albums, and edits to assets. Handlers run on replyQueue(); required parameters stop the process when
    // they are null.

    /// addGroupWithName:handler: — makes an album. The handler (required) gets (name taken, album URL,
    /// error): error 13 when there is neither.
    void addGroupWithName(wickerlane::String *name,
                          Handler<bool, wickerlane::URL *, wickerlane::Error *> handler);

    /// addAssetWithURL:toAlbumWithUUID:handler: — all three required. The handler gets (success, null).
    void addAssetWithURL(wickerlane::URL *assetURL, wickerlane::String *toAlbumWithUUID,
                         Handler<bool, wickerlane::Error *> handler);

    /// deleteAssetWithURL:handler: — both required. The handler gets (success, error): error 3 when the
    /// caller lacks JXDeleteAssetsEntitlement, or hoardd can't be reached.
    void deleteAssetWithURL(wickerlane::URL *assetURL, Handler<bool, wickerlane::Error *> handler);

    /// setExternalUsageIntent:forAssetWithURL:handler: — notes how an asset is used outside the library. URL
    /// and handler are required. The handler gets (success, null).
    void setExternalUsageIntent(std::uint64_t intent, wickerlane::URL *forAssetWithURL,
                                Handler<bool, wickerlane::Error *> handler);

    /// recalculateCachedAlbumCounts — has the counts that albums keep made anew.
    void recalculateCachedAlbumCounts();

    /// automaticallyDeleteEmptyAlbum: — has an album deleted if nothing is in it.
    void automaticallyDeleteEmptyAlbum(const wickerlane::ManagedObject *album);

    // The library's life and upkeep.

    /// createPixholdDatabase — makes the library's database if there is none. Blocks.
    void createPixholdDatabase();

    /// getPhotosAndVideosCountWithHandler: — the handler (required) gets the two counts on the global queue;
    /// each is null when hoardd did not say it.
    void getPhotosAndVideosCountWithHandler(Handler<wickerlane::Number *, wickerlane::Number *> handler);

    /// getCurrentModelVersion — version of the library store's model; -1 when unknown. Blocks.
    [[nodiscard]] std::int64_t getCurrentModelVersion();

    /// importFileSystemAssetsWaitingForReply: — imports the assets that hoardd finds in the library's
    /// folders. Blocks until that is done if `wait`.
    void importFileSystemAssetsWaitingForReply(bool wait);

    /// getLibrarySizes: — the handler (required) gets a dictionary of bytes under kinds of size, or null, on
    /// replyQueue().
    void getLibrarySizes(Handler<wickerlane::Dictionary *> handler);

    /// updateModelAfterOTARestore — brings the library up to date after a restore over the air. Blocks.
    void updateModelAfterOTARestore();

    /// finalizeOTARestoreRecreatingAlbums: — ends such a restore.
    void finalizeOTARestoreRecreatingAlbums(bool recreate);

    /// secondsNeededToCleanupModelAfterHarborsyncRestore — how long the clean-up would take; 1 on failure, so
    /// that who shows progress still waits a moment. Blocks.
    [[nodiscard]] std::int64_t secondsNeededToCleanupModelAfterHarborsyncRestore();

    /// cleanupModelAfterHarborsyncRestore — blocks until it is done.
    void cleanupModelAfterHarborsyncRestore();

    /// repairPotentialModelCorruption — checks the library and repairs what it can. Blocks.
    void repairPotentialModelCorruption();

    /// dataMigrationWillFinish — ends a migration. Blocks.
    void dataMigrationWillFinish();

    /// notifyAboutTerminationDueToUncaughtException: — tells hoardd that this process dies of an exception.
    /// Blocks until the notice has left the process.
    void notifyAboutTerminationDueToUncaughtException(const wickerlane::Exception &exception);

    /// clearChangeStore — forgets the changes that have been recorded.
    void clearChangeStore();

    /// recoverFromCrashIfNeeded — puts right what a crash has left.
    void recoverFromCrashIfNeeded();

    /// repairSingletonObjects — makes anew what a library has one of. Blocks.
    void repairSingletonObjects();

    /// cleanupForStoreDemoMode — readies the library of a device that is shown in a shop.
    void cleanupForStoreDemoMode();

    /// hasCompletedRestorePostProcessing — whether nothing is left to do after a restore; false on failure.
    /// Blocks.
    [[nodiscard]] bool hasCompletedRestorePostProcessing();

    // What hoardd makes of the library. Those that rebuild or analyze block until hoardd has answered, which
    // can take long.

    /// hasCompletedMomentAnalysis — false on failure. Blocks.
    [[nodiscard]] bool hasCompletedMomentAnalysis();
    /// rebuildMomentsIncremental: — only around what has changed if `incremental`.
    void rebuildMomentsIncremental(bool incremental);
    void rebuildMomentLists();                    ///< rebuildMomentLists
    void analyzeAllMoments();                     ///< analyzeAllMoments
    void analyzeInvalidMomentsAndDupesIfNeeded(); ///< analyzeInvalidMomentsAndDupesIfNeeded
    void rebuildCloudFeed();                      ///< rebuildCloudFeed
    void resetDupesAnalysis();                    ///< resetDupesAnalysis
    void rebuildAllThumbnails();                  ///< rebuildAllThumbnails
    /// analyzeMoment: — does not block. An object that was never saved is ignored.
    void analyzeMoment(const wickerlane::ManagedObject *moment);
    /// analyzeMomentList: — likewise.
    void analyzeMomentList(const wickerlane::ManagedObject *momentList);

    /// setAreDuplicates:forPhotos: — remembers that no two of these photos are duplicates of each other, or
    /// takes that back; what is no Photo is left out. Blocks until the groups of duplicates obey.
    void setAreDuplicates(bool areDuplicates, wickerlane::Array *photos);

    // Sharing and bulletins.

    /// createSnapriverAlbumWithStreamID: — makes the shared album of a stream. Blocks.
    void createSnapriverAlbumWithStreamID(wickerlane::String *streamID);
    /// enableSnapriversWithStreamID:
    void enableSnapriversWithStreamID(wickerlane::String *streamID);
    /// getCurrentBulletins — dictionaries with the keys of Bulletins.h; null on failure. Blocks.
    [[nodiscard]] wickerlane::Array *getCurrentBulletins();
    /// getCurrentApplicationBadgeCount — 0 on failure. Blocks.
    [[nodiscard]] std::int64_t getCurrentApplicationBadgeCount();
    /// getThumbnailImageDataForBulletinWithRecordID: — null on failure. Blocks.
    [[nodiscard]] wickerlane::Data *getThumbnailImageDataForBulletinWithRecordID(unsigned long recordID);
    /// clearAllBulletinsWithLastClearedRecordID: — clears those up to a record, it included.
    void clearAllBulletinsWithLastClearedRecordID(unsigned long lastClearedRecordID);
    /// updateSharedAlbumsCachedServerConfigurationLimits
    void updateSharedAlbumsCachedServerConfigurationLimits();
    /// purgeableSharedAssetsSpace — bytes that could be freed; 0 on failure. Blocks.
    [[nodiscard]] std::int64_t purgeableSharedAssetsSpace();
    /// attemptToPurgeSharedAssetsSpace: — frees up to that many bytes; gives how many were freed, 0 on
    /// failure. Blocks.
    std::int64_t attemptToPurgeSharedAssetsSpace(std::uint64_t bytes);
    /// keyForEmailAddress: — the number that stands for an address; -1 when there is none. Blocks.
    [[nodiscard]] int keyForEmailAddress(wickerlane::String *address);
    /// emailAddressForKey: — null when the number stands for none. Blocks.
    [[nodiscard]] wickerlane::String *emailAddressForKey(int key);
    /// personInfoDictionaryForPersonID: — null when there is none, or for a null person. Blocks.
    [[nodiscard]] wickerlane::Dictionary *personInfoDictionaryForPersonID(wickerlane::String *personID);
    /// setPersonInfoDictionary:forPersonID: — null clears it. A null person is ignored.
    void setPersonInfoDictionary(wickerlane::Dictionary *info, wickerlane::String *forPersonID);

private:
    JXGatekeeperClient() = default;

    wickerlane::Ref<wickerlane::WorkQueue> _serialReplyQueue;
    wickerlane::MessageConnection *_connection = nullptr;
};

#endif
