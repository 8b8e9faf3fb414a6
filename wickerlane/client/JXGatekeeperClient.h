// The client of the photo library: the one object through which a process talks to hoardd, the daemon that
// owns the library.
//
//     JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
//     client->getPhotosAndVideosCountWithHandler([](Number *photos, Number *videos) { ... });
//
// Conventions of all operations:
//  - Threads. Operations may be called from any thread. One that returns a value, or whose comment says
//    "Blocks", returns when hoardd has answered. The others return at once.
//  - Handlers. A handler runs once, never on the caller's thread while the system has a thread left. It runs
//    on replyQueue() unless its operation says otherwise, inside a release scope. Its arguments are borrowed
//    until it returns. A null handler is allowed only where the operation says so; elsewhere it stops the
//    process.
//  - Ownership. Objects that an operation returns are borrowed: they live until the caller's current release
//    scope ends. Arguments are retained as long as the operation needs them. They must not change meanwhile.
//  - Null arguments. A value that is null is left out of the request, unless its operation says otherwise.
//  - Errors. When hoardd can't be reached, or reports an error, an operation returns the failure value that
//    its comment names, or calls its handler with it. Most operations then write a line to the console log.
//    After one that blocks, lastError() says why it failed, and is null when it did not.
#ifndef WICKERLANE_CLIENT_JXGATEKEEPERCLIENT_H
#define WICKERLANE_CLIENT_JXGATEKEEPERCLIENT_H

#include <chrono>

#include "wickerlane/client/JXDaemonJob.h"
#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetFiles.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/ManagedAlbum.h"
#include "wickerlane/model/ManagedObjectID.h"
#include "wickerlane/model/Moments.h"
#include "wickerlane/model/Problem.h"
#include "wickerlane/model/Trash.h"
#include "wickerlane/platform/message/connection/Cancellation.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/message/connection/ReplyTimeLimit.h"
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

/// Domain of all errors that the client makes: "Wickerlane".
WL_EXTERN_C wickerlane::String *const WickerlaneErrorDomain;

/// Domain of the errors of lastError(), whose codes are those of wickerlane::ProblemKind:
/// "WickerlaneRequest".
WL_EXTERN_C wickerlane::String *const WickerlaneRequestErrorDomain;

/// Codes of errors in WickerlaneErrorDomain.
enum : std::int64_t {
    WickerlaneErrorAccessStatusTwo = 1,    ///< Access was refused with status 2.
    WickerlaneErrorAccessStatusOne = 2,    ///< Access was refused with status 1.
    WickerlaneErrorMissingEntitlement = 3, ///< The process lacks the entitlement that the description names.
    WickerlaneErrorService = 10,      ///< hoardd can't be reached, or access was refused for another reason.
    WickerlaneErrorJobQueueFull = 11, ///< Too many jobs are waiting in hoardd. Try again later.
    WickerlaneErrorNoData = 12,       ///< The job has no data to save.
    WickerlaneErrorNoGroupURL = 13,   ///< The name is free, but hoardd returned no album.
};

/// Each method has the name of an operation, whose full form stands in its comment.
class WL_EXPORT JXGatekeeperClient : public wickerlane::Object {
    WL_OBJECT
public:
    template <class... Arguments>
    using Handler = wickerlane::Handler<void(Arguments...)>;

    // The client, its queues and its connection.

    /// sharedInstance — the client of this process, created on the first call and never destroyed.
    static JXGatekeeperClient *sharedInstance();
    /// init — a new client. Its connection belongs to the caller, who cancels and releases it after the
    /// client. Most callers want sharedInstance().
    [[nodiscard]] static wickerlane::Ref<JXGatekeeperClient> init();

    /// replyQueue — the queue of most handlers: the global concurrent queue.
    [[nodiscard]] wickerlane::WorkQueue *replyQueue() const;
    /// sendQueue — the connection's target queue: always replyQueue().
    [[nodiscard]] wickerlane::WorkQueue *sendQueue() const;
    /// deviceSpecificReplyQueue — a serial queue on devices with one processor, else replyQueue().
    [[nodiscard]] wickerlane::WorkQueue *deviceSpecificReplyQueue() const;

