// Strings, URLs, numbers, dates and bytes.
#ifndef WICKERLANE_API_WLVALUES_H
#define WICKERLANE_API_WLVALUES_H

#include "wickerlane/api/WLTypes.h"

/// A string with a copy of the text. Null for null, and for a text that is not UTF-8.
WL_EXTERN_C WLString *WLStringCreate(const char *text);

/// The text of a string. It lives as long as the string, and at least until the thread's current scope is
/// popped. Null for null.
WL_EXTERN_C const char *WLStringText(const WLString *string);

/// The length of the text in bytes. It counts beyond a NUL in the string.
WL_EXTERN_C size_t WLStringLength(const WLString *string);

/// The URL with that text. Null for null, and for a text that is not a URL.
WL_EXTERN_C WLURL *WLURLCreate(const char *text);

/// The file URL of a path; a relative path is resolved against the working directory. Null for a null or
/// empty path.
WL_EXTERN_C WLURL *WLURLCreateWithPath(const char *path);

/// The whole URL as a text; borrowed.
WL_EXTERN_C WLString *WLURLText(const WLURL *url);

/// The path of a URL, without percent-encoding; borrowed.
WL_EXTERN_C WLString *WLURLPath(const WLURL *url);

WL_EXTERN_C WLNumber *WLNumberCreateWithBool(bool value);
WL_EXTERN_C WLNumber *WLNumberCreateWithInt64(int64_t value);
WL_EXTERN_C WLNumber *WLNumberCreateWithUInt64(uint64_t value);
WL_EXTERN_C WLNumber *WLNumberCreateWithDouble(double value);

// The value of a number, converted as in C. A real number is truncated, and clamped to the range of the type.

WL_EXTERN_C bool WLNumberBool(const WLNumber *number);
WL_EXTERN_C int64_t WLNumberInt64(const WLNumber *number);
WL_EXTERN_C uint64_t WLNumberUInt64(const WLNumber *number);
WL_EXTERN_C double WLNumberDouble(const WLNumber *number);

/// A date: seconds since 2001-01-01 00:00:00 UTC. WLReferenceDate (WLAsset.h) makes them seconds since 1970.
WL_EXTERN_C WLDate *WLDateCreate(double seconds);

/// Those seconds; 0 for null.
WL_EXTERN_C double WLDateSeconds(const WLDate *date);

/// A copy of `length` bytes, which may be none. Null for null bytes with a length.
WL_EXTERN_C WLData *WLDataCreate(const void *bytes, size_t length);

/// The bytes, which live as long as the data and must not be changed. Null for null, and may be null when
/// there are none.
WL_EXTERN_C const void *WLDataBytes(const WLData *data);

/// How many bytes there are; 0 for null.
WL_EXTERN_C size_t WLDataLength(const WLData *data);

#endif
