// The types of the C functions, and what holds for all of them.
//
// Objects are opaque to C and counted by references. A function with `Create` in its name gives its caller a
// reference, to be given back with WLRelease(). Every other object result is borrowed: it lives until the
// thread's current scope is popped (WLObject.h), or until WLRelease() if the caller keeps it by WLRetain().
//
// A null object is "no object". Functions that look into an object give null, 0 or false for it.
//
// Texts are UTF-8, ended by NUL. A text that is not valid gives no object.
//
// A handler is a function and a context, which the function gets as its first argument. `release`, if not
// null, is called with the context once the handler will not be called any more, on any thread; for a null
// function at once. What a handler is given is borrowed for that call.
//
// In C++ an opaque type is the class behind it, and beside each function of RZLibrary.h that takes a handler
// stands an overload that takes anything that can be called.
//
// All functions may be called from any thread. None throws.
#ifndef WICKERLANE_API_WLTYPES_H
#define WICKERLANE_API_WLTYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "wickerlane/platform/object/Export.h"

#ifdef __cplusplus

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/URL.h"
#include "wickerlane/platform/queue/WorkQueue.h"

using WLObject = wickerlane::Object;
using WLString = wickerlane::String;
using WLURL = wickerlane::URL;
using WLNumber = wickerlane::Number;
using WLArray = wickerlane::Array;
using WLDictionary = wickerlane::Dictionary;
using WLQueue = wickerlane::WorkQueue;

#else

typedef void WLObject; ///< Any of the following.
typedef struct WLString WLString;
typedef struct WLURL WLURL;
typedef struct WLNumber WLNumber;
typedef struct WLArray WLArray;
typedef struct WLDictionary WLDictionary;
typedef struct WLQueue WLQueue;

#endif

/// Lets go of a handler's context.
typedef void (*WLReleaseContext)(void *context);

#endif