    /// connection — the connection to hoardd. Null only after setConnection(nullptr).
    [[nodiscard]] wickerlane::MessageConnection *connection() const noexcept { return _connection; }
    /// setConnection: — replaces the connection. The client does not retain it: the caller keeps it alive.
    /// Not while operations are running.
    void setConnection(wickerlane::MessageConnection *connection) noexcept { _connection = connection; }

    /// How long operations may wait for hoardd's answer, from now on; zero, which is the default, or less
    /// means without limit. For one call, or a few: wickerlane::ReplyTimeLimit. An operation that is late
    /// fails as it does when hoardd can't be reached, with its failure value or in its handler, and its
    /// answer, should it come, is dropped; lastError() is `timedOut`. hoardd is told to stop; what was asked
    /// may have been done. Of the connection that the client has now. What ends operations from another
    /// thread: wickerlane::Cancellation; lastError() is then `cancelled`.
    void setReplyTimeLimit(std::chrono::nanoseconds limit) { _connection->setReplyTimeLimit(limit); }

    /// waitUntilConnectionSendsAllMessages — blocks until every message sent before has left this process.
    void waitUntilConnectionSendsAllMessages();

    /// Why the last operation of the calling thread that blocked has failed; null when hoardd has answered
    /// it, be it with nothing, and before the first. So a failure value with an error is a failure, and one
    /// without is what hoardd said. In WickerlaneRequestErrorDomain: refused (this program may not do that),
    /// unreachable (no daemon), ending (the daemon restarts), timedOut, cancelled, busy, queueFull, notFound,
    /// invalid and the others of ProblemKind. The localized description says what was wrong, and what to do
    /// about it if anything can be done. Operations that return at once, and handlers, leave it as it is.
    [[nodiscard]] static wickerlane::Error *lastError();

    // Access and launch.

    /// requestAccessWithHandler: — whether this process may use the photo library. The handler gets (granted,
    /// error), on the global queue; the error is null when access is granted, else 1, 2 or 10. A null handler
    /// sends nothing.
    void requestAccessWithHandler(Handler<bool, wickerlane::Error *> handler);

    /// launchHoardd — starts the daemon if it is not running. All operations do; this one does nothing else.
    void launchHoardd();

    /// sendDaemonJob:replyHandler: — sends a job that encodes itself. The handler, which may be null, gets
    /// the raw reply: a dictionary, or an error of the message service. The job is used only during the call.
    void sendDaemonJob(JXDaemonJob *job, Handler<wickerlane::MessageValue *> replyHandler);

    /// securityPolicyErrorForMissingEntitlement: — error 3, whose description names the entitlement.
    static wickerlane::Error *securityPolicyErrorForMissingEntitlement(wickerlane::String *entitlement);

    // Asset files.

    /// fileDescriptorForAssetURL: — the original of an asset, open for reading. The caller closes the
    /// descriptor. -1 on failure.
    [[nodiscard]] int fileDescriptorForAssetURL(wickerlane::URL *assetURL);

    /// fileURLForAssetURL:withAdjustments: — the file URL of an asset's original, or, if `withAdjustments`,
    /// of its edited version when there is one. Null on failure.
    [[nodiscard]] wickerlane::URL *fileURLForAssetURL(wickerlane::URL *assetURL, bool withAdjustments);

    /// fileURLForNewAssetWithType:extension: — a file URL in the library, reserved for a new asset (type 0
    /// photo, 1 video) that the caller writes and then saves. Null on failure.
    [[nodiscard]] wickerlane::URL *fileURLForNewAssetWithType(int assetType, wickerlane::String *extension);

    /// requestImageDataForAsset:format:handler: — the picture of an asset in one of the formats of
    /// ImageDataFormats.h. The handler gets (data, format), on deviceSpecificReplyQueue(): null data when
    /// there is no such picture, and (null, 0) when hoardd can't be reached.
    void requestImageDataForAsset(wickerlane::ManagedObjectID *objectID, int format,
                                  Handler<wickerlane::Data *, int> handler);
    /// imageDataForAsset:format: — the same. Blocks. Null on failure.
    [[nodiscard]] wickerlane::Data *imageDataForAsset(wickerlane::ManagedObjectID *objectID, int format);

