// The log of the photo library's processes: sixteen domains, and the levels of syslog.
//
// Each domain has a maximum level for the console and one for its log file. Preferences override both (see
// JXLogConfiguration.h). The log system starts on the first call in a process.
#ifndef WICKERLANE_LOG_JXLOG_H
#define WICKERLANE_LOG_JXLOG_H

#include <stdbool.h>

#include "wickerlane/platform/object/Export.h"

/// The subject of a message.
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

/// The severity of a message: lower levels are more severe. As a maximum level, -1 turns an output off.
typedef int JXLogLevel;

enum {
    JXLogLevelError = 3,
    JXLogLevelWarning = 4,
    JXLogLevelNotice = 5,
    JXLogLevelInfo = 6,
    JXLogLevelDebug = 7,
};

/// "org.wickerlane.photos.loggingChanged": after this notification each process reads the level preferences
/// again, on its main queue.
WL_EXTERN_C const char *const JXLoggingChangedNotification;

/// Whether a message of that level in that domain would reach the console or a log file; to be asked before a
/// message is built. Takes a few nanoseconds and no lock. Thread-safe.
WL_EXTERN_C bool JXLogShouldLog(JXLogLevel level, JXLogDomain domain);

/// Writes a message to the outputs whose maximum level allows it. A domain of 16 or more is ignored. `format`
/// is that of printf, with "%@" for an object's description. Control characters in the message are escaped.
/// `file`, `function` and `line` are the place of the call in the source. Once this has returned, the message
/// survives the end of the process. Keeps errno. Thread-safe.
WL_EXTERN_C void JXLog(JXLogLevel level, const char *file, const char *function, long line,
                       JXLogDomain domain, const char *format, ...);

/// JX_LOG(level, domain, format, ...): logs from this place in the source. The arguments are evaluated only
/// if the message reaches an output.
#define JX_LOG(level, domain, ...)                                           \
    do {                                                                     \
        if (JXLogShouldLog(level, domain))                                   \
            JXLog(level, __FILE__, __func__, __LINE__, domain, __VA_ARGS__); \
    } while (0)

#endif
