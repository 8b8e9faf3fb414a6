#include "wickerlane/protocol/CountNotification.h"

const char *const RZPhotosAndVideosCountNotificationName = "RZPhotosAndVideosCount";
