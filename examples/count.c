// Shows how many photos and videos the library holds, and again at each change: count [CHANGES]
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "wickerlane/api/Wickerlane.h"

static int changesLeft = 0;

// Runs on the main queue.
static void show(void *context) {
    static char shown[80];
    char text[80];
    WLNumber **counts = context;
    if (counts[0] == NULL || counts[1] == NULL) {
        fprintf(stderr, "hoardd does not answer\n");
        exit(EXIT_FAILURE);
    }
    snprintf(text, sizeof text, "%llu photos, %llu videos", (unsigned long long)WLNumberUInt64(counts[0]),
             (unsigned long long)WLNumberUInt64(counts[1]));
    if (strcmp(text, shown) == 0)
        return;
    strcpy(shown, text);
    puts(text);
    fflush(stdout);
    if (changesLeft-- == 0)
        WLMainStop();
}

static void releaseCounts(void *context) {
    WLNumber **counts = context;
    WLRelease(counts[0]);
    WLRelease(counts[1]);
    free(counts);
}

// Runs on the global queue. The numbers are borrowed, so they are retained until the main queue has them.
static void passOn(void *context, WLNumber *photos, WLNumber *videos) {
    (void)context;
    WLNumber **counts = malloc(2 * sizeof *counts);
    if (counts == NULL)
        return;
    counts[0] = WLRetain(photos);
    counts[1] = WLRetain(videos);
    WLQueueAsync(WLQueueMain(), show, counts, releaseCounts);
}

static void ask(void *context) {
    (void)context;
    RZGetPhotosAndVideosCount(passOn, NULL, NULL);
}

int main(int argc, char **argv) {
    changesLeft = argc > 1 ? atoi(argv[1]) : 0;
    WLScope *scope = WLScopePush();
    WLNumber *token = WLRetain(RZRegisterForPhotosAndVideosCount(ask, NULL, NULL, WLQueueMain()));
    WLScopePop(scope);
    ask(NULL);
    WLMainRun(); // calls ask() on this thread, soon after each change
    RZUnregisterForPhotosAndVideosCount(token);
    WLRelease(token);
    return EXIT_SUCCESS;
}
