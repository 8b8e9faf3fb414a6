// Lists all assets by date, a page at a time: list [ASSETS IN A PAGE]
#define _POSIX_C_SOURCE 200809L // standard C alone lacks functions that it uses

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "wickerlane/api/Wickerlane.h"

static void show(const WLAsset *asset) {
    char date[] = "1970-01-01 00:00:00";
    const time_t seconds = (time_t)(WLAssetDate(asset) + WLReferenceDate);
    struct tm clock;
    // The date is what the camera's clock showed, as if it were UTC: no zone is to be added.
    if (gmtime_r(&seconds, &clock) != NULL)
        strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &clock);
    const char *name = WLAssetOriginalFilename(asset);
    printf("%s %s %ux%u %s\n", WLAssetUUID(asset), date, WLAssetWidth(asset), WLAssetHeight(asset),
           name != NULL ? name : WLAssetFilename(asset));
}

int main(int argc, char **argv) {
    WLScope *scope = WLScopePush();
    WLError *error = NULL;
    WLAssetQuery *query = WLAssetQueryCreate();
    if (argc > 1)
        WLAssetQuerySetLimit(query, strtoul(argv[1], NULL, 10));
    WLAssetPage *page = WLAssetPageCreate(query, &error);
    while (page != NULL) {
        for (size_t i = 0; i < WLAssetPageCount(page); ++i)
            show(WLAssetPageGet(page, i));
        WLAssetPage *next = WLAssetPageCreateNext(page, &error);
        WLRelease(page);
        page = next;
    }
    if (error != NULL)
        fprintf(stderr, "%s\n", WLStringText(WLErrorText(error)));
    WLRelease(query);
    WLScopePop(scope);
    return error == NULL ? EXIT_SUCCESS : EXIT_FAILURE;
}
