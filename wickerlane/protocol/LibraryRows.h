// The rows of the library's creation, counts, restores and maintenance.
#ifndef WICKERLANE_PROTOCOL_LIBRARYROWS_H
#define WICKERLANE_PROTOCOL_LIBRARYROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::protocol {

inline constexpr Row createPixholdDatabase{15, "createPixholdDatabase", request(), reply()};

inline constexpr Row getPhotosAndVideosCount{16, "getPhotosAndVideosCountWithHandler:", request(),
                                             reply(keys::photoCount, keys::videoCount)};

inline constexpr Row updateModelAfterOTARestore{20, "updateModelAfterOTARestore", request(), reply()};

/// Shares its code with updateRestoredAsset, which has other keys.
inline constexpr Row finalizeOTARestore{
    21, "finalizeOTARestoreRecreatingAlbums:", request(keys::recreateAlbumsFromMetadata, keys::restoreEnded),
    reply()};

/// One method of the client has two codes: this one is awaited, the next is not.
inline constexpr Row importFileSystemAssets{22, "importFileSystemAssetsWaitingForReply:", request(), reply()};

inline constexpr Row importFileSystemAssetsInBackground{
    23, "importFileSystemAssetsWaitingForReply:", request(), reply()};

inline constexpr Row secondsNeededToCleanupModel{25, "secondsNeededToCleanupModelAfterHarborsyncRestore",
                                                 request(), reply(keys::seconds)};

inline constexpr Row cleanupModel{26, "cleanupModelAfterHarborsyncRestore", request(), reply()};

inline constexpr Row repairPotentialModelCorruption{27, "repairPotentialModelCorruption", request(), reply()};

inline constexpr Row dataMigrationWillFinish{28, "dataMigrationWillFinish", request(), reply()};

inline constexpr Row notifyAboutTermination{29, "notifyAboutTerminationDueToUncaughtException:",
                                            request(whenSet(keys::name), whenSet(keys::reason)), reply()};

inline constexpr Row clearChangeStore{31, "clearChangeStore", request(), reply()};

inline constexpr Row recoverFromCrashIfNeeded{33, "recoverFromCrashIfNeeded", request(), reply()};

inline constexpr Row repairSingletonObjects{36, "repairSingletonObjects", request(), reply()};

inline constexpr Row cleanupForStoreDemoMode{41, "cleanupForStoreDemoMode", request(), reply()};

inline constexpr Row getLibrarySizes{56, "getLibrarySizes:", request(), reply(keys::sizes)};

inline constexpr Row getCurrentModelVersion{69, "getCurrentModelVersion", request(), reply(keys::version)};

inline constexpr Row hasCompletedRestorePostProcessing{71, "hasCompletedRestorePostProcessing", request(),
                                                       reply(keys::isComplete)};

} // namespace wickerlane::protocol

#endif
