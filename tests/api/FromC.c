// The headers for C code, compiled as C and used by it.
#include "tests/api/FromC.h"

#include <math.h>
#include <string.h>

#include "wickerlane/api/Wickerlane.h"

#define CHECK(condition)       \
    do {                       \
        if (!(condition))      \
            return #condition; \
    } while (0)

static void append(void *context) {
    strcat(context, "a");
}

static void appendAndStop(void *context) {
    strcat(context, "z");
    WLMainStop();
}

static void stop(void *context) {
    (void)context;
    WLMainStop();
}

static void released(void *context) {
    strcat(context, "r");
}

static const char *faultOfValues(void) {
    WLString *text = WLStringCreate("caf\xc3\xa9");
    CHECK(strcmp(WLStringText(text), "caf\xc3\xa9") == 0);
    CHECK(WLStringLength(text) == 5);
    CHECK(WLStringCreate("\xff") == NULL);
    CHECK(WLStringCreate(NULL) == NULL);
    CHECK(WLStringText(NULL) == NULL);
    CHECK(WLAsString(text) == text && WLAsNumber(text) == NULL && WLAsURL(NULL) == NULL);
    CHECK(WLIsEqual(WLDescription(text), text) && !WLIsEqual(text, NULL) && WLIsEqual(NULL, NULL));
    CHECK(WLRetain(text) == text);
    WLRelease(text);

    WLURL *url = WLURLCreateWithPath("/a folder/b");
    CHECK(strcmp(WLStringText(WLURLText(url)), "file:///a%20folder/b") == 0);
    CHECK(strcmp(WLStringText(WLURLPath(url)), "/a folder/b") == 0);
    CHECK(WLURLCreate("") == NULL && WLURLCreate(NULL) == NULL && WLURLCreateWithPath(NULL) == NULL);
    CHECK(WLURLText(NULL) == NULL && WLURLPath(NULL) == NULL);
    WLRelease(url);

    WLNumber *numbers[] = {WLNumberCreateWithBool(true), WLNumberCreateWithInt64(-3),
                           WLNumberCreateWithUInt64(UINT64_MAX), WLNumberCreateWithDouble(2.5)};
    CHECK(WLNumberBool(numbers[0]) && WLNumberInt64(numbers[1]) == -3);
    CHECK(WLNumberUInt64(numbers[2]) == UINT64_MAX && WLNumberDouble(numbers[3]) == 2.5);
    CHECK(!WLNumberBool(NULL) && WLNumberInt64(NULL) == 0 && WLNumberUInt64(NULL) == 0 &&
          WLNumberDouble(NULL) == 0);

    WLDate *date = WLDateCreate(86400.5);
    CHECK(WLDateSeconds(date) == 86400.5 && WLDateSeconds(NULL) == 0);
    CHECK(WLAsDate(date) == date && WLAsDate(text) == NULL);
    WLRelease(date);

    WLObject *values[] = {text, numbers[1]};
    WLArray *array = WLArrayCreate(values, 2);
    CHECK(WLArrayCount(array) == 2 && WLArrayGet(array, 1) == numbers[1] && WLArrayGet(array, 2) == NULL);
    CHECK(WLAsArray(array) == array && WLArrayCount(NULL) == 0 && WLArrayGet(NULL, 0) == NULL);
    const char *keys[] = {"one", "two"};
    WLDictionary *dictionary = WLDictionaryCreate(keys, values, 2);
    CHECK(WLDictionaryCount(dictionary) == 2 && WLDictionaryGet(dictionary, "one") == text);
    CHECK(WLDictionaryGet(dictionary, "three") == NULL && WLDictionaryGet(NULL, "one") == NULL);
    CHECK(strcmp(WLStringText(WLAsString(WLDictionaryKeyAt(dictionary, 1))), "two") == 0);
    CHECK(WLDictionaryValueAt(dictionary, 1) == numbers[1] && WLDictionaryValueAt(dictionary, 2) == NULL);
    CHECK(WLAsDictionary(dictionary) == dictionary && WLDictionaryCount(NULL) == 0);
    values[0] = NULL;
    keys[1] = "\xff";
    CHECK(WLArrayCreate(values, 2) == NULL && WLArrayCreate(NULL, 1) == NULL);
    CHECK(WLDictionaryCreate(keys, values, 1) == NULL && WLDictionaryCreate(NULL, values, 1) == NULL);
    values[0] = text;
    CHECK(WLDictionaryCreate(keys, values, 2) == NULL);

    WLRelease(array);
    WLRelease(dictionary);
    WLRelease(text);
    for (int i = 0; i < 4; ++i)
        WLRelease(numbers[i]);
    WLRelease(NULL);
    return NULL;
}

