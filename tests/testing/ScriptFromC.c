// The functions for C, compiled as C and used by it.
#include "tests/testing/ScriptFromC.h"

#include <math.h>
#include <string.h>

#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/testing/WLScriptedDaemon.h"

#define CHECK(condition)       \
    do {                       \
        if (!(condition))      \
            return #condition; \
    } while (0)

/// A dictionary with one entry, which takes over the value.
static WLDictionary *entry(const char *key, WLObject *value) {
    WLDictionary *dictionary = WLDictionaryCreate(&key, &value, 1);
    WLRelease(value);
    return dictionary;
}

static WLArray *only(WLObject *element) {
    WLArray *array = WLArrayCreate(&element, 1);
    WLRelease(element);
    return array;
}

/// "key: [{}]": one of them, of which all is made up.
static bool answerOne(WLScriptedDaemon *daemon, const char *operation, const char *key) {
    WLDictionary *values = entry(key, only(WLDictionaryCreate(NULL, NULL, 0)));
    const bool isSet = WLScriptedDaemonAnswer(daemon, operation, 0, 0, values, NULL);
    WLRelease(values);
    return isSet;
}

/// What the client makes of lists that are packed when they travel.
static const char *faultOfLists(WLScriptedDaemon *daemon) {
    WLError *error = NULL;
    WLDictionary *removed = entry("changes", only(entry("kind", WLStringCreate("removed"))));
    CHECK(WLScriptedDaemonAnswer(daemon, "changesSinceToken:limit:", 0, 0, removed, &error));
    WLRelease(removed);
    WLChanges *changes = WLChangesCreate("t", 5, &error);
    CHECK(WLChangesCount(changes) == 1 && WLChangesKind(changes, 0) == WLChangeRemoved);
    CHECK(WLChangesNumber(changes, 0) == 1 && strlen(WLChangesUUID(changes, 0)) == 36);
    CHECK(WLChangesIsLast(changes) && strcmp(WLChangesToken(changes), "") != 0);
    WLRelease(changes);

    WLDictionary *day = entry("sections", only(entry("shapes", only(WLNumberCreateWithInt64(1500)))));
    CHECK(WLScriptedDaemonAnswer(daemon, "sectionsOfAssetsMatchingQuery:byUnit:", 0, 0, day, &error));
    WLRelease(day);
    WLAssetQuery *query = WLAssetQueryCreate();
    WLAssetSections *sections = WLAssetSectionsCreate(query, WLSectionDay, &error);
    CHECK(WLAssetSectionsCount(sections) == 1 && WLAssetSectionsAssetCount(sections, 0) == 1);
    CHECK(WLAssetSectionsShapes(sections, 0)[0] == 1500);
    WLRelease(sections);

    CHECK(answerOne(daemon, "momentLists", "lists") && answerOne(daemon, "cloudFeed", "entries"));
    WLMomentLists *lists = WLMomentListsCreate(&error);
    WLFeed *feed = WLFeedCreate(&error);
    CHECK(WLMomentListsCount(lists) == 1 && WLMomentListsNumber(lists, 0) == 1);
    CHECK(WLFeedCount(feed) == 1 && strlen(WLFeedAlbumUUID(feed, 0)) == 36);
    WLRelease(lists);
    WLRelease(feed);

    CHECK(answerOne(daemon, "assetsMatchingQuery:", "assets"));
    CHECK(answerOne(daemon, "companionsOfPhotos:", "companions"));
    WLAssetPage *page = WLAssetPageCreate(query, &error);
    WLObject *asset = WLAssetPageGet(page, 0);
    WLArray *assets = WLArrayCreate(&asset, 1);
    WLCompanions *companions = WLCompanionsCreate(assets, &error);
    CHECK(WLCompanionsCount(companions) == 1 && WLCompanionsPath(companions, 0)[0] == '/');
    CHECK(strcmp(WLCompanionsAssetUUID(companions, 0), WLAssetUUID(asset)) == 0);
    WLRelease(companions);
    WLRelease(assets);
    WLRelease(page);
    WLRelease(query);
    return NULL;
}

/// How many albums there are; minus the code of the error when they don't come.
static long albums(void) {
    WLError *error = NULL;
    WLArray *found = WLAlbumsCreate(&error);
    long count = found != NULL ? (long)WLArrayCount(found) : -(long)WLErrorCode(error);
    WLRelease(found);
    return count;
}