    /// writeDataInBackground:toFileURL: — lets hoardd write a file in the library: in one of its folders DCIM
    /// and PhotoData/Incoming, or in a folder that is there below them. It replaces a file that is there, but
    /// never the original of an asset. There is no answer: hoardd logs what it refuses, and why.
    void writeDataInBackground(wickerlane::Data *data, wickerlane::URL *toFileURL);

    /// downloadAsset:requestThumbnail:shouldPrioritize:shouldExtendTimer: — asks for an asset that may not be
    /// on this device: for its thumbnails too, before other work of this program, and to keep its larger
    /// thumbnail for a day at least. A null object ID sends nothing.
    void downloadAsset(wickerlane::ManagedObjectID *objectID, bool requestThumbnail, bool shouldPrioritize,
                       bool shouldExtendTimer);

    // Listing and finding. These are additions to the original operations: an application sees assets,
    // albums and moments through them alone, and never opens the store. All block; nothing on failure.

    /// assetsMatchingQuery: — a page of the assets that a query asks for. To get all pages, ask again with
    /// the `next` of the last one as the cursor, until that is empty.
    [[nodiscard]] std::optional<wickerlane::AssetPage>
    assetsMatchingQuery(const wickerlane::AssetQuery &query);

    /// sectionsOfAssetsMatchingQuery:byUnit: — the days or months of the assets that a filter asks for, with
    /// how many they have and of which shapes, so that a view knows its whole height before it loads a page.
    [[nodiscard]] std::optional<std::vector<wickerlane::AssetSection>>
    sectionsOfAssets(const wickerlane::AssetFilter &filter, wickerlane::SectionUnit unit,
                     bool isDescending = false);

    /// countOfAssetsMatchingQuery: — how many assets a filter asks for.
    [[nodiscard]] std::optional<std::uint64_t> countOfAssets(const wickerlane::AssetFilter &filter);

    /// trashMatchingQuery: — a page of what is in the trash. No other query finds these assets.
    [[nodiscard]] std::optional<wickerlane::TrashPage>
    trashMatchingQuery(const wickerlane::TrashQuery &query);

    /// renditionOfAssetWithURL: — the edited rendition of an asset, without a file when it has none.
    [[nodiscard]] std::optional<wickerlane::EditedRendition> renditionOfAsset(wickerlane::URL *assetURL);

    /// companionsOfPhotos: — the companions of up to 10,000 assets, by their UUIDs (String), in any order.
    /// What has none is passed over.
    [[nodiscard]] std::optional<std::vector<wickerlane::CompanionRecord>>
    companionsOfPhotos(wickerlane::Array *photoUUIDs);

    /// albums — all of them, by name. Their assets are asked for by AssetFilter::album.
    [[nodiscard]] std::optional<std::vector<wickerlane::Ref<wickerlane::ManagedAlbum>>> albums();

    /// momentsMatchingQuery: — a page of moments. Their assets are asked for by AssetFilter::moment.
    [[nodiscard]] std::optional<wickerlane::MomentPage>
    momentsMatchingQuery(const wickerlane::MomentQuery &query);

    /// momentLists — all lists of moments.
    [[nodiscard]] std::optional<wickerlane::MomentLists> momentLists();

    /// duplicatesMatchingQuery: — a page of groups of duplicates.
    [[nodiscard]] std::optional<wickerlane::DuplicatesPage>
    duplicatesMatchingQuery(const wickerlane::DuplicatesQuery &query);

    /// cloudFeed — what came into shared albums, the newest first.
    [[nodiscard]] std::optional<std::vector<wickerlane::FeedEntryRecord>> cloudFeed();

    /// changesSinceToken:limit: — what has happened to the assets since a token was given out, at most
    /// `limit` (up to 10,000) changes. An empty token stands for the oldest change that the library knows. To
    /// begin, ask for none: with a limit of 0 comes the token of the present. Ask again with the token that
    /// came last until `isLast`. Nothing is passed over in silence: see ChangesPage::isTooOld.
    [[nodiscard]] std::optional<wickerlane::ChangesPage> changesSinceToken(const std::string &token,
                                                                           std::size_t limit);

