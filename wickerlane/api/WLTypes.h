// The types of the C functions, and the conventions that all functions follow.
//
//  - Ownership. Objects are opaque to C and reference-counted. A function with `Create` in its name returns
//    a reference that the caller owns and releases with WLRelease(). All other object results are borrowed:
//    they live until the thread's current scope is popped (WLObject.h). WLRetain() keeps one longer.
//  - Null. Arguments that are objects may be null unless a comment says otherwise. A function that reads
//    from a null object returns null, 0 or false.
//  - Texts are NUL-terminated UTF-8. No object is created from a text that is not.
//  - Handlers. A handler is a function and a context, which is its first argument. The context is released
//    by `release`, which may be null, once the handler will not be called again: on any thread, or at once
//    for a null function. The other arguments are borrowed until the function returns.
//  - Threads. All functions may be called from any thread.
//  - Errors. No function throws. Comments say what a function returns on failure. After a function that
//    waits for the daemon, WLLastError() says why it failed (WLError.h).
//
// In C++20 the opaque types are the classes behind them, and functions that take a handler have overloads
// that take any callable (WLCallables.h). Older C++, from C++11 on, and C++ without exceptions see what C
// sees.
#ifndef WICKERLANE_API_WLTYPES_H
#define WICKERLANE_API_WLTYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "wickerlane/platform/object/Export.h"

#if defined(__cplusplus) && __cplusplus > 201703L && defined(__cpp_exceptions)
#define WL_HAS_CLASSES 1 ///< The opaque types are classes.
#else
#define WL_HAS_CLASSES 0
#endif

#if WL_HAS_CLASSES

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/URL.h"
#include "wickerlane/platform/queue/WorkQueue.h"

using WLObject = wickerlane::Object;
using WLString = wickerlane::String;
using WLURL = wickerlane::URL;
using WLNumber = wickerlane::Number;
using WLDate = wickerlane::Date;
using WLData = wickerlane::Data;
using WLArray = wickerlane::Array;
using WLDictionary = wickerlane::Dictionary;
using WLError = wickerlane::Error;
using WLQueue = wickerlane::WorkQueue;

#else

typedef void WLObject; ///< Any of the following.
typedef struct WLString WLString;
typedef struct WLURL WLURL;
typedef struct WLNumber WLNumber;
typedef struct WLDate WLDate;
typedef struct WLData WLData;
typedef struct WLArray WLArray;
typedef struct WLDictionary WLDictionary;
typedef struct WLError WLError;
typedef struct WLQueue WLQueue;

#endif

/// Releases the context of a handler.
typedef void (*WLReleaseContext)(void *context);

/// Gets whether the daemon has done what it was asked for, and if not, why (WLError.h).
typedef void (*WLDoneHandler)(void *context, bool done, WLError *error);

#endif
