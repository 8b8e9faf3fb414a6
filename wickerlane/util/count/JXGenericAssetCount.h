// Counting the assets of a library without its daemon.
#ifndef WICKERLANE_UTIL_COUNT_JXGENERICASSETCOUNT_H
#define WICKERLANE_UTIL_COUNT_JXGENERICASSETCOUNT_H

#include <cstdint>

#include "wickerlane/platform/object/String.h"

// Both functions open the store's database read-write, without creating one, and neither change nor
// checkpoint it. They wait up to 2 seconds while the database is locked. Failures go to the system log as
// errors. Thread-safe.

/// The number of rows in the table of assets, in the database file at a path in UTF-8. 0 when there is no
/// such file, since a library that was never created is empty; -1 for null and when the file can't be read.
WL_EXTERN_C std::int64_t JXGenericAssetCountInDatabaseWithPath(const char *path);

/// The same for a path as a string.
WL_EXTERN_C std::int64_t JXGenericAssetCountInPixholdStore(wickerlane::String *path);

#endif