    /// awaitChangesSinceToken:limit:seconds: — the same, but waits for changes if there are none yet: hoardd
    /// answers with the next commit, or after `time`, which is at most 600 seconds, with an empty page and
    /// the token. For a token that is too old the answer comes at once. The limit is at least 1. At most 16
    /// such requests of a process wait at a time: a further one ends the oldest, with an empty page; it is
    /// `busy` if that has waited for less than a second. When hoardd ends meanwhile, the error is `ending`:
    /// ask again, with the same token. setReplyTimeLimit() should allow more than `time`.
    [[nodiscard]] std::optional<wickerlane::ChangesPage>
    awaitChangesSinceToken(const std::string &token, std::size_t limit, std::chrono::seconds time);
    /// The same without blocking. The handler gets the page, or null and an error like that of lastError();
    /// both are borrowed until it returns.
    void awaitChangesSinceToken(const std::string &token, std::size_t limit, std::chrono::seconds time,
                                Handler<const wickerlane::ChangesPage *, wickerlane::Error *> handler);

    // Access, saving, albums, deletion and edits for callers that wait. These too are additions: lastError()
    // says why one has failed, which the handlers of the original operations don't. All block. An asset that
    // is null is `invalid`.

    /// requestAccess — whether this process may use the photo library. False on failure, too.
    [[nodiscard]] bool requestAccess();

    /// saveAssetWithJobDictionary:imageSurface:previewImageSurface: — saves one asset; the job has the keys
    /// of JobKeys.h. The result dictionary; null on failure, and for a job that hoardd refused.
    [[nodiscard]] wickerlane::Dictionary *saveAsset(wickerlane::Dictionary *jobDictionary,
                                                    wickerlane::ImageSurface *imageSurface = nullptr,
                                                    wickerlane::ImageSurface *previewImageSurface = nullptr);

    /// batchSaveAssetsWithJobDictionaries: — saves several assets, like the operation with a handler: one
    /// result for each job that was sent, in order, of which those of refused jobs have `error` and
    /// `errorKind`. Null on failure.
    [[nodiscard]] wickerlane::Array *saveAssets(wickerlane::Array *jobDictionaries);

    /// addGroupWithName: — creates an album. Its URL; null on failure.
    [[nodiscard]] wickerlane::URL *addAlbum(wickerlane::String *name);

    /// addAssetWithURL:toAlbumWithUUID: — adds an asset to an album. False on failure.
    [[nodiscard]] bool addAsset(wickerlane::URL *assetURL, wickerlane::String *toAlbumWithUUID);

    /// deleteAssetWithURL: — moves an asset to the trash, from where it can be had again for 30 days. False
    /// on failure. Needs the entitlement JXDeleteAssetsEntitlement.
    [[nodiscard]] bool deleteAsset(wickerlane::URL *assetURL);

    // Three more that need it.

    /// removeAssetWithURL: — deletes an asset of the library or its trash for good. False on failure.
    [[nodiscard]] bool removeAsset(wickerlane::URL *assetURL);

    /// restoreTrashedAssetWithURL: — takes an asset out of the trash, with its albums and edits. False on
    /// failure, also when it is not there.
    [[nodiscard]] bool restoreTrashedAsset(wickerlane::URL *assetURL);

    /// emptyTrash — deletes all that is in the trash for good. False on failure.
    [[nodiscard]] bool emptyTrash();

    /// setLargePreviewImageForAssetWithURL:imageData:properties: — stores an edited version of an asset, in
    /// place of one that there is; `properties`, what its editor says of it, may be null. False on failure.
    /// Needs the entitlement JXWriteAssetsEntitlement.
    [[nodiscard]] bool setLargePreviewImage(wickerlane::URL *assetURL, wickerlane::Data *imageData,
                                            wickerlane::Dictionary *properties);

    /// revertAssetWithURL: — takes the edited version of an asset away. False on failure, also when it has
    /// none
    /// (`notFound`). Needs the entitlement JXWriteAssetsEntitlement.
    [[nodiscard]] bool revertAsset(wickerlane::URL *assetURL);

    /// setExternalUsageIntent:forAssetWithURL: — records how an asset is used outside the library. False on
    /// failure.
    [[nodiscard]] bool setUsageIntent(std::uint64_t intent, wickerlane::URL *forAssetWithURL);

    // Saving assets.

