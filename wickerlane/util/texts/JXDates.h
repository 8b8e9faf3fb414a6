// Dates, as the photo library shows and reckons them.
#ifndef WICKERLANE_UTIL_TEXTS_JXDATES_H
#define WICKERLANE_UTIL_TEXTS_JXDATES_H

#include "wickerlane/platform/locale/GregorianCalendar.h"
#include "wickerlane/platform/object/String.h"

// May be called from any thread.

/// The date and the time of day in the locale that was current at the first call, near days by their names:
/// "Yesterday, 7:41 AM". Borrowed. Null for null, and for a date that is no instant.
WL_EXTERN_C wickerlane::String *JXRelativePrettyDateForDate(const wickerlane::Date *date);

/// The calendar of this process, in the locale that was current at the first call. Lives as long as the
/// process.
WL_EXTERN_C wickerlane::GregorianCalendar *JXGregorianCalendar();

#endif
