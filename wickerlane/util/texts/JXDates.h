// Dates for people, and the calendar.
#ifndef WICKERLANE_UTIL_TEXTS_JXDATES_H
#define WICKERLANE_UTIL_TEXTS_JXDATES_H

#include "wickerlane/platform/locale/GregorianCalendar.h"
#include "wickerlane/platform/object/String.h"

// May be called from any thread.

/// The date and time of day in the locale that was current at the first call, with names for near days:
/// "Yesterday, 7:41 AM". Borrowed. Null for null, and for a date that is not a finite number.
WL_EXTERN_C wickerlane::String *JXRelativePrettyDateForDate(const wickerlane::Date *date);

/// The calendar of this process, in the locale that was current at the first call. Never destroyed.
WL_EXTERN_C wickerlane::GregorianCalendar *JXGregorianCalendar();

#endif