    /// saveAssetWithJobDictionary:handler:imageSurface:previewImageSurface: — saves one asset. The job
    /// dictionary has the keys of JobKeys.h; the picture and a preview of it may be given as surfaces. The
    /// handler gets (result, error), one of which is null, or both when hoardd's answer has neither:
    ///  - Saved: a result with the keys of protocol::jobResult, among them `assetURL`.
    ///  - Refused: a result with `error`, a text for people, and `errorKind`, a ProblemKind. So it is with
    ///    a file that is missing, is none (a folder, say), or can't be read, a value that makes no sense,
    ///    and a full disk.
    ///  - Error 12: the job names nothing to save, or something empty.
    ///  - Error 11: hoardd has too many jobs of this program.
    ///  - Error 10: hoardd can't be reached, ended before it answered, or did not serve the request at all.
    void saveAssetWithJobDictionary(wickerlane::Dictionary *jobDictionary,
                                    Handler<wickerlane::Dictionary *, wickerlane::Error *> handler,
                                    wickerlane::ImageSurface *imageSurface = nullptr,
                                    wickerlane::ImageSurface *previewImageSurface = nullptr);

    /// batchSaveAssetsWithJobDictionaries:handler: — saves several assets. A null array counts as empty. Jobs
    /// that can't be encoded are skipped. The handler gets (results, error): one result for each job that was
    /// sent, in order; or null and error 10. An array that changes during the call stops the process.
    void batchSaveAssetsWithJobDictionaries(wickerlane::Array *jobDictionaries,
                                            Handler<wickerlane::Array *, wickerlane::Error *> handler);

    /// saveOpenFilesWithJobDictionaries:handler: — the same for jobs that name files, which this process
    /// opens and sends along: hoardd, which may run as another user, needs no right to read them. They are
    /// sent in several requests if a message can't hold them all; the result of a job whose request has
    /// failed has `error` and `requestErrorKind`. Null only when no request was answered: then the error is
    /// as lastError() has it. An addition to the original operations.
    void saveOpenFilesWithJobDictionaries(wickerlane::Array *jobDictionaries,
                                          Handler<wickerlane::Array *, wickerlane::Error *> handler);

    /// setLargePreviewImageForAssetWithURL:imageData:properties:handler: — stores an edited version of an
    /// asset. Blocks while it is stored. The handler, which may be null, then gets (success, error): error 3
    /// without JXWriteAssetsEntitlement, and (false, null) when hoardd can't be reached.
    void setLargePreviewImageForAssetWithURL(wickerlane::URL *assetURL, wickerlane::Data *imageData,
                                             wickerlane::Dictionary *properties,
                                             Handler<bool, wickerlane::Error *> handler);

    /// updateThumbnailsForPhotos:waitForReply:assignNewIndex:forceRefresh: — makes the missing thumbnails of
    /// photos, or all of them if `forceRefresh`. `photos` holds objects that are a wickerlane::Photo; others
    /// are ignored. Blocks until the thumbnails are made if `waitForReply`.
    void updateThumbnailsForPhotos(wickerlane::Array *photos, bool waitForReply, bool assignNewIndex,
                                   bool forceRefresh);

    /// updateCameraPreviewWellImage: — shows an asset in the camera's preview well; for null, clears it.
    void updateCameraPreviewWellImage(const wickerlane::ManagedObject *asset);

    /// updateRestoredAssetWithUUID:paths: — tells hoardd where the files of a restored asset are. `paths` is
    /// a property-list object.
    void updateRestoredAssetWithUUID(wickerlane::String *uuid, wickerlane::Object *paths);

    // Videos.

    /// videoMetadataAtPath: — metadata of a video file, with the keys of VideoKeys.h. Null on failure.
    /// Blocks.
    [[nodiscard]] wickerlane::Dictionary *videoMetadataAtPath(wickerlane::String *path);

    /// estimatedOutputFileLengthForVideoURL:fallbackFilePath:exportPreset:exportProperties: — the size in
    /// bytes that an export of a video would have; -1 when hoardd can't tell or can't be reached. All but the
    /// URL may be null or empty; presets and properties are those of VideoKeys.h. Blocks.
    [[nodiscard]] std::int64_t estimatedOutputFileLengthForVideoURL(wickerlane::URL *videoURL,
                                                                    wickerlane::String *fallbackFilePath,
                                                                    wickerlane::String *exportPreset,
                                                                    wickerlane::Dictionary *exportProperties);

