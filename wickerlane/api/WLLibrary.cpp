#include "wickerlane/api/WLLibrary.h"

#include "wickerlane/api/CallInternal.h"

using namespace wickerlane;

bool WLLibraryMake(WLError **error) {
    return waitFor(&JXGatekeeperClient::createPixholdDatabase, error);
}

int64_t WLLibraryModelVersion(WLError **error) {
    return waitFor(&JXGatekeeperClient::getCurrentModelVersion, error);
}

bool WLLibraryImportFiles(WLError **error) {
    return waitFor(&JXGatekeeperClient::importFileSystemAssetsWaitingForReply, error, true);
}

void WLLibraryImportFilesInBackground() {
    sharedClient()->importFileSystemAssetsWaitingForReply(false);
}

WLURL *WLLibraryReserveFile(int kind, const char *extension, WLError **error) {
    return waitForObject(&JXGatekeeperClient::fileURLForNewAssetWithType, error, kind,
                         String::create(extension).get());
}

void WLLibraryWriteFile(WLData *data, WLURL *fileURL) {
    sharedClient()->writeDataInBackground(data, fileURL);
}

bool WLLibraryUpdateAfterOTARestore(WLError **error) {
    return waitFor(&JXGatekeeperClient::updateModelAfterOTARestore, error);
}

void WLLibraryFinalizeOTARestore(bool recreatesAlbums) {
    sharedClient()->finalizeOTARestoreRecreatingAlbums(recreatesAlbums);
}

bool WLLibraryHasFinishedRestore(WLError **error) {
    return waitFor(&JXGatekeeperClient::hasCompletedRestorePostProcessing, error);
}

void WLLibrarySetRestoredPaths(const char *uuid, WLObject *paths) {
    if (const auto text = String::create(uuid))
        sharedClient()->updateRestoredAssetWithUUID(text.get(), paths);
}

void WLLibraryRecoverFromCrash() {
    sharedClient()->recoverFromCrashIfNeeded();
}

bool WLLibraryRepairSingletons(WLError **error) {
    return waitFor(&JXGatekeeperClient::repairSingletonObjects, error);
}

void WLLibraryClearChanges() {
    sharedClient()->clearChangeStore();
}

void WLLibraryCleanUpForDemo() {
    sharedClient()->cleanupForStoreDemoMode();
}

void WLReportTermination(const char *name, const char *reason) {
    sharedClient()->notifyAboutTerminationDueToUncaughtException(
        Exception(String::create(name).get(), String::create(reason).get()));
}
