// Releasing process assertions.
#ifndef WICKERLANE_UTIL_IDENTITY_JXPROCESSASSERTION_H
#define WICKERLANE_UTIL_IDENTITY_JXPROCESSASSERTION_H

#include "wickerlane/platform/object/Export.h"

#ifdef __cplusplus
namespace wickerlane {
class Object;
}
/// An object that keeps a process running as long as there is a reference to it.
typedef wickerlane::Object HSSProcessAssertion;
#else
typedef struct HSSProcessAssertion HSSProcessAssertion;
#endif

/// Releases the reference in a variable, which may be null, and leaves the variable as it is. For variables
/// that are cleaned up when their scope ends:
///
///     __attribute__((cleanup(JXCleanupHSSProcessAssertion))) HSSProcessAssertion *assertion = ...;
WL_EXTERN_C void JXCleanupHSSProcessAssertion(HSSProcessAssertion **variable);

#endif
