// Saves photos and videos in one request, and says of each what has become of it: save_all FILE...
#include <stdio.h>
#include <stdlib.h>

#include "wickerlane/api/Wickerlane.h"

int main(int argc, char **argv) {
    if (argc < 2)
        return EXIT_FAILURE;
    WLScope *scope = WLScopePush();
    WLError *error = NULL;
    const size_t count = (size_t)argc - 1;
    WLObject **files = calloc(count, sizeof *files);
    for (size_t i = 0; files != NULL && i < count; ++i) {
        files[i] = WLSaveJobCreateWithFile(argv[i + 1]);
        WLSaveJobSetUnlessPresent(files[i], true);
    }
    WLArray *jobs = WLArrayCreate(files, files != NULL ? count : 0);
    int status = EXIT_SUCCESS;

    WLArray *results = WLSaveJobsRun(jobs, &error);
    if (results == NULL)
        puts(WLStringText(WLErrorText(error))); // of all jobs
    for (size_t i = 0; i < WLArrayCount(results); ++i) {
        WLSavedAsset *saved = WLSaveResultsGet(results, i, &error);
        puts(WLStringText(saved != NULL ? WLSavedAssetUUID(saved) : WLErrorText(error)));
        if (saved == NULL)
            status = EXIT_FAILURE;
    }

    if (results == NULL)
        status = EXIT_FAILURE;
    WLRelease(jobs);
    for (size_t i = 0; files != NULL && i < count; ++i)
        WLRelease(files[i]);
    free(files);
    WLScopePop(scope);
    return status;
}
