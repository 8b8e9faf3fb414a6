// Strings, URLs and numbers.
#ifndef WICKERLANE_API_WLVALUES_H
#define WICKERLANE_API_WLVALUES_H

#include "wickerlane/api/WLTypes.h"

/// A copy of a text. Null for null, and for what is not UTF-8.
WL_EXTERN_C WLString *WLStringCreate(const char *text);

/// The text, which lives as long as the string, and at least until the thread's current scope is popped. Null
/// for null.
WL_EXTERN_C const char *WLStringText(const WLString *string);

/// Bytes of the text; more than up to its first NUL when the string holds one.
WL_EXTERN_C size_t WLStringLength(const WLString *string);

/// From a URL's text. Null when it is none.
WL_EXTERN_C WLURL *WLURLCreate(const char *text);

/// A file URL. A path that is not absolute is resolved against the working directory. Null for an empty one.
WL_EXTERN_C WLURL *WLURLCreateWithPath(const char *path);

/// The whole URL; borrowed.
WL_EXTERN_C WLString *WLURLText(const WLURL *url);

/// The path, without percent-encoding; borrowed.
WL_EXTERN_C WLString *WLURLPath(const WLURL *url);

WL_EXTERN_C WLNumber *WLNumberCreateWithBool(bool value);
WL_EXTERN_C WLNumber *WLNumberCreateWithInt64(int64_t value);
WL_EXTERN_C WLNumber *WLNumberCreateWithUInt64(uint64_t value);
WL_EXTERN_C WLNumber *WLNumberCreateWithDouble(double value);

// A number's value, converted as C converts numbers; one with a fraction is cut towards zero, and clipped to
// what the type can hold.

WL_EXTERN_C bool WLNumberBool(const WLNumber *number);
WL_EXTERN_C int64_t WLNumberInt64(const WLNumber *number);
WL_EXTERN_C uint64_t WLNumberUInt64(const WLNumber *number);
WL_EXTERN_C double WLNumberDouble(const WLNumber *number);

#endif
