// The cloud feed: what came into the shared albums, gathered in entries.
#ifndef HOARDD_ALBUMS_CLOUDFEEDSTORE_H
#define HOARDD_ALBUMS_CLOUDFEEDSTORE_H

#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

/// Makes the feed again, in a transaction of the caller's. What was added to one shared album is one entry,
/// until an hour passes in which nothing is. Triggers keep the feed as albums change; but what is taken out
/// does not shorten or divide an entry.
[[nodiscard]] Result<> rebuildCloudFeed(sqlite::Database &database);

} // namespace wickerlane::hoardd

#endif
