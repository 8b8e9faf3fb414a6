// Shows the size of all photos, and again when it changes, in the main loop of GLib: glib [CHANGES]
#include <glib-unix.h>
#include <glib.h>
#include <stdlib.h>

#include "wickerlane/api/Wickerlane.h"

static GMainLoop *loop = NULL;
static int changesLeft = -1;

// Runs on the main queue, and so on the thread of the loop.
static void show(void *context, uint32_t kind, uint64_t bytes) {
    static uint64_t shown = RZLibrarySizeUnknown;
    (void)context, (void)kind;
    if (bytes == shown && bytes != RZLibrarySizeUnknown)
        return;
    shown = bytes;
    if (bytes == RZLibrarySizeUnknown)
        g_print("hoardd does not answer\n");
    else
        g_print("%" G_GUINT64_FORMAT " bytes\n", bytes);
    if (changesLeft-- == 0)
        g_main_loop_quit(loop);
}

// Does not wait for the answer: the loop goes on.
static void ask(void *context) {
    (void)context;
    RZGetLibrarySizes(WLQueueMain(), 1, show, NULL, NULL);
}

static gboolean drain(gint descriptor, GIOCondition condition, gpointer context) {
    (void)descriptor, (void)condition, (void)context;
    WLMainDrain();
    return G_SOURCE_CONTINUE;
}

static gboolean quit(gpointer context) {
    (void)context;
    g_main_loop_quit(loop);
    return G_SOURCE_CONTINUE;
}

int main(int argc, char **argv) {
    if (argc > 1)
        changesLeft = atoi(argv[1]);
    loop = g_main_loop_new(NULL, FALSE);
    g_unix_signal_add(SIGINT, quit, NULL);
    g_unix_signal_add(SIGTERM, quit, NULL);
    const guint source = g_unix_fd_add(WLMainDescriptor(), G_IO_IN, drain, NULL);

    WLScope *scope = WLScopePush();
    WLNumber *token = WLRetain(RZRegisterForPhotosAndVideosCount(ask, NULL, NULL, WLQueueMain()));
    WLScopePop(scope);
    ask(NULL);
    g_main_loop_run(loop);

    RZUnregisterForPhotosAndVideosCount(token);
    WLRelease(token);
    g_source_remove(source);
    g_main_loop_unref(loop);
    return EXIT_SUCCESS;
}
