// Saves photos and videos into the library, each once, and prints the UUIDs of their assets: save FILE...
#include <stdio.h>
#include <stdlib.h>

#include "wickerlane/api/Wickerlane.h"

static bool save(const char *path) {
    WLError *error = NULL;
    WLSaveJob *job = WLSaveJobCreateWithFile(path);
    WLSaveJobSetUnlessPresent(job, true);
    const WLSavedAsset *saved = WLSaveJobRun(job, &error);
    if (saved != NULL)
        printf("%s %s\n", WLStringText(WLSavedAssetUUID(saved)), path);
    else
        fprintf(stderr, "%s: %s\n", path, WLStringText(WLErrorText(error)));
    WLRelease(job);
    return saved != NULL;
}

int main(int argc, char **argv) {
    int status = argc > 1 ? EXIT_SUCCESS : EXIT_FAILURE;
    for (int i = 1; i < argc; ++i) {
        WLScope *scope = WLScopePush(); // what is borrowed goes before the next file
        if (!save(argv[i]))
            status = EXIT_FAILURE;
        WLScopePop(scope);
    }
    return status;
}
