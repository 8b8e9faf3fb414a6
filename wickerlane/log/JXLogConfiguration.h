// The outputs of the log domains.
#ifndef WICKERLANE_LOG_JXLOGCONFIGURATION_H
#define WICKERLANE_LOG_JXLOGCONFIGURATION_H

#include "wickerlane/log/JXLog.h"

/// Number of domains. Also ends a list of domains.
constexpr int JXLogDomainCount = 16;

struct JXLogConfiguration {
    JXLogLevel maxConsoleLevel;  ///< On internal devices; 3 on others.
    JXLogLevel maxFileLevel;     ///< On internal devices; no log file on others.
    const char *consoleLevelKey; ///< The preference that overrides the console level.
    const char *fileLevelKey;    ///< The preference that overrides the file level.
    const char *directory;       ///< Below the mobile user's home.
    const char *logName; ///< Null: named after the process and its id, so that each process has its own file.
    int domains[7];      ///< Ended by JXLogDomainCount.
};

constexpr const char *JXLogDirectory = "Library/Logs/CrashReporter/DiagnosticLogs/Photos";

/// Sync and migration share a file on purpose: each explains what the other does.
constexpr JXLogConfiguration JXLogConfigurations[10] = {
    {5,
     4,
     "JXConsoleLogLevel",
     "JXFileLogLevel",
     JXLogDirectory,
     nullptr,
     {JXGenericLog, JXChangeHubLog, JXGatekeeperMsgLog, JXThumbnailsLog, JXTransitionsLog, JXDupesLog,
      JXLogDomainCount}},
    {5,
     6,
     "SRASOutputLevel",
     "SRASLogLevel",
     JXLogDirectory,
     "sharedsnapriver",
     {JXPhotoSharingLog, JXLogDomainCount}},
    {5,
     6,
     "SROutputLevel",
     "SRLogLevel",
     JXLogDirectory,
     "mysnapriver",
     {JXMySnapriverLog, JXLogDomainCount}},
    {3,
     6,
     "JXSyncConsoleLogLevel",
     "JXSyncFileLogLevel",
     JXLogDirectory,
     "migration",
     {JXSyncLog, JXLogDomainCount}},
    {5,
     6,
     "JXMigrationConsoleLogLevel",
     "JXMigrationFileLogLevel",
     JXLogDirectory,
     "migration",
     {JXMigrationLog, JXAssetImportLog, JXLogDomainCount}},
    {5,
     5,
     "JXMomentsConsoleLogLevel",
     "JXMomentsFileLogLevel",
     JXLogDirectory,
     "moments",
     {JXMomentsLog, JXLogDomainCount}},
    {5,
     6,
     "JXPhotosStateConsoleLogLevel",
     "JXPhotosStateFileLogLevel",
     JXLogDirectory,
     "photosState",
     {JXPhotosStateLog, JXLogDomainCount}},
    {4,
     6,
     "JXCloudFeedConsoleLogLevel",
     "JXCloudFeedFileLogLevel",
     JXLogDirectory,
     "cloudfeed",
     {JXCloudFeedLog, JXLogDomainCount}},
    {5,
     6,
     "JXCameraConsoleLogLevel",
     "JXCameraFileLogLevel",
     JXLogDirectory,
     "camera",
     {JXCameraLog, JXLogDomainCount}},
    {5,
     6,
     "JXCardbridgeConsoleLogLevel",
     "JXCardbridgeFileLogLevel",
     JXLogDirectory,
     "cardbridge",
     {JXCardbridge, JXLogDomainCount}},
};

#endif
