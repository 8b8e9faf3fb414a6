#include "wickerlane/util/identity/JXPictorama.h"

#include "wickerlane/platform/applications/ApplicationWorkspace.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/process/LibraryLoading.h"
#include "wickerlane/platform/queue/Once.h"
#include "wickerlane/util/identity/RuntimeClassInternal.h"

using namespace wickerlane;

const char *const JXPictoramaBundleIdentifier = "org.wickerlane.Pictorama";
const char *const JXApplicationServicesLibraryPath = WICKERLANE_APPLICATIONS_LIBRARY;

bool JXIsPictoramaInstalled() {
    static constinit Once once;
    once.run([] { loadLibrary(JXApplicationServicesLibraryPath); });
    const Class *workspaceClass = classNamed(ApplicationWorkspace::registeredName);
    if (workspaceClass == nullptr)
        return true;
    const ReleaseScope scope;
    const auto workspace = instanceOf<ApplicationWorkspace>(workspaceClass);
    return workspace && workspace->isInstalled(String::of(JXPictoramaBundleIdentifier));
}
