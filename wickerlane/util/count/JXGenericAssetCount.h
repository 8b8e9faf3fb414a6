// Counting the assets of a library without its daemon.
#ifndef WICKERLANE_UTIL_COUNT_JXGENERICASSETCOUNT_H
#define WICKERLANE_UTIL_COUNT_JXGENERICASSETCOUNT_H

#include <cstdint>

#include "wickerlane/platform/object/String.h"

// Both open the store's database read-write, without making one, and neither change nor checkpoint it.
// They block, for up to 2 seconds while others keep the database locked, and fail after that.
// Failures go to the system log as errors. Thread-safe.

/// How many rows the table of assets has, in the database file at a path in UTF-8. 0 when there is no such
/// file, since a library that was never made is empty; -1 when it can't be read.
WL_EXTERN_C std::int64_t JXGenericAssetCountInDatabaseWithPath(const char *path);

/// The same for a path as a string.
WL_EXTERN_C std::int64_t JXGenericAssetCountInPixholdStore(wickerlane::String *path);

#endif
