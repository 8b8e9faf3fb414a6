#include "wickerlane/util/identity/JXProcessAssertion.h"

#include "wickerlane/platform/object/Object.h"

void JXCleanupHSSProcessAssertion(HSSProcessAssertion **variable) {
    if (variable != nullptr && *variable != nullptr)
        (*variable)->release();
}
