// Saves a photo without waiting for it, as programs with a window do: background PHOTO
#include <stdio.h>
#include <stdlib.h>

#include "wickerlane/api/Wickerlane.h"

static bool isSaved = false;

// Runs on the main queue.
static void stop(void *context) {
    (void)context;
    WLMainStop();
}

// Runs on the global queue.
static void saved(void *context, WLSavedAsset *asset, WLError *error) {
    (void)context;
    isSaved = asset != NULL;
    puts(WLStringText(isSaved ? WLSavedAssetUUID(asset) : WLErrorText(error)));
    WLQueueAsync(WLQueueMain(), stop, NULL, NULL);
}

int main(int argc, char **argv) {
    if (argc != 2)
        return EXIT_FAILURE;
    WLSaveJob *job = WLSaveJobCreateWithFile(argv[1]);
    WLSaveJobRunWithHandler(job, saved, NULL, NULL);
    WLRelease(job);
    WLMainRun();
    return isSaved ? EXIT_SUCCESS : EXIT_FAILURE;
}
