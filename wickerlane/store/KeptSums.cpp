#include "wickerlane/store/KeptSums.h"

#include <sys/stat.h>

namespace wickerlane::store {

using sqlite::Database;
using sqlite::Statement;

namespace {

/// One number in a row of a table, and the query that counts it again.
struct KeptSum {
    const char *what;
    const char *table;
    const char *column;
    const char *row;
    const char *counted;
};
constexpr KeptSum keptSums[] = {
    {"photos", "zcount", "number", "kind = 0", "SELECT count(*) FROM zgenericasset WHERE kind = 0"},
    {"videos", "zcount", "number", "kind = 1", "SELECT count(*) FROM zgenericasset WHERE kind = 1"},
    {"bytes of photos", "zcount", "bytes", "kind = 0",
     "SELECT coalesce(sum(bytesize), 0) FROM zgenericasset WHERE kind = 0"},
    {"bytes of videos", "zcount", "bytes", "kind = 1",
     "SELECT coalesce(sum(bytesize), 0) FROM zgenericasset WHERE kind = 1"},
    {"bytes of thumbnails and renditions", "zsize", "bytes", "what = 'derived'",
     "SELECT coalesce(sum(max(derivedbytes, 0)), 0) FROM zgenericasset"},
    {"bytes of companions", "zsize", "bytes", "what = 'companions'",
     "SELECT coalesce(sum(bytesize), 0) FROM zcompanion"},
    {"bytes in the trash", "zsize", "bytes", "what = 'trash'",
     "SELECT (SELECT coalesce(sum(coalesce(bytesize, 0) + max(coalesce(derivedbytes, 0), 0)), 0) FROM "
     "ztrashedasset) + "
     "(SELECT coalesce(sum(bytesize), 0) FROM ztrashedcompanion)"},
};

std::string selection(const KeptSum &sum) {
    return std::string("SELECT ") + sum.column + " FROM " + sum.table + " WHERE " + sum.row;
}

} // namespace

Result<KeptSizes> readKeptSizes(Database &database) {
    const auto sizes = database
                           .prepare("SELECT (SELECT bytes FROM zcount WHERE kind = 0), (SELECT bytes FROM "
                                    "zcount WHERE kind = 1), "
                                    "(SELECT bytes FROM zsize WHERE what = 'companions'), "
                                    "(SELECT bytes FROM zsize WHERE what = 'derived'), "
                                    "(SELECT bytes FROM zsize WHERE what = 'trash')")
                           .first([](const Statement &row) {
                               const auto bytes = [&](int column) {
                                   return static_cast<std::uint64_t>(row.integer(column));
                               };
                               return KeptSizes{bytes(0), bytes(1), bytes(2), bytes(3), bytes(4)};
                           });
    if (!sizes)
        return passOn(sizes);
    return sizes->value_or(KeptSizes());
}

Result<std::vector<WrongSum>> wrongSums(Database &database) {
    std::vector<WrongSum> wrong;
    for (const KeptSum &each : keptSums) {
        // Without its row, it is wrong for sure.
        const auto kept =
            database.prepare(selection(each)).first([](const Statement &row) { return row.integer(0); });
        const auto counted = database.integer(each.counted);
        if (!kept)
            return passOn(kept);
        if (!counted)
            return passOn(counted);
        if (*kept != *counted)
            wrong.push_back({each.what, kept->value_or(0), *counted});
    }
    return wrong;
}

Result<> recountSums(Database &database) {
    std::string sql = "INSERT OR IGNORE INTO zcount (kind, number) VALUES (0, 0), (1, 0);"
                      "INSERT OR IGNORE INTO zsize VALUES ('derived', 0), ('companions', 0), ('trash', 0);";
    for (const KeptSum &each : keptSums)
        sql.append("UPDATE ")
            .append(each.table)
            .append(" SET ")
            .append(each.column)
            .append(" = (")
            .append(each.counted)
            .append(") WHERE ")
            .append(each.row)
            .append(";");
    return database.execute(sql.c_str());
}

Result<std::vector<UnmeasuredAsset>> unmeasuredAssets(Database &database, AssetsIn place, std::int64_t last,
                                                      std::size_t limit) {
    const bool isLibrary = place == AssetsIn::library;
    const std::string start = isLibrary ? "z" : "ztrashed",
                      assets = isLibrary ? "zgenericasset" : "ztrashedasset";
    return database
        .prepare("SELECT pk, uuid, (SELECT filename FROM " + start + "rendition WHERE assetuuid = uuid), " +
                 "derivedbytes IS NOT NULL OR EXISTS (SELECT 1 FROM " + start +
                 "duethumbnail WHERE asset = pk AND made = 0) FROM " + assets + " INDEXED BY " + assets +
                 "_unmeasured WHERE coalesce(derivedbytes, -1) < 0 AND pk > ? ORDER BY pk LIMIT ?")
        .bind(last, limit)
        .all([](const Statement &row) {
            return UnmeasuredAsset{row.integer(0), std::string(row.text(1)), std::string(row.text(2)),
                                   row.integer(3) != 0};
        });
}

std::uint64_t bytesOfDerivedFiles(const LibraryPaths &paths, std::string_view uuid,
                                  std::string_view rendition) {
    std::uint64_t bytes = 0;
    const auto add = [&](const std::string &path) {
        struct stat status {};
        if (::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
            bytes += static_cast<std::uint64_t>(status.st_size);
    };
    for (const ThumbnailKind &kind : thumbnailKinds)
        add(paths.thumbnail(uuid, kind.size));
    if (!rendition.empty())
        add(paths.renditionFolder(uuid).append("/").append(rendition));
    return bytes;
}

Result<> forgetDerivedSizes(Database &database) {
    const auto hasSizes = database.prepare("SELECT 1 FROM sqlite_schema WHERE name = 'zsize'").any();
    if (!hasSizes)
        return passOn(hasSizes);
    if (!*hasSizes)
        return {};
    return database.execute("UPDATE zgenericasset SET derivedbytes = NULL WHERE derivedbytes IS NOT NULL;"
                            "UPDATE ztrashedasset SET derivedbytes = NULL WHERE derivedbytes IS NOT NULL;");
}

} // namespace wickerlane::store