static const char *faultOf(WLScriptedDaemon *daemon) {
    WLError *error = NULL;
    WLDictionary *dunes = entry("albums", only(entry("name", WLStringCreate("Dunes"))));
    CHECK(WLScriptedDaemonAnswer(daemon, "albums", 0, 0, dunes, &error) && error == NULL);
    WLRelease(dunes);
    CHECK(WLScriptedDaemonFail(daemon, "albums", 2, 0, WLErrorNoSpace, "full", &error));
    CHECK(WLScriptedDaemonDie(daemon, "albums", 3, 0, &error));
    CHECK(WLScriptedDaemonAnswer(daemon, "albums", 4, -1, NULL, &error));
    CHECK(albums() == 1 && albums() == -WLErrorNoSpace && albums() == -WLErrorEnding);
    WLSetTimeLimitOfThread(0.02);
    CHECK(albums() == -WLErrorTimedOut);
    WLSetTimeLimitOfThread(-1);
    WLCancellation *cancellation = WLCancellationCreate();
    WLSetCancellationOfThread(cancellation);
    CHECK(!WLIsCancelled(cancellation) && !WLIsCancelled(NULL));
    WLCancel(cancellation);
    WLCancel(NULL);
    CHECK(WLIsCancelled(cancellation) && albums() == -WLErrorCancelled);
    WLRelease(cancellation);
    CHECK(albums() == -WLErrorCancelled); // the thread keeps it
    WLSetCancellationOfThread(NULL);
    WLScriptedDaemonRelease(daemon);
    WLScriptedDaemonRefuseAccess(daemon, true);
    CHECK(albums() == -WLErrorRefused);
    WLScriptedDaemonRefuseAccess(daemon, false);
    WLScriptedDaemonStop(daemon);
    CHECK(WLScriptedDaemonListen(daemon, &error) && WLScriptedDaemonRoot(daemon)[0] == '/');
    CHECK(albums() == 1);

    WLScriptedDaemonForgetRequests(daemon);
    CHECK(!WLAlbumRename("U", "Seas", &error));
    CHECK(WLScriptedDaemonWaitForRequests(daemon, 1, 30) && !WLScriptedDaemonWaitForRequests(daemon, 2, 0));
    CHECK(!WLScriptedDaemonWaitForRequests(daemon, 2, NAN) &&
          !WLScriptedDaemonDie(daemon, "albums", 0, NAN, &error));
    WLArray *requests = WLScriptedDaemonCreateRequests(daemon);
    WLDictionary *request = WLAsDictionary(WLArrayGet(requests, 0));
    const char *name = WLStringText(WLAsString(WLDictionaryGet(request, "operation")));
    WLDictionary *values = WLAsDictionary(WLDictionaryGet(request, "values"));
    CHECK(WLArrayCount(requests) == 1 && strcmp(name, "renameAlbumWithUUID:to:") == 0);
    CHECK(strcmp(WLStringText(WLAsString(WLDictionaryGet(values, "name"))), "Seas") == 0);
    CHECK(WLNumberBool(WLAsNumber(WLDictionaryGet(request, "wantsReply"))));
    WLRelease(requests);

    WLDictionary *wrong = entry("albums", WLStringCreate("Dunes"));
    CHECK(!WLScriptedDaemonAnswer(daemon, "albums", 0, 0, wrong, &error));
    CHECK(WLErrorCode(error) == WLErrorInvalid);
    CHECK(strcmp(WLStringText(WLErrorText(error)), "each album is a dictionary in an array") == 0);
    CHECK(!WLScriptedDaemonAnswer(daemon, NULL, 0, 0, wrong, NULL));
    WLRelease(wrong);
    CHECK(!WLScriptedDaemonDie(daemon, NULL, 1, 0, &error) && !WLScriptedDaemonDie(daemon, "x", 0, 0, NULL));
    CHECK(!WLScriptedDaemonFail(daemon, NULL, 0, 0, WLErrorTimedOut, "late", &error));
    CHECK(WLScriptedDaemonFail(daemon, NULL, 0, 0, WLErrorExists, NULL, &error) && error == NULL);
    CHECK(!WLAlbumRename("U", "Seas", &error) && WLErrorCode(error) == WLErrorExists);
    CHECK(
        WLScriptedDaemonAnswer(daemon, NULL, 0, 0, NULL, &error)); // answers that lack what they should have
    WLSaveJob *job = WLSaveJobCreateWithFile("/a");
    CHECK(WLSaveJobSetOriginalFilename(job, "a") && !WLSaveJobSetOriginalFilename(NULL, "a"));
    WLArray *jobs = only(job);
    CHECK(WLSaveJobsRun(jobs, &error) == NULL && error != NULL && WLErrorCode(error) == WLErrorFailed);
    WLRelease(jobs);
    CHECK(WLLibraryReserveFile(WLAssetKindPhoto, "PNG", &error) == NULL && error != NULL);
    CHECK(!WLMomentListAnalyze(1, &error) && error != NULL);
    WLDictionary *operations = WLScriptedOperationsCreate();
    CHECK(WLArrayCount(WLAsArray(WLDictionaryGet(operations, "albums"))) == 2);
    WLRelease(operations);
    return NULL;
}

const char *faultOfScriptFromC(void) {
    WLScope *scope = WLScopePush();
    WLError *error = NULL;
    WLScriptedDaemon *daemon = WLScriptedDaemonStart(&error);
    const char *fault = daemon != NULL ? faultOf(daemon) : "the daemon starts";
    if (fault == NULL)
        fault = faultOfLists(daemon);
    if (fault == NULL && (WLScriptedDaemonStart(&error) != NULL || error == NULL ||
                          strstr(WLStringText(WLErrorText(error)), "already") == NULL))
        fault = "there is one at a time";
    WLScriptedDaemonEnd(daemon);
    WLScopePop(scope);
    return fault;
}
