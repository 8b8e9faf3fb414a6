#include "cli/backup/LibraryFiles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <unordered_set>

#include "cli/FileFailures.h"
#include "cli/ForeignProblems.h"
#include "cli/Texts.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/CompanionReader.h"
#include "wickerlane/store/Schema.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;
using sqlite::Database;
using sqlite::Statement;

// What is deleted stands in tables of its own until it goes for good. An older store has no such tables.
constexpr std::array assetTables{"zgenericasset", "ztrashedasset"};
constexpr std::array renditionTables{"zrendition", "ztrashedrendition"};
constexpr std::array companionTables{store::companionTable, store::trashedCompanionTable};

// In PhotoData: what is only under way, belongs to this disk or is copied in another way.
constexpr std::array<std::string_view, 9> leftOut{"Saving",     "Incoming",   "Found",
                                                  "Backups",    "Reserve",    "Restoring",
                                                  "Renditions", "Companions", "hoardd.lock"};

Result<bool> hasTable(Database &database, std::string_view name) {
    return database.prepare("SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = ?").bind(name).any();
}

Result<> addOriginals(Database &database, const std::string &table, std::vector<LibraryFile> &files,
                      std::unordered_set<std::string> &uuids) {
    return database.prepare("SELECT uuid, directory, filename, sha256 FROM " + table)
        .forEach([&](const Statement &row) {
            uuids.emplace(row.text(0));
            files.push_back(
                {std::string(row.text(1)) + '/' + std::string(row.text(2)), store::sumIn(row, 3), true});
        });
}

Result<> addRenditions(Database &database, const std::string &table, std::vector<LibraryFile> &files) {
    return database.prepare("SELECT assetuuid, filename, sha256 FROM " + table)
        .forEach([&](const Statement &row) {
            const std::string folder = store::LibraryPaths("").renditionFolder(row.text(0)).substr(1);
            files.push_back({folder + '/' + std::string(row.text(1)), store::sumIn(row, 2)});
        });
}

/// Marks the originals, or the companions, that hoardd found to be faulty. Their names begin with the UUIDs
/// of their assets.
Result<> markFaulty(Database &database, const std::string &assets, const char *scrubs,
                    bool LibraryFile::*isOfKind, std::vector<LibraryFile> &files) {
    const auto faulty =
        database.prepare("SELECT uuid FROM " + assets + " JOIN " + scrubs + " ON asset = pk WHERE fault <> 0")
            .all([](const Statement &row) { return std::string(row.text(0)); });
    if (!faulty)
        return passOn(faulty);
    const std::unordered_set<std::string> found(faulty->begin(), faulty->end());
    for (LibraryFile &each : files)
        each.isFaulty = each.isFaulty || (each.*isOfKind && found.contains(fs::path(each.path).stem()));
    return {};
}

Result<> addCompanions(Database &database, std::string_view table, std::vector<LibraryFile> &files) {
    const auto companions = store::readCompanions(database, table);
    if (!companions)
        return passOn(companions);
    for (const auto &[uuid, companion] : *companions)
        files.push_back({store::companionPath(store::LibraryPaths(""), uuid, companion).substr(1),
                         companion.sha256, false, true});
    return {};
}

/// Adds the files below a folder that `isWanted` takes, given their paths.
template <class IsWanted>
Result<> addBelow(const std::string &library, const fs::path &folder, std::vector<LibraryFile> &files,
                  const IsWanted &isWanted) {
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        if (entry->is_symlink(unknown) || !entry->is_regular_file(unknown) || !isWanted(entry->path()))
            continue;
        files.push_back({entry->path().lexically_relative(library).string(), std::nullopt});
    }
    if (error && error != std::errc::no_such_file_or_directory)
        return fail(ProblemKind::failed,
                    localized("can't read {}: {}", folder.string(), textOfError(error.value())), folder);
    return {};
}

/// Such a thumbnail is made again when it is asked for. One from a backup could show what was edited since.
bool isLateThumbnail(const store::LibraryPaths &paths, const std::string &uuid, const fs::path &file) {
    return std::ranges::any_of(store::thumbnailKinds, [&](const store::ThumbnailKind &kind) {
        return kind.making == store::ThumbnailMaking::late && file == paths.thumbnail(uuid, kind.size);
    });
}

