// Objects of any kind: references, scopes, equality, descriptions and casts.
#ifndef WICKERLANE_API_WLOBJECT_H
#define WICKERLANE_API_WLOBJECT_H

#include "wickerlane/api/WLTypes.h"

/// Adds a reference, which the caller releases with WLRelease(). Returns the object; null for null.
WL_EXTERN_C WLObject *WLRetain(WLObject *object);

/// Releases a reference. Null is ignored.
WL_EXTERN_C void WLRelease(WLObject *object);

/// A release scope of a thread: when it is popped, objects that were borrowed in it are released.
typedef struct WLScope WLScope;

/// Begins a scope on this thread. Scopes nest. A thread without one has a scope for its whole life, so that
/// threads that loop over calls should push a scope for each turn. Handlers already run inside one. Never
/// null.
WL_EXTERN_C WLScope *WLScopePush(void);

/// Ends a scope, on the thread that began it and after the scopes inside it. Null is ignored.
WL_EXTERN_C void WLScopePop(WLScope *scope);

/// Equality by value. Null equals only null.
WL_EXTERN_C bool WLIsEqual(const WLObject *a, const WLObject *b);

/// The text of an object for people; borrowed. Null for null.
WL_EXTERN_C WLString *WLDescription(const WLObject *object);

// The object as an object of one type, without a new reference; null when it is of another type, and for
// null.

WL_EXTERN_C WLString *WLAsString(WLObject *object);
WL_EXTERN_C WLURL *WLAsURL(WLObject *object);
WL_EXTERN_C WLNumber *WLAsNumber(WLObject *object);
WL_EXTERN_C WLDate *WLAsDate(WLObject *object);
WL_EXTERN_C WLData *WLAsData(WLObject *object);
WL_EXTERN_C WLArray *WLAsArray(WLObject *object);
WL_EXTERN_C WLDictionary *WLAsDictionary(WLObject *object);

#endif
