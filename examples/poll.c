// Shows the size of all photos, and again when it changes, in a loop of poll(): poll [CHANGES]
// It ends after that many changes, or with SIGINT or SIGTERM.
#include <inttypes.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/signalfd.h>

#include "wickerlane/api/Wickerlane.h"

static int changesLeft = -1;
static bool isDone = false;

// Runs on the main queue, and so in WLMainDrain().
static void show(void *context, uint32_t kind, uint64_t bytes) {
    static uint64_t shown = RZLibrarySizeUnknown;
    (void)context, (void)kind;
    if (bytes == shown && bytes != RZLibrarySizeUnknown)
        return;
    shown = bytes;
    if (bytes == RZLibrarySizeUnknown)
        puts("hoardd does not answer");
    else
        printf("%" PRIu64 " bytes\n", bytes);
    fflush(stdout);
    isDone = changesLeft-- == 0;
}

// Does not wait for the answer: the loop goes on.
static void ask(void *context) {
    (void)context;
    RZGetLibrarySizes(WLQueueMain(), 1, show, NULL, NULL);
}

int main(int argc, char **argv) {
    if (argc > 1)
        changesLeft = atoi(argv[1]);
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGINT);
    sigaddset(&endings, SIGTERM);
    sigprocmask(SIG_BLOCK, &endings, NULL);

    WLScope *scope = WLScopePush();
    WLNumber *token = WLRetain(RZRegisterForPhotosAndVideosCount(ask, NULL, NULL, WLQueueMain()));
    WLScopePop(scope);
    ask(NULL);
    struct pollfd watched[] = {
        {.fd = WLMainDescriptor(), .events = POLLIN},
        {.fd = signalfd(-1, &endings, SFD_CLOEXEC), .events = POLLIN},
    };
    while (!isDone && poll(watched, 2, -1) > 0) {
        if (watched[0].revents != 0)
            WLMainDrain();
        if (watched[1].revents != 0)
            isDone = true;
    }
    RZUnregisterForPhotosAndVideosCount(token);
    WLRelease(token);
    return EXIT_SUCCESS;
}
