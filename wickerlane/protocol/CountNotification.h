// The notification of changed counts.
#ifndef WICKERLANE_PROTOCOL_COUNTNOTIFICATION_H
#define WICKERLANE_PROTOCOL_COUNTNOTIFICATION_H

#include "wickerlane/platform/object/Export.h"

/// "RZPhotosAndVideosCount": the notification that hoardd posts soon after the number of photos or of videos
/// has changed. Changes close together share one.
WL_EXTERN_C const char *const RZPhotosAndVideosCountNotificationName;

#endif
