// Reports of failed debug assertions.
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
/// The second form is used when the assertion is null or empty. Null texts are left out, but a null component
/// is written as "(null)". A line number below 1 or without a file, and an error code of 0, are left out as
/// well. The line is written unbuffered and at once; output errors are ignored. Keeps errno. Thread-safe.
WL_EXTERN_C void JXDebugAssert(const char *componentName, const char *assertion, const char *label,
                               const char *error, const char *fileName, long lineNumber, int32_t errorCode);

#endif
