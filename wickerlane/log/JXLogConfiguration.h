// Which domains share an output, and what it is.
#ifndef WICKERLANE_LOG_JXLOGCONFIGURATION_H
#define WICKERLANE_LOG_JXLOGCONFIGURATION_H

#include "wickerlane/log/JXLog.h"

/// Number of domains; as a domain, the end mark of lists.
constexpr int JXLogDomainCount = 16;

struct JXLogConfiguration {
    JXLogLevel maxConsoleLevel;  ///< On internal devices; 3 on others.
    JXLogLevel maxFileLevel;     ///< On internal devices; no log file on others.
    const char *consoleLevelKey; ///< The preference that overrides the console level.
    const char *fileLevelKey;    ///< The preference that overrides the file level.
    const char *directory;       ///< Below the mobile user's home.
    const char *logName; ///< Null: the process's name and id, so that each process has a file of its own.
    int domains[7];      ///< Ended by JXLogDomainCount.
};

constexpr const char *JXLogDirectory = "Library/Logs/CrashReporter/DiagnosticLogs/Photos";

/// Sync and migration write to one file on purpose: what one does explains what the other finds.
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
