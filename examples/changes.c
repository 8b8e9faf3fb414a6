/* Shows what happens to assets, as it happens: changes */
#include <stdio.h>

#include "wickerlane/api/Wickerlane.h"

/* A program with a list of its own lists the assets here. */
static void listAgain(void) {
    puts("too much has changed");
}

static void update(int kind, const char *uuid) {
    const char *word = kind == WLChangeAdded ? "added" : kind == WLChangeRemoved ? "removed" : "changed";
    printf("%s %s\n", word, uuid);
    fflush(stdout);
}

int main(void) {
    WLError *error = NULL;
    WLChanges *changes = WLChangesCreate(NULL, 0, &error); // the token of the present
    while (changes != NULL) {
        WLChanges *next = WLChangesCreateWhenAny(WLChangesToken(changes), 1000, 600, &error);
        if (next == NULL && WLErrorCode(error) == WLErrorEnding)
            continue; // another daemon follows
        WLRelease(changes);
        changes = next;
        if (WLChangesIsTooOld(changes))
            listAgain();
        for (size_t i = 0; i < WLChangesCount(changes); ++i)
            update(WLChangesKind(changes, i), WLChangesUUID(changes, i));
    }
    printf("%s\n", WLStringText(WLErrorText(error)));
    return 1;
}
