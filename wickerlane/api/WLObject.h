// Objects of any kind: who owns them, how long borrowed ones live, what they say of themselves.
#ifndef WICKERLANE_API_WLOBJECT_H
#define WICKERLANE_API_WLOBJECT_H

#include "wickerlane/api/WLTypes.h"

/// Takes a reference, which the caller gives back with WLRelease(). Returns the object; null for null.
WL_EXTERN_C WLObject *WLRetain(WLObject *object);

/// Gives a reference back. Null is ignored.
WL_EXTERN_C void WLRelease(WLObject *object);

/// A stretch of a thread's work, at whose end the objects go that were borrowed in it.
typedef struct WLScope WLScope;

/// Begins a scope on this thread. Scopes nest. A thread that begins none has one for its whole life: threads
/// that loop over calls, and the main thread of a program, push one for each turn. Handlers run inside scopes
/// already.
WL_EXTERN_C WLScope *WLScopePush(void);

/// Ends a scope, on the thread that began it and after those inside it. Null is ignored.
WL_EXTERN_C void WLScopePop(WLScope *scope);

/// Equality by value. Null equals null only.
WL_EXTERN_C bool WLIsEqual(const WLObject *a, const WLObject *b);

/// What an object shows of itself to a person; borrowed. Null for null.
WL_EXTERN_C WLString *WLDescription(const WLObject *object);

// The object as one of a kind; null when it is none of it. Borrowed as the object is.

WL_EXTERN_C WLString *WLAsString(WLObject *object);
WL_EXTERN_C WLURL *WLAsURL(WLObject *object);
WL_EXTERN_C WLNumber *WLAsNumber(WLObject *object);
WL_EXTERN_C WLArray *WLAsArray(WLObject *object);
WL_EXTERN_C WLDictionary *WLAsDictionary(WLObject *object);

#endif
