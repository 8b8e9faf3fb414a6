// The headers that C code uses, compiled as C.
#include "wickerlane/util/JXPictorama.h"
#include "wickerlane/util/JXProcessAssertion.h"
#include "wickerlane/util/JXProcessIdentity.h"
#include "wickerlane/util/JXScreen.h"

int leaveScopeInC(HSSProcessAssertion *owned, int early);

int leaveScopeInC(HSSProcessAssertion *owned, int early) {
    __attribute__((cleanup(JXCleanupHSSProcessAssertion))) HSSProcessAssertion *assertion = owned;
    if (early)
        return 1;
    return assertion != 0 ? 2 : 3;
}