    // Albums, and edits to assets. URLs and UUIDs must not be null: that, too, stops the process.

    /// addGroupWithName:handler: — creates an album; the name may be null. The handler gets (name is taken,
    /// album URL, error): error 13 when the name is free but hoardd returned no album, as when it can't be
    /// reached.
    void addGroupWithName(wickerlane::String *name,
                          Handler<bool, wickerlane::URL *, wickerlane::Error *> handler);

    /// addAssetWithURL:toAlbumWithUUID:handler: — adds an asset to an album. The handler gets (success,
    /// null).
    void addAssetWithURL(wickerlane::URL *assetURL, wickerlane::String *toAlbumWithUUID,
                         Handler<bool, wickerlane::Error *> handler);

    // Three additions that block. False on failure, and then nothing has changed; lastError() says why:
    // `notFound` for an unknown album or photo, `exists`, `invalid`, also for a null argument, or what stops
    // any operation. An album that a stream shares keeps its stream under any name; one that is deleted takes
    // its bulletins and its part of the feed along, and its stream gets a new album when it is created or
    // enabled again. No asset is ever deleted.

    /// renameAlbumWithUUID:to: — gives an album another name, of 1 to 1024 bytes of UTF-8. `exists` when
    /// another album has it.
    [[nodiscard]] bool renameAlbumWithUUID(wickerlane::String *uuid, wickerlane::String *to);

    /// deleteAlbumWithUUID: — deletes an album. The assets in it stay in the library, and in other albums.
    [[nodiscard]] bool deleteAlbumWithUUID(wickerlane::String *uuid);

    /// removePhotos:fromAlbumWithUUID: — takes photos out of an album; those that are not in it are ignored.
    /// `photos` holds 1 to 10,000 objects that are a wickerlane::Photo; others are ignored.
    [[nodiscard]] bool removePhotos(wickerlane::Array *photos, wickerlane::String *fromAlbumWithUUID);

    /// deleteAssetWithURL:handler: — moves an asset to the trash, from where it can be had again for 30 days.
    /// The handler gets (success, error): error 3 without JXDeleteAssetsEntitlement, or when hoardd can't be
    /// reached.
    void deleteAssetWithURL(wickerlane::URL *assetURL, Handler<bool, wickerlane::Error *> handler);

    // Three more that answer like deleteAssetWithURL:handler:.

    /// removeAssetWithURL:handler: — deletes an asset of the library or its trash for good.
    void removeAssetWithURL(wickerlane::URL *assetURL, Handler<bool, wickerlane::Error *> handler);

    /// restoreTrashedAssetWithURL:handler: — takes an asset out of the trash, with its albums and edits.
    void restoreTrashedAssetWithURL(wickerlane::URL *assetURL, Handler<bool, wickerlane::Error *> handler);

    /// emptyTrashWithHandler: — deletes all that is in the trash for good.
    void emptyTrashWithHandler(Handler<bool, wickerlane::Error *> handler);

    /// setExternalUsageIntent:forAssetWithURL:handler: — records how an asset is used outside the library.
    /// The handler gets (success, null).
    void setExternalUsageIntent(std::uint64_t intent, wickerlane::URL *forAssetWithURL,
                                Handler<bool, wickerlane::Error *> handler);

    /// recalculateCachedAlbumCounts — recomputes the counts that albums cache.
    void recalculateCachedAlbumCounts();

    /// automaticallyDeleteEmptyAlbum: — deletes an album if it is empty.
    void automaticallyDeleteEmptyAlbum(const wickerlane::ManagedObject *album);

    /// adjustDatesBySeconds:forPhotos: — moves the dates of photos whose camera's clock was wrong. `photos`
    /// holds 1 to 1000 objects that are a wickerlane::Photo; others are ignored. False on failure, and then
    /// no date has changed. Needs the entitlement JXWriteAssetsEntitlement. Blocks.
    [[nodiscard]] bool adjustDatesBySeconds(std::int64_t seconds, wickerlane::Array *photos);

