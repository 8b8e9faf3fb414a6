// What every connection to a library's database needs once it is open.
#ifndef WICKERLANE_STORE_CONNECTIONINTERNAL_H
#define WICKERLANE_STORE_CONNECTIONINTERNAL_H

#include <sqlite3.h>

namespace wickerlane::sqlite {

/// Has statements wait that long for another process's lock.
inline void waitWhenBusy(sqlite3 *opened, int milliseconds) {
    sqlite3_busy_timeout(opened, milliseconds);
}

/// Of a connection that only reads: the writer alone checkpoints, since with the version in use two that do
/// can damage the database.
inline void neverCheckpoint(sqlite3 *opened) {
    sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_wal_autocheckpoint(opened, 0);
}

} // namespace wickerlane::sqlite

#endif