static const char *faultOfQueues(void) {
    char seen[16] = "";
    WLQueue *queue = WLQueueCreate("from C");
    WLQueueAsync(queue, append, seen, released);
    WLQueueSync(queue, append, seen, NULL);
    CHECK(strcmp(seen, "ara") == 0);
    WLQueueSync(queue, NULL, seen, released);
    CHECK(strcmp(seen, "arar") == 0);
    WLRelease(queue);

    seen[0] = '\0';
    WLMainAfter(0.001, appendAndStop, seen, released);
    WLMainRun();
    WLQueueAsync(WLQueueMain(), append, seen, NULL);
    CHECK(WLMainDescriptor() >= 0);
    CHECK(WLMainDrain() == 1 && WLMainDrain() == 0);
    CHECK(strcmp(seen, "zra") == 0);
    CHECK(WLQueueGlobal() != WLQueueMain());
    return NULL;
}

static const char *faultOfErrors(void) {
    CHECK(WLErrorCode(NULL) == 0);
    CHECK(WLErrorDomain(NULL) == NULL && WLErrorText(NULL) == NULL);
    CHECK(WLNCreatePathForPersistentURL(NULL) == NULL);
    WLError *error = WLLastError();
    CHECK(strcmp(WLStringText(WLErrorDomain(error)), "WickerlaneRequest") == 0);
    CHECK(WLErrorCode(error) == WLErrorUnreachable);
    CHECK(strstr(WLStringText(WLErrorText(error)), "hoardd") != NULL);
    return NULL;
}

static const char *faultOfTheLibrary(void) {
    WLAssetQuery *query = WLAssetQueryCreate();
    WLError *error = NULL;
    CHECK(WLAssetPageCreate(query, &error) == NULL && WLErrorCode(error) == WLErrorUnreachable);
    CHECK(WLAssetPageCreate(query, NULL) == NULL && WLErrorCode(WLLastError()) == WLErrorUnreachable);
    CHECK(WLAssetPageCreate(NULL, &error) == NULL && WLErrorCode(error) == WLErrorInvalid);
    CHECK(WLAssetPageCreateNext(NULL, &error) == NULL && error == NULL);
    CHECK(WLAlbumsCreate(&error) == NULL && WLErrorCode(error) == WLErrorUnreachable);
    error = NULL;
    CHECK(WLMomentPageCreate(-INFINITY, INFINITY, false, 1, &error) == NULL && error != NULL);
    CHECK(WLMomentPageCreateNext(NULL, &error) == NULL && error == NULL);
    CHECK(WLDuplicatesPageCreate(WLDuplicatesAll, 1, &error) == NULL && error != NULL);
    CHECK(WLDuplicatesPageCreateNext(NULL, &error) == NULL && error == NULL);
    CHECK(WLDuplicatesPageCreate(3, 1, &error) == NULL && WLErrorCode(error) == WLErrorInvalid);
    WLRelease(query);

    CHECK(WLAssetOpenOriginal(NULL, &error) == -1 && WLErrorCode(error) == WLErrorInvalid);
    CHECK(WLAssetCreatePicture(NULL, WLPictureOriginal, &error) == NULL && error != NULL);
    CHECK(!WLAssetDelete(NULL, &error) && WLErrorCode(error) == WLErrorInvalid);
    CHECK(WLAlbumAdd("a", &error) == NULL && WLErrorCode(error) == WLErrorUnreachable);
    WLData *data = WLDataCreate("abc", 3);
    CHECK(WLDataLength(data) == 3 && memcmp(WLDataBytes(data), "abc", 3) == 0 && WLAsData(data) == data);
    CHECK(WLDataCreate(NULL, 1) == NULL && WLDataBytes(NULL) == NULL && WLDataLength(NULL) == 0);
    WLSaveJob *job = WLSaveJobCreateWithData(data);
    CHECK(WLSaveJobRun(job, &error) == NULL && WLErrorCode(error) == WLErrorUnreachable);
    WLRelease(job);
    WLRelease(data);
    WLSaveJobSetDateCreated(NULL, 1);
    WLSaveJobSetUnlessPresent(NULL, true);
    CHECK(WLSavedAssetUUID(NULL) == NULL && WLSavedAssetURL(NULL) == NULL);
    CHECK(!WLSavedAssetWasPresent(NULL) && WLSavedAssetProblem(NULL) == NULL);

    WLAssetQuerySetKind(NULL, WLAssetKindVideo);
    WLAssetQuerySetName(NULL, "a");
    WLAssetQuerySetSizes(NULL, 1, 2);
    WLAssetQueryAddField(NULL, WLAssetFieldWidth);
    CHECK(WLAssetPageCount(NULL) == 0 && WLAssetPageGet(NULL, 0) == NULL && WLAssetPageCursor(NULL) == NULL);
    CHECK(WLAssetUUID(NULL) == NULL && WLAssetURL(NULL) == NULL && WLAssetFilePath(NULL) == NULL);
    CHECK(WLAssetSHA256(NULL) == NULL && WLAssetDate(NULL) == 0 && WLAssetWidth(NULL) == 0);
    CHECK(!WLTrashRestore(NULL, &error) && WLErrorCode(error) == WLErrorInvalid);
    CHECK(!WLAssetRevert(NULL, &error) && WLErrorCode(error) == WLErrorInvalid);
    CHECK(!WLMomentAnalyze(NULL, &error) && WLErrorCode(error) == WLErrorInvalid);
    CHECK(WLSaveJobsRun(NULL, &error) == NULL && WLErrorCode(error) == WLErrorInvalid);
    CHECK(WLChangesCreate(NULL, 0, &error) == NULL && WLErrorCode(error) == WLErrorUnreachable);
    CHECK(WLChangesCount(NULL) == 0 && WLChangesToken(NULL) == NULL && WLChangesUUID(NULL, 0) == NULL);
    CHECK(!WLSavedAssetCompanionWasSaved(NULL) && !WLSavedAssetCompanionWasPresent(NULL));
    WLSaveJobSetPreview(NULL, NULL);
    WLSaveJobSetKind(NULL, WLAssetKindVideo);
    WLSurface *surface = WLSurfaceCreate(3, 2, WLPixelsGray);
    CHECK(WLSurfaceWidth(surface) == 3 && WLSurfaceHeight(surface) == 2);
    CHECK(WLSurfaceBytesPerRow(surface) >= 3 && WLSurfaceBytes(surface) == WLSurfaceWritableBytes(surface));
    CHECK(WLSurfaceWidth(NULL) == 0 && WLSurfaceBytes(NULL) == NULL && WLSurfaceWritableBytes(NULL) == NULL);
    WLRelease(surface);
    double latitude = 1, longitude = 2;
    CHECK(!WLAssetGetLocation(NULL, &latitude, &longitude) && latitude == 0 && longitude == 0);
    CHECK(!WLAssetGetLocation(NULL, NULL, NULL));
    CHECK(WLAlbumName(NULL) == NULL && WLAlbumAssetCount(NULL) == 0 && WLAlbumURL(NULL) == NULL);
    CHECK(WLMomentPageGet(NULL, 0) == NULL && WLMomentKeyAsset(NULL) == NULL);
    CHECK(WLDuplicatesPageGet(NULL, 0) == NULL && WLDuplicatesGetUUID(NULL, 0) == NULL);
    CHECK(WLMomentListsCount(NULL) == 0 && WLMomentListsKeyAsset(NULL, 0) == NULL);
    CHECK(WLFeedCount(NULL) == 0 && WLFeedAssetUUID(NULL, 0, 0) == NULL);
    CHECK(WLCompanionsCount(NULL) == 0 && WLCompanionsPath(NULL, 0) == NULL);
    CHECK(WLAsAsset(NULL) == NULL && WLAsAlbum(NULL) == NULL);
    return NULL;
}

