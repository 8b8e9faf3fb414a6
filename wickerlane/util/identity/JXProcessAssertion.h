// Letting go of process assertions.
#ifndef WICKERLANE_UTIL_IDENTITY_JXPROCESSASSERTION_H
#define WICKERLANE_UTIL_IDENTITY_JXPROCESSASSERTION_H

#include "wickerlane/platform/object/Export.h"

#ifdef __cplusplus
namespace wickerlane {
class Object;
}
/// An object that keeps a process running as long as somebody owns a reference to it.
typedef wickerlane::Object HSSProcessAssertion;
#else
typedef struct HSSProcessAssertion HSSProcessAssertion;
#endif

/// Releases the reference that a variable holds, if it holds one, and leaves the variable as it is. Made for
/// variables that clean up when their scope ends:
///
///     __attribute__((cleanup(JXCleanupHSSProcessAssertion))) HSSProcessAssertion *assertion = ...;
WL_EXTERN_C void JXCleanupHSSProcessAssertion(HSSProcessAssertion **variable);

#endif