    /// setDetails:forPhotos: — sets what people say of assets. `details` may hold "favourite" and "hidden"
    /// (booleans), "rating" (an integer from 0 to 5), "caption" (a text of at most 4096 bytes of UTF-8),
    /// "keywords" (texts, which replace those that there are), "removeKeywords" and "addKeywords" (texts);
    /// what it does not hold stays. An asset has at most 64 keywords of at most 64 bytes. `photos` holds 1 to
    /// 10,000 objects that are a wickerlane::Photo; others are ignored. False on failure, and then nothing
    /// has changed; lastError() says why. Needs the entitlement JXWriteAssetsEntitlement. Blocks.
    [[nodiscard]] bool setDetails(wickerlane::Dictionary *details, wickerlane::Array *photos);

    // The library: creation, counts, import.

    /// createPixholdDatabase — creates the library's database if there is none. Blocks.
    void createPixholdDatabase();

    /// getCurrentModelVersion — the version of the store's model; -1 on failure. Blocks.
    [[nodiscard]] std::int64_t getCurrentModelVersion();

    /// getPhotosAndVideosCountWithHandler: — the handler gets (photo count, video count), on the global
    /// queue. A count that hoardd did not return is null.
    void getPhotosAndVideosCountWithHandler(Handler<wickerlane::Number *, wickerlane::Number *> handler);

    /// getLibrarySizes: — the handler gets a dictionary of number objects: sizes in bytes under kinds of size
    /// (1 photos, 2 videos, 4 derived pictures, 8 the store, 16 the trash); null on failure.
    void getLibrarySizes(Handler<wickerlane::Dictionary *> handler);

    /// importFileSystemAssetsWaitingForReply: — imports the files that hoardd finds in the library's folders.
    /// Blocks until that is done if `wait`.
    void importFileSystemAssetsWaitingForReply(bool wait);

    // The library: restore, migration and repair.

    /// updateModelAfterOTARestore — updates the library after an over-the-air restore. Blocks.
    void updateModelAfterOTARestore();

    /// finalizeOTARestoreRecreatingAlbums: — ends an over-the-air restore, and recreates albums from the
    /// metadata of their assets if `recreate`.
    void finalizeOTARestoreRecreatingAlbums(bool recreate);

    /// hasCompletedRestorePostProcessing — whether the work after a restore is done; false on failure.
    /// Blocks.
    [[nodiscard]] bool hasCompletedRestorePostProcessing();

    /// secondsNeededToCleanupModelAfterHarborsyncRestore — how long the clean-up would take; 1 on failure, so
    /// that a progress display still waits a moment. Blocks.
    [[nodiscard]] std::int64_t secondsNeededToCleanupModelAfterHarborsyncRestore();

    /// cleanupModelAfterHarborsyncRestore — cleans the library up after a restore from backup. Blocks.
    void cleanupModelAfterHarborsyncRestore();

    /// repairPotentialModelCorruption — checks the library and repairs what it can. Blocks.
    void repairPotentialModelCorruption();

    /// dataMigrationWillFinish — ends a migration. Blocks.
    void dataMigrationWillFinish();

    /// recoverFromCrashIfNeeded — finishes or undoes what a crash interrupted.
    void recoverFromCrashIfNeeded();

    /// repairSingletonObjects — recreates objects of which a library has exactly one. Blocks.
    void repairSingletonObjects();

    /// clearChangeStore — deletes the recorded changes.
    void clearChangeStore();

    /// cleanupForStoreDemoMode — prepares the library of a demonstration device.
    void cleanupForStoreDemoMode();

    /// notifyAboutTerminationDueToUncaughtException: — tells hoardd that this process ends because of an
    /// exception. Blocks until the message has left the process.
    void notifyAboutTerminationDueToUncaughtException(const wickerlane::Exception &exception);

    // Moments, duplicates and thumbnails. What rebuilds or analyzes can take long.

    /// rebuildMomentsIncremental: — rebuilds moments; only where assets have changed if `incremental`.
    /// Blocks.
    void rebuildMomentsIncremental(bool incremental);
    /// rebuildMomentLists — rebuilds the lists of moments. Blocks.
    void rebuildMomentLists();
    /// analyzeAllMoments — analyzes all moments. Blocks.
    void analyzeAllMoments();
    /// analyzeInvalidMomentsAndDupesIfNeeded — analyzes moments and duplicates that are out of date. Blocks.
    void analyzeInvalidMomentsAndDupesIfNeeded();
    /// hasCompletedMomentAnalysis — whether no moment is left to analyze; false on failure. Blocks.
    [[nodiscard]] bool hasCompletedMomentAnalysis();

