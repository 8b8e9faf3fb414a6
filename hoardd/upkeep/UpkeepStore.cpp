#include "hoardd/upkeep/UpkeepStore.h"

#include "wickerlane/store/KeptSums.h"

namespace wickerlane::hoardd {

using sqlite::Database;

Result<> insertTermination(Database &database, const Termination &termination) {
    return database
        .prepare("INSERT INTO ztermination (date, executable, process, name, reason) VALUES (?, ?, ?, ?, ?)")
        .bind(termination.date, termination.executable, termination.process, termination.name,
              termination.reason)
        .run();
}

Result<> deleteChanges(Database &database) {
    return database.execute("DELETE FROM zchange");
}

// Groups of duplicates whose state is lost are stale.
Result<> repairSingletons(Database &database, std::string_view identity) {
    return database.prepare("INSERT INTO zlibrary SELECT ? WHERE NOT EXISTS (SELECT 1 FROM zlibrary)")
        .bind(identity)
        .run()
        .and_then([&] {
            return database.execute(
                "DELETE FROM zlibrary WHERE rowid > (SELECT min(rowid) FROM zlibrary);"
                "INSERT INTO zduplicatestate SELECT 1, 0 WHERE NOT EXISTS (SELECT 1 FROM zduplicatestate);"
                "DELETE FROM zduplicatestate WHERE rowid > (SELECT min(rowid) FROM zduplicatestate);");
        })
        .and_then([&] { return store::recountSums(database); });
}

} // namespace wickerlane::hoardd
