// The rows of the library's life and upkeep.
#ifndef WICKERLANE_PROTOCOL_LIBRARYROWS_H
#define WICKERLANE_PROTOCOL_LIBRARYROWS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::protocol {

inline constexpr Operation createPixholdDatabase{15, "createPixholdDatabase", request(), reply()};

inline constexpr Operation getPhotosAndVideosCount{16, "getPhotosAndVideosCountWithHandler:", request(),
                                                   reply(keys::photoCount, keys::videoCount)};

inline constexpr Operation updateModelAfterOTARestore{20, "updateModelAfterOTARestore", request(), reply()};

/// Shares its code with updateRestoredAsset, which carries other keys.
inline constexpr Operation finalizeOTARestore{
    21, "finalizeOTARestoreRecreatingAlbums:", request(keys::recreateAlbumsFromMetadata, keys::restoreEnded),
    reply()};

/// One method of the client behind two codes: the same import, awaited and not.
inline constexpr Operation importFileSystemAssets{22, "importFileSystemAssetsWaitingForReply:", request(),
                                                  reply()};

inline constexpr Operation importFileSystemAssetsInBackground{
    23, "importFileSystemAssetsWaitingForReply:", request(), reply()};

inline constexpr Operation secondsNeededToCleanupModel{
    25, "secondsNeededToCleanupModelAfterHarborsyncRestore", request(), reply(keys::seconds)};

inline constexpr Operation cleanupModel{26, "cleanupModelAfterHarborsyncRestore", request(), reply()};

inline constexpr Operation repairPotentialModelCorruption{27, "repairPotentialModelCorruption", request(),
                                                          reply()};

inline constexpr Operation dataMigrationWillFinish{28, "dataMigrationWillFinish", request(), reply()};

inline constexpr Operation notifyAboutTermination{
    29, "notifyAboutTerminationDueToUncaughtException:", request(whenSet(keys::name), whenSet(keys::reason)),
    reply()};

inline constexpr Operation clearChangeStore{31, "clearChangeStore", request(), reply()};

inline constexpr Operation recoverFromCrashIfNeeded{33, "recoverFromCrashIfNeeded", request(), reply()};

inline constexpr Operation repairSingletonObjects{36, "repairSingletonObjects", request(), reply()};

inline constexpr Operation cleanupForStoreDemoMode{41, "cleanupForStoreDemoMode", request(), reply()};

inline constexpr Operation getLibrarySizes{56, "getLibrarySizes:", request(), reply(keys::sizes)};

inline constexpr Operation getCurrentModelVersion{69, "getCurrentModelVersion", request(),
                                                  reply(keys::version)};

inline constexpr Operation hasCompletedRestorePostProcessing{71, "hasCompletedRestorePostProcessing",
                                                             request(), reply(keys::isComplete)};

} // namespace wickerlane::protocol

#endif
