#include "hoardd/library/StoreIdentity.h"

#include "hoardd/library/StoreBackups.h"
#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;
using store::LibraryPaths;

std::optional<std::string> identityIn(Database &database) {
    const auto all = database.prepare("SELECT uuid FROM zlibrary").all([](const Statement &row) {
        return std::string(row.text(0));
    });
    if (all)
        for (const std::string &each : *all)
            if (isUUID(each))
                return each;
    return std::nullopt;
}

std::string formerIdentity(const LibraryPaths &paths, const NotedRows &notes) {
    for (const auto &[name, columns] : notes)
        if (name.first == "zlibrary" && isUUID(name.second))
            return name.second;
    for (const std::string &backup : storeBackups(paths))
        if (auto database = Database::open(backup, Database::Access::read))
            if (const auto uuid = identityIn(*database))
                return *uuid;
    const ReleaseScope scope;
    return std::string(UUID::createRandom()->uuidString()->utf8());
}

} // namespace wickerlane::hoardd
