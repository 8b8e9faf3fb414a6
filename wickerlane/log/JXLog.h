// The log of the photo library's processes: sixteen domains, levels in the numbering of syslog.
//
// Each domain has a maximum level for the console and one for its log file; preferences override both (see
// JXLogConfiguration.h). The log system starts on the first call in a process.
#ifndef WICKERLANE_LOG_JXLOG_H
#define WICKERLANE_LOG_JXLOG_H

#include <stdbool.h>

#include "wickerlane/platform/object/Export.h"

/// What a message is about.
typedef unsigned JXLogDomain;

enum {
    JXGenericLog = 0,
    JXSyncLog = 1,
    JXGatekeeperMsgLog = 2,
    JXMigrationLog = 3,
    JXThumbnailsLog = 4,
    JXChangeHubLog = 5,
    JXAssetImportLog = 6,
    JXTransitionsLog = 7,
    JXPhotoSharingLog = 8,
    JXMomentsLog = 9,
    JXPhotosStateLog = 10,
    JXCloudFeedLog = 11,
    JXCameraLog = 12,
    JXDupesLog = 13,
    JXMySnapriverLog = 14,
    JXCardbridge = 15,
};

/// How severe a message is: smaller is more severe. As a maximum level, -1 turns an output off.
typedef int JXLogLevel;

enum {
    JXLogLevelError = 3,
    JXLogLevelWarning = 4,
    JXLogLevelNotice = 5,
    JXLogLevelInfo = 6,
    JXLogLevelDebug = 7,
};

/// "org.wickerlane.photos.loggingChanged": posting it makes every process follow changed level preferences,
/// once its main queue is served.
WL_EXTERN_C const char *const JXLoggingChangedNotification;

/// True when a line of that level in that domain would reach the console or a log file: ask before building a
/// message. Takes a few nanoseconds and no lock. Thread-safe.
WL_EXTERN_C bool JXLogShouldLog(JXLogLevel level, JXLogDomain domain);

/// Writes one message where the domain's maximum levels admit it; drops it silently when the domain is 16 or
/// more. `format` is that of printf, and "%@" shows an object's description; control characters in the
/// message are shown escaped. `file` and `function` say where in the source the call stands. The line
/// outlives the process once this has returned. Keeps errno. Thread-safe.
WL_EXTERN_C void JXLog(JXLogLevel level, const char *file, const char *function, long line,
                       JXLogDomain domain, const char *format, ...);

/// Logs from where it stands, if such a line would reach anything: JX_LOG(level, domain, format, ...).
/// Arguments are not evaluated otherwise.
#define JX_LOG(level, domain, ...)                                           \
    do {                                                                     \
        if (JXLogShouldLog(level, domain))                                   \
            JXLog(level, __FILE__, __func__, __LINE__, domain, __VA_ARGS__); \
    } while (0)

#endif