static void answered(void *context, bool done, WLError *error) {
    *(bool *)context = !done && WLErrorCode(error) == WLErrorInvalid;
    WLQueueAsync(WLQueueMain(), stop, NULL, NULL);
}

static const char *faultOfHandlers(void) {
    bool isRefused = false;
    WLTrashRestoreWithHandler(NULL, answered, &isRefused, NULL);
    WLMainRun();
    CHECK(isRefused);
    char seen[16] = "";
    WLTrashRestoreWithHandler(NULL, NULL, seen, released);
    WLRequestAccess(NULL, seen, released);
    CHECK(strcmp(seen, "rr") == 0);
    return NULL;
}

static const char *faultOfConstants(void) {
    CHECK(strcmp(RZPhotosAndVideosCountNotificationName, "RZPhotosAndVideosCount") == 0);
    CHECK(strcmp(WLStringText(WickerlaneErrorDomain), "Wickerlane") == 0);
    const char *last = strrchr(WickerlaneGatekeeperName, '.');
    CHECK(last != NULL && strcmp(last, ".Gatekeeper") == 0);
    CHECK(WLNGetCurrentAccess() == 2);
    CHECK(sizeof(WLAuditToken) == 32);
    return NULL;
}

const char *faultOfAccessors(void) {
    WLScope *scope = WLScopePush();
    const char *fault = faultOfValues();
    if (fault == NULL)
        fault = faultOfQueues();
    if (fault == NULL)
        fault = faultOfErrors();
    if (fault == NULL)
        fault = faultOfTheLibrary();
    if (fault == NULL)
        fault = faultOfHandlers();
    if (fault == NULL)
        fault = faultOfConstants();
    WLScopePop(scope);
    WLScopePop(NULL);
    return fault;
}