Result<> addOthers(const store::LibraryPaths &paths, const std::unordered_set<std::string> &uuids,
                   std::vector<LibraryFile> &files) {
    const auto isWanted = [](const fs::path &path) {
        // Written beside the file that they will replace.
        return path.filename().string().find(".new-") == std::string::npos &&
               !path.filename().string().starts_with("staged-");
    };
    std::error_code error;
    for (fs::directory_iterator entry(paths.folder() + "/PhotoData", error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path &path = entry->path();
        const std::string name = path.filename();
        if (std::ranges::find(leftOut, name) != leftOut.end() || name.starts_with("Pixhold.sqlite") ||
            entry->is_symlink(error))
            continue;
        Result<> added;
        if (name == "Thumbnails")
            added = addBelow(paths.folder(), path, files, [&](const fs::path &file) {
                const std::string uuid = file.filename().string().substr(0, 36);
                return isWanted(file) && uuids.contains(uuid) && !isLateThumbnail(paths, uuid, file);
            });
        else if (entry->is_directory(error))
            added = addBelow(paths.folder(), path, files, isWanted);
        else if (entry->is_regular_file(error) && isWanted(path))
            files.push_back({path.lexically_relative(paths.folder()).string(), std::nullopt});
        if (!added)
            return added;
    }
    return {};
}

} // namespace

Result<> copyStore(const store::LibraryPaths &paths, const std::string &to) {
    auto database = Database::open(paths.database(), Database::Access::read);
    if (!database)
        return passOn(database);
    std::error_code none;
    fs::remove(to, none);
    // The connection was opened to read only, so this can't write the library's own store.
    if (const auto allowed = database->execute("PRAGMA query_only=OFF;"); !allowed)
        return allowed;
    if (const auto copied = database->prepare("VACUUM INTO ?").bind(to).run(); !copied)
        return fail(
            copied.error().kind,
            localized("the library's store can't be copied: {}", withKindInWords(copied.error()).text),
            paths.database());
    if (const auto checked = openCheckedStore(to); !checked)
        return passOn(checked);
    return {};
}

Result<Database> openCheckedStore(const std::string &path) {
    auto database = Database::open(path, Database::Access::read);
    if (!database)
        return passOn(database);
    const auto integrity = database->prepare("PRAGMA integrity_check(1)").first([](const Statement &row) {
        return std::string(row.text(0));
    });
    if (!integrity || *integrity != "ok")
        return fail(ProblemKind::damagedStore,
                    localized("the store is damaged: {}",
                              integrity ? integrity->value_or("") : integrity.error().text),
                    path);
    const auto version = database->integer("PRAGMA user_version");
    if (!version)
        return passOn(version);
    if (*version > store::modelVersion())
        return fail(ProblemKind::newerVersion, localized("the library was made by a newer hoardd"), path);
    return database;
}

Result<std::string> identityOf(Database &store) {
    const auto uuid = store.prepare("SELECT uuid FROM zlibrary").first([](const Statement &row) {
        return std::string(row.text(0));
    });
    if (!uuid)
        return passOn(uuid);
    return uuid->value_or("");
}

Result<std::uint64_t> countContents(Database &store) {
    std::uint64_t count = 0;
    for (const char *table : {"zgenericasset", "ztrashedasset", "zalbum"}) {
        const auto isThere = hasTable(store, table);
        if (!isThere)
            return passOn(isThere);
        if (!*isThere)
            continue;
        const auto rows = store.integer(std::string("SELECT count(*) FROM ") + table);
        if (!rows)
            return passOn(rows);
        count += static_cast<std::uint64_t>(*rows);
    }
    return count;
}

Result<std::vector<LibraryFile>> listLibraryFiles(const store::LibraryPaths &paths, Database &store) {
    std::vector<LibraryFile> files;
    std::unordered_set<std::string> uuids;
    for (const char *table : assetTables) {
        const auto added = hasTable(store, table).and_then([&](bool isThere) {
            return isThere ? addOriginals(store, table, files, uuids) : Result<>();
        });
        if (!added)
            return passOn(added);
    }
    for (const char *table : renditionTables) {
        const auto added = hasTable(store, table).and_then([&](bool isThere) {
            return isThere ? addRenditions(store, table, files) : Result<>();
        });
        if (!added)
            return passOn(added);
    }
    for (const std::string_view table : companionTables) {
        const auto added = hasTable(store, table).and_then([&](bool isThere) {
            return isThere ? addCompanions(store, table, files) : Result<>();
        });
        if (!added)
            return passOn(added);
    }
    const struct {
        const char *assets, *scrubs;
        bool LibraryFile::*isOfKind;
    } noted[] = {
        {"zgenericasset", "zscrub", &LibraryFile::isOriginal},
        {"ztrashedasset", "ztrashedscrub", &LibraryFile::isOriginal},
        {"zgenericasset", "zcompanionscrub", &LibraryFile::isCompanion},
        {"ztrashedasset", "ztrashedcompanionscrub", &LibraryFile::isCompanion},
    };
    for (const auto &each : noted) {
        const auto marked = hasTable(store, each.scrubs).and_then([&](bool isThere) {
            return isThere ? markFaulty(store, each.assets, each.scrubs, each.isOfKind, files) : Result<>();
        });
        if (!marked)
            return passOn(marked);
    }
    if (const auto added = addOthers(paths, uuids, files); !added)
        return passOn(added);
    return files;
}

} // namespace wickerlane::cli
