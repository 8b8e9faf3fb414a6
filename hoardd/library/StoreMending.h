// Making a sound store of a damaged one, or of none.
#ifndef HOARDD_LIBRARY_STOREMENDING_H
#define HOARDD_LIBRARY_STOREMENDING_H

#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

struct MendedStore {
    std::string text;        ///< What was done, for people; empty when the store was sound.
    bool isReplaced = false; ///< Another file is in its place; connections to the old one see what they saw.
};

/// Mends a store: its indexes are made again; if that does not help, it is set aside, and a new one is made
/// of the rows that can be read, of what is noted beside it, and of the newest sound backup, as far as their
/// files are there. Only while the caller holds the library's lock and nothing is committed. `writer` is the
/// one connection that writes the store; null when there is none. A store of a newer version is left alone,
/// with `newerVersion`. The albums and the files that no asset has are left to a repair of the library.
[[nodiscard]] Result<MendedStore> mendStore(const store::LibraryPaths &paths, sqlite::Database *writer);

/// Puts a new store in the place of the old one, if a process was killed while it did so.
[[nodiscard]] Result<> finishMending(const store::LibraryPaths &paths);

} // namespace wickerlane::hoardd

#endif
