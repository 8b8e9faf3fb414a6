/* Tests a function of an application with a scripted daemon: test_album_count */
#include <stdio.h>

#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/testing/WLScriptedDaemon.h"

/* The application: how many albums there are; -1 when the library can't be asked. */
static long countAlbums(void) {
    WLArray *albums = WLAlbumsCreate(NULL);
    long count = albums != NULL ? (long)WLArrayCount(albums) : -1;
    WLRelease(albums);
    return count;
}

/* An answer with one album of that name. */
static WLDictionary *oneAlbum(const char *name) {
    const char *nameKey = "name", *albumsKey = "albums";
    WLObject *text = WLStringCreate(name);
    WLObject *album = WLDictionaryCreate(&nameKey, &text, 1);
    WLObject *albums = WLArrayCreate(&album, 1);
    WLDictionary *answer = WLDictionaryCreate(&albumsKey, &albums, 1);
    WLRelease(text);
    WLRelease(album);
    WLRelease(albums);
    return answer;
}

/* Whether the application counts right; shows what it counted if not. */
static int counted(long expected) {
    long count = countAlbums();
    if (count != expected)
        printf("%ld albums instead of %ld\n", count, expected);
    return count == expected;
}

int main(void) {
    WLError *error = NULL;
    WLScriptedDaemon *daemon = WLScriptedDaemonStart(&error);
    WLDictionary *answer = oneAlbum("Dunes");
    int isRight = daemon != NULL && WLScriptedDaemonAnswer(daemon, "albums", 0, 0, answer, &error) &&
                  WLScriptedDaemonFail(daemon, "albums", 2, 0, WLErrorBusy, "in use", &error) && counted(1) &&
                  counted(-1);
    if (error != NULL)
        printf("%s\n", WLStringText(WLErrorText(error)));
    WLRelease(answer);
    WLScriptedDaemonEnd(daemon);
    return isRight ? 0 : 1;
}
