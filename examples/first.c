// Saves a photo, lists the newest ones, and writes a picture of it for the screen: first PHOTO SHOWN.jpg
#include <stdio.h>
#include <stdlib.h>

#include "wickerlane/api/Wickerlane.h"

static WLSavedAsset *save(const char *path, WLError **error) {
    WLSaveJob *job = WLSaveJobCreateWithFile(path);
    WLSaveJobSetUnlessPresent(job, true); // run again, the program makes no copy
    WLSavedAsset *saved = WLSaveJobRun(job, error);
    WLRelease(job);
    return saved;
}

static bool listNewest(WLError **error) {
    WLAssetQuery *query = WLAssetQueryCreate();
    WLAssetQuerySetOrder(query, WLAssetOrderAdded, true);
    WLAssetQuerySetLimit(query, 10);
    WLAssetPage *page = WLAssetPageCreate(query, error);
    for (size_t i = 0; i < WLAssetPageCount(page); ++i) {
        const WLAsset *asset = WLAssetPageGet(page, i);
        printf("%s %ux%u\n", WLAssetUUID(asset), WLAssetWidth(asset), WLAssetHeight(asset));
    }
    const bool isListed = page != NULL;
    WLRelease(page);
    WLRelease(query);
    return isListed;
}

static bool show(const char *uuid, const char *path, WLError **error) {
    WLAssetQuery *query = WLAssetQueryCreate();
    WLAssetQuerySetIdentity(query, uuid);
    WLAssetPage *page = WLAssetPageCreate(query, error);
    WLData *picture = NULL;
    if (page != NULL)
        picture = WLAssetCreatePicture(WLAssetPageGet(page, 0), WLPictureLargeJPEG, error);
    bool isShown = false;
    if (picture != NULL) {
        FILE *file = fopen(path, "wb");
        const size_t length = WLDataLength(picture);
        isShown = file != NULL && fwrite(WLDataBytes(picture), 1, length, file) == length;
        if (file == NULL || fclose(file) != 0)
            isShown = false;
        if (!isShown)
            perror(path);
    }
    WLRelease(picture);
    WLRelease(page);
    WLRelease(query);
    return isShown;
}

int main(int argc, char **argv) {
    if (argc != 3)
        return EXIT_FAILURE;
    WLScope *scope = WLScopePush();
    WLError *error = NULL;
    const WLSavedAsset *saved = save(argv[1], &error);
    const bool isDone =
        saved != NULL && listNewest(&error) && show(WLStringText(WLSavedAssetUUID(saved)), argv[2], &error);
    if (error != NULL)
        fprintf(stderr, "%s\n", WLStringText(WLErrorText(error)));
    WLScopePop(scope);
    return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
