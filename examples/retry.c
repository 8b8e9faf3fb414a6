// Saves a photo, and tries again when that may help: retry PHOTO
#define _POSIX_C_SOURCE 200809L // standard C alone lacks functions that it uses

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "wickerlane/api/Wickerlane.h"

// Whether the same request may succeed later, though nothing else changes.
static bool mayPass(const WLError *error) {
    switch (WLErrorCode(error)) {
    case WLErrorBusy:
    case WLErrorEnding:
    case WLErrorQueueFull:
    case WLErrorTimedOut:
        return true;
    default:
        return false;
    }
}

int main(int argc, char **argv) {
    if (argc != 2)
        return EXIT_FAILURE;
    WLScope *scope = WLScopePush();
    WLSetTimeLimit(30);
    WLSaveJob *job = WLSaveJobCreateWithFile(argv[1]);
    WLSaveJobSetUnlessPresent(job, true); // a save whose answer was lost is found, not repeated
    WLError *error = NULL;
    struct timespec pause = {.tv_nsec = 100000000};
    const WLSavedAsset *saved = WLSaveJobRun(job, &error);
    for (int tries = 1; saved == NULL && tries < 4 && mayPass(error); ++tries) {
        fprintf(stderr, "%s; trying again\n", WLStringText(WLErrorText(error)));
        nanosleep(&pause, NULL);
        pause.tv_nsec *= 2;
        saved = WLSaveJobRun(job, &error);
    }
    puts(WLStringText(saved != NULL ? WLSavedAssetUUID(saved) : WLErrorText(error)));
    WLRelease(job);
    WLScopePop(scope);
    return saved != NULL ? EXIT_SUCCESS : EXIT_FAILURE;
}
