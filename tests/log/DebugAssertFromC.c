// The headers that C code uses, compiled as C.
#include "wickerlane/log/JXDebugAssert.h"
#include "wickerlane/log/JXLog.h"

void reportFromC(void);

void reportFromC(void) {
    JXDebugAssert("C11", "1 == 2", 0, 0, "DebugAssertFromC.c", 3, 0);
    JX_LOG(JXLogLevelDebug, JXDupesLog, "%s", "off");
}
