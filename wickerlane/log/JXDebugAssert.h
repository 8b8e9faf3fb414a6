// What debug assertions report.
#ifndef WICKERLANE_LOG_JXDEBUGASSERT_H
#define WICKERLANE_LOG_JXDEBUGASSERT_H

#include <stdint.h>

#include "wickerlane/platform/object/Export.h"

/// Reports a failed assertion or check in one line on standard error, and returns: the code after a failed
/// check goes on. Every text may be null.
///
///     Assertion failed: COMPONENT: ASSERTION LABEL ERROR file: FILE:LINE error: CODE
///     Check failed: COMPONENT: LABEL ERROR file: FILE:LINE error: CODE
///
/// The second form is that without an assertion text (null or empty). Texts that are null are left out, but a
/// null component shows as "(null)"; the line when it is below 1 or there is no file; the code when it is 0.
/// Unbuffered, in one write; output errors are ignored. Thread-safe.
WL_EXTERN_C void JXDebugAssert(const char *componentName, const char *assertion, const char *label,
                               const char *error, const char *fileName, long lineNumber, int32_t errorCode);

#endif