    /// analyzeMoment: — analyzes one moment. Nothing is sent for null, or for a moment that was never saved.
    void analyzeMoment(const wickerlane::ManagedObject *moment);
    /// analyzeMomentList: — the same for a list of moments.
    void analyzeMomentList(const wickerlane::ManagedObject *momentList);

    /// resetDupesAnalysis — discards the found duplicates and searches again. Blocks.
    void resetDupesAnalysis();
    /// setAreDuplicates:forPhotos: — with false, records that no two of these photos are duplicates of each
    /// other; with true, withdraws that. `photos` holds objects that are a wickerlane::Photo; others are
    /// ignored. Blocks until the groups of duplicates are updated.
    void setAreDuplicates(bool areDuplicates, wickerlane::Array *photos);

    /// rebuildCloudFeed — rebuilds the feed of shared albums. Blocks.
    void rebuildCloudFeed();
    /// rebuildAllThumbnails — makes all thumbnails again. Blocks.
    void rebuildAllThumbnails();

    // Shared albums.

    /// createSnapriverAlbumWithStreamID: — creates the shared album of a stream. Blocks.
    void createSnapriverAlbumWithStreamID(wickerlane::String *streamID);
    /// enableSnapriversWithStreamID: — enables a stream: it gets its shared album, as by the one above,
    /// unless it has one.
    void enableSnapriversWithStreamID(wickerlane::String *streamID);
    /// updateSharedAlbumsCachedServerConfigurationLimits — updates the stored limits of shared albums.
    void updateSharedAlbumsCachedServerConfigurationLimits();
    /// purgeableSharedAssetsSpace — how many bytes could be freed; 0 on failure. Blocks.
    [[nodiscard]] std::int64_t purgeableSharedAssetsSpace();
    /// attemptToPurgeSharedAssetsSpace: — frees up to `bytes` bytes, and returns how many were freed; 0 on
    /// failure. Blocks.
    std::int64_t attemptToPurgeSharedAssetsSpace(std::uint64_t bytes);

    // Bulletins.

    /// getCurrentBulletins — dictionaries with the keys of BulletinKeys.h; null on failure. Blocks.
    [[nodiscard]] wickerlane::Array *getCurrentBulletins();
    /// getCurrentApplicationBadgeCount — the number on the application's badge; 0 on failure. Blocks.
    [[nodiscard]] std::int64_t getCurrentApplicationBadgeCount();
    /// getThumbnailImageDataForBulletinWithRecordID: — the thumbnail of a bulletin; null on failure. Blocks.
    [[nodiscard]] wickerlane::Data *getThumbnailImageDataForBulletinWithRecordID(unsigned long recordID);
    /// clearAllBulletinsWithLastClearedRecordID: — clears the bulletins up to and including a record.
    void clearAllBulletinsWithLastClearedRecordID(unsigned long lastClearedRecordID);

    // People.

    /// keyForEmailAddress: — the number of an e-mail address; -1 on failure. Blocks.
    [[nodiscard]] int keyForEmailAddress(wickerlane::String *address);
    /// emailAddressForKey: — the e-mail address with a number; null when there is none, or on failure.
    /// Blocks.
    [[nodiscard]] wickerlane::String *emailAddressForKey(int key);
    /// personInfoDictionaryForPersonID: — what is known of a person; null when that is nothing, or on
    /// failure. Null for a null ID, without asking. Blocks.
    [[nodiscard]] wickerlane::Dictionary *personInfoDictionaryForPersonID(wickerlane::String *personID);
    /// setPersonInfoDictionary:forPersonID: — replaces what is known of a person; null clears it. A null ID
    /// sends nothing.
    void setPersonInfoDictionary(wickerlane::Dictionary *info, wickerlane::String *forPersonID);

private:
    JXGatekeeperClient() = default;

    wickerlane::Ref<wickerlane::WorkQueue> _serialReplyQueue;
    wickerlane::MessageConnection *_connection = nullptr;
};

#endif
