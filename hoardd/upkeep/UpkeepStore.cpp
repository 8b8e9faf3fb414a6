#include "hoardd/upkeep/UpkeepStore.h"

#include "wickerlane/store/Schema.h"

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

Result<> recountAssets(Database &database) {
    return database.execute(store::recountAssets);
}

Result<> repairSingletons(Database &database) {
    return database.execute("DELETE FROM zlibrary WHERE rowid > (SELECT min(rowid) FROM zlibrary);")
        .and_then([&] { return recountAssets(database); });
}

} // namespace wickerlane::hoardd
