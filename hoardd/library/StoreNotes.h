// What only the store knows, written down beside it: when the store and its backups are lost, the original
// names, dates, edits and people are not.
//
// The folder PhotoData/Notes holds files with numbers for names. Each has one line for a row that has
// changed: a sum of the rest of the line, the row's table, its key, and its columns; none of a row that has
// gone. The last line of a row counts. Lines are written after the commit and not synced, since they cost
// nothing unless the store is lost as well. When the store is backed up, one file with all rows takes the
// place of the older ones.
#ifndef HOARDD_LIBRARY_STORENOTES_H
#define HOARDD_LIBRARY_STORENOTES_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {

[[nodiscard]] inline std::string notesFolder(const store::LibraryPaths &paths) {
    return paths.folder() + "/PhotoData/Notes";
}

/// Notes what one connection, the writer's, commits. One thread at a time.
class StoreNotes {
public:
    explicit StoreNotes(store::LibraryPaths libraryPaths);

    /// Has the connection keep in mind which rows it changes.
    [[nodiscard]] Result<> watch(sqlite::Database &database);
    /// Notes the rows that were changed since the last time. After a commit; a failure is logged.
    void noteChanges(sqlite::Database &database);

    /// Whether the notes lack what a process that was killed had committed.
    [[nodiscard]] bool areIncomplete() const noexcept { return incomplete; }
    /// Writes later notes to a new file. Gives the number of the last one before it, for rewriteNotes().
    [[nodiscard]] std::uint64_t beginFile();
    /// Nothing is committed any more.
    void end();

private:
    const store::LibraryPaths paths;
    std::uint64_t number = 1; // of the file that is written
    UniqueFd file;
    bool incomplete = false;
    bool isTorn = false; // the file may end within a line
};

/// By table and key, the columns of the rows that are noted, as they are written.
using NotedRows = std::map<std::pair<std::string, std::string>, std::string, std::less<>>;
/// All that can be read.
[[nodiscard]] NotedRows readNotes(const store::LibraryPaths &paths);

/// The tables whose rows are noted.
[[nodiscard]] std::vector<std::string> notedTableNames();

/// What is noted of assets whose originals are there and whose rows the store lacks, as an older copy of it
/// does: in the library or in the trash.
[[nodiscard]] NotedRows forgottenRows(const store::LibraryPaths &paths, sqlite::Database &database);

/// Notes all rows of a database, which must have been read after beginFile(), and what it lacks, in place of
/// the files up to `number`.
[[nodiscard]] Result<> rewriteNotes(const store::LibraryPaths &paths, std::uint64_t number,
                                    sqlite::Database &database, const NotedRows &lacking);

/// Adds a noted row to a table that lacks it, as far as the table has its columns. Whether it did.
[[nodiscard]] bool insertNotedRow(sqlite::Database &database, const std::string &table,
                                  const std::string &columns);
/// The text of a column of a noted row; empty when it has none.
[[nodiscard]] std::string notedText(const std::string &columns, std::string_view name);

} // namespace wickerlane::hoardd

#endif
