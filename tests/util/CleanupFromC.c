// The headers that C code uses, compiled as C.
#include "wickerlane/util/identity/JXPictorama.h"
#include "wickerlane/util/identity/JXProcessAssertion.h"
#include "wickerlane/util/identity/JXProcessIdentity.h"
#include "wickerlane/util/identity/JXScreen.h"

int leaveScopeInC(HSSProcessAssertion *owned, int early);

int leaveScopeInC(HSSProcessAssertion *owned, int early) {
    __attribute__((cleanup(JXCleanupHSSProcessAssertion))) HSSProcessAssertion *assertion = owned;
    if (early)
        return 1;
    return assertion != 0 ? 2 : 3;
}
