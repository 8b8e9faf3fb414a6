#include "wickerlane/store/LibraryCheck.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "wickerlane/model/RecordFaults.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/CompanionReader.h"
#include "wickerlane/store/KeptSums.h"
#include "wickerlane/store/OriginalFault.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/Soundness.h"

namespace wickerlane::store {

namespace {

namespace fs = std::filesystem;
using sqlite::Database;
using sqlite::Statement;

constexpr std::size_t uuidLength = 36; // with which the names of an asset's files begin

/// Every file below a folder; folders that can't be read hold none.
std::vector<std::string> filesBelow(const std::string &folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        if (!entry->is_directory(unknown) || entry->is_symlink(unknown))
            files.push_back(entry->path());
    }
    return files;
}

class Check {
public:
    Check(const LibraryPaths &checked, const CheckOptions &wanted) : paths(checked), options(wanted) {}

    Result<> run();
    CheckReport report;

private:
    void find(Finding::Kind kind, const std::string &uuid, const std::string &path, std::string detail = {}) {
        report.findings.push_back({kind, uuid, path, std::move(detail)});
    }
    Result<> checkRows(Database &database);
    void checkAsset(const AssetRecord &asset);
    void checkOriginal(const AssetRecord &asset);
    [[nodiscard]] Result<> checkCompanions(Database &database, std::string_view table);
    /// A file that an asset can't be without.
    struct Kept {
        std::string path;
        std::uint64_t byteSize;
        const Sha256 &sum;
        Finding::Kind whenMissing, whenChanged, whenDamaged;
    };
    /// Whether it is there in its size; else that is found.
    bool hasSize(const std::string &uuid, const Kept &file);
    struct Noted {
        OriginalFault fault;
        std::string detail;
    };
    using NotedFaults = std::unordered_map<std::string, Noted>; // by the UUIDs of the assets
    /// Looks at its size and its contents.
    void checkKept(const std::string &uuid, const Kept &file, const NotedFaults &noted);
    void checkRendition(const std::string &uuid, const std::string &path, Bytes sum);
    void checkThumbnails(const AssetRecord &asset);
    [[nodiscard]] bool isDamaged(const std::string &thumbnail, const ThumbnailKind &kind) const;
    [[nodiscard]] Result<> checkTrash(Database &database);
    [[nodiscard]] Result<> checkSums(Database &database);
    [[nodiscard]] Result<> checkSizes(Database &database, AssetsIn place);
    [[nodiscard]] Result<bool> hasWrongSize(Database &database, const std::string &uuid) const;
    [[nodiscard]] Result<> readFaults(Database &database);
    void checkStrays(const std::vector<std::string> &files, Finding::Kind kind);
    void noteUnderWay();
    Result<> confirm(Database &database);

    bool isCancelled();

    const LibraryPaths &paths;
    const CheckOptions &options;
    bool cancelled = false;
    std::vector<std::string> originals, thumbnails, renditions, companions, found;
    std::unordered_set<std::string> underWay;    // UUIDs of assets whose files are being changed
    NotedFaults notedOriginals, notedCompanions; // what hoardd found when it read them last
    std::unordered_set<std::string> purged;      // UUIDs of assets whose larger thumbnail was given up
    std::unordered_set<std::string> expected;    // paths
};

// The files first, then what is under way, then the rows: a file that was there when they were listed has
// its row by now, or work on it was still under way. Work that began later is left out in the end.
Result<> Check::run() {
    originals = filesBelow(paths.folder() + "/DCIM");
    thumbnails = filesBelow(paths.folder() + "/PhotoData/Thumbnails");
    renditions = filesBelow(paths.folder() + "/PhotoData/Renditions");
    companions = filesBelow(paths.folder() + "/PhotoData/Companions");
    found = filesBelow(paths.found());
    noteUnderWay();
    auto database = Database::open(paths.database(), Database::Access::read);
    if (!database && database.error().kind == ProblemKind::notFound && hasOriginals(paths)) {
        find(Finding::Kind::missingStore, {}, paths.database());
        return {};
    }
    const auto faults = database ? database->faults(1) : Result<std::vector<std::string>>(passOn(database));
    if (!faults && faults.error().kind != ProblemKind::damagedStore)
        return passOn(faults);
    if (!faults || !faults->empty()) {
        find(Finding::Kind::damagedStore, {}, paths.database(),
             faults ? faults->front() : faults.error().text);
        return {};
    }
    const auto version = database->integer("PRAGMA user_version");
    if (!version)
        return passOn(version);
    if (*version != modelVersion())
        return fail(*version > modelVersion() ? ProblemKind::newerVersion : ProblemKind::busy,
                    "the library has another model version; let hoardd open it first", paths.database());
    const Result<> rows = checkRows(*database);
    if (!rows || isCancelled())
        return rows;
    checkStrays(originals, Finding::Kind::strayOriginal);
    checkStrays(thumbnails, Finding::Kind::strayThumbnail);
    checkStrays(renditions, Finding::Kind::strayRendition);
    checkStrays(companions, Finding::Kind::strayCompanion);
    checkStrays(found, Finding::Kind::unsavedFile);
    noteUnderWay();
    return confirm(*database);
}

void Check::noteUnderWay() {
    std::error_code none;
    for (fs::directory_iterator entry(paths.saving(), none), end; !none && entry != end;
         entry.increment(none))
        underWay.insert(entry->path().filename().string().substr(0, uuidLength));
}

/// Leaves out what was only found because the library changed meanwhile.
Result<> Check::confirm(Database &database) {
    // Only the originals of what is in the trash need be there.
    Statement asset = database.prepare("SELECT previewpurged, problem <> '' AND width = 0 FROM zgenericasset "
                                       "WHERE uuid = ?1 UNION ALL "
                                       "SELECT 0, 0 FROM ztrashedasset WHERE uuid = ?1 AND ?2");
    Statement rendition = database.prepare("SELECT 1 FROM zrendition WHERE assetuuid = ? AND filename = ?");
    struct Row {
        bool isPurged, isUndecodable;
    };
    const auto isStillSo = [&](const Finding &finding) -> Result<bool> {
        using Kind = Finding::Kind;
        const std::string name(lastPathComponent(finding.path));
        struct stat status {};
        if (finding.kind == Kind::wrongSum)
            return true; // it was read and counted as of one time
        if (finding.kind == Kind::wrongSize)
            return hasWrongSize(database, finding.uuid);
        if (finding.uuid.empty()) // a stray
            return !underWay.contains(name.substr(0, uuidLength)) &&
                   ::lstat(finding.path.c_str(), &status) == 0;
        if (finding.kind == Kind::missingRendition || finding.kind == Kind::changedRendition)
            return rendition.bind(finding.uuid, name).any();
        const bool isOfThumbnail =
            finding.kind == Kind::missingThumbnail || finding.kind == Kind::damagedThumbnail;
        const auto row = asset.bind(finding.uuid, !isOfThumbnail).first([](const Statement &read) {
            return Row{read.integer(0) != 0, read.integer(1) != 0};
        });
        if (!row)
            return passOn(row);
        if (!*row)
            return false;
        if (finding.kind == Kind::undecodable)
            return (*row)->isUndecodable;
        if (finding.kind == Kind::damagedThumbnail)
            return std::ranges::any_of(thumbnailKinds, [&](const ThumbnailKind &kind) {
                return finding.path == paths.thumbnail(finding.uuid, kind.size) &&
                       isDamaged(finding.path, kind);
            });
        return !((*row)->isPurged && finding.path == paths.thumbnail(finding.uuid, ThumbnailSize::preview));
    };
    std::vector<Finding> suspected = std::exchange(report.findings, {});
    for (Finding &each : suspected) {
        const auto isSo = isStillSo(each);
        if (!isSo)
            return passOn(isSo);
        if (*isSo)
            report.findings.push_back(std::move(each));
    }
    return {};
}

Result<> Check::checkRows(Database &database) {
    // An asset is in the library or in the trash, and could be found in neither if this was read at two
    // times.
    const sqlite::Snapshot snapshot(database);
    if (auto faults = readFaults(database); !faults)
        return faults;
    if (auto trash = checkTrash(database); !trash)
        return trash;
    const auto total =
        static_cast<std::size_t>(database.integer("SELECT count(*) FROM zgenericasset").value_or(0));
    const Result<> withoutPreview = database.prepare("SELECT uuid FROM zgenericasset WHERE previewpurged")
                                        .forEach([&](const Statement &row) { purged.emplace(row.text(0)); });
    if (!withoutPreview)
        return withoutPreview;
    const Result<> assets =
        database.prepare(std::string(selectAssets) + "ORDER BY pk").forEach([&](const Statement &row) {
            if (isCancelled())
                return;
            const AssetRecord asset = readRecord(row);
            if (const std::string fault = faultOf(asset); fault.empty())
                checkAsset(asset);
            else
                find(Finding::Kind::unsoundRow, {}, paths.database(),
                     "asset " + std::to_string(asset.primaryKey) + ": " + fault);
            ++report.assets;
            if (options.progress)
                options.progress(report.assets, std::max(total, report.assets));
        });
    if (!assets || isCancelled())
        return assets;
    const Result<> albums =
        database.prepare("SELECT pk, uuid, name, coalesce(streamid, ''), datecreated FROM zalbum")
            .forEach([&](const Statement &row) {
                const AlbumRecord album{row.integer(0), std::string(row.text(1)), std::string(row.text(2)),
                                        std::string(row.text(3)), row.real(4)};
                if (const std::string fault = faultOf(album); !fault.empty())
                    find(Finding::Kind::unsoundRow, {}, paths.database(),
                         "album " + std::to_string(album.primaryKey) + ": " + fault);
            });
    if (!albums)
        return albums;
    for (const TextColumn &column : textColumns()) {
        const auto rows = rowsWithoutText(database, column);
        if (!rows)
            return passOn(rows);
        for (const auto &[number, text] : *rows)
            find(Finding::Kind::unsoundRow, {}, paths.database(),
                 column.what + (' ' + std::to_string(number)) + ": it holds a text that is none");
    }
    if (auto checked = checkCompanions(database, companionTable); !checked)
        return checked;
    return database.prepare("SELECT assetuuid, filename, sha256 FROM zrendition")
        .forEach([&](const Statement &row) {
            if (isCancelled())
                return;
            const std::string uuid(row.text(0));
            checkRendition(uuid, paths.renditionFolder(uuid) + '/' + std::string(row.text(1)), row.blob(2));
        })
        .and_then([&] { return checkSums(database); });
}

Result<> Check::checkSums(Database &database) {
    for (const AssetsIn place : {AssetsIn::library, AssetsIn::trash})
        if (auto checked = checkSizes(database, place); !checked || isCancelled())
            return checked;
    const auto wrong = wrongSums(database);
    if (!wrong)
        return passOn(wrong);
    for (const WrongSum &each : *wrong)
        find(Finding::Kind::wrongSum, {}, paths.database(),
             each.what + ": " + std::to_string(each.kept) + ", where " + std::to_string(each.counted) +
                 " were counted");
    return {};
}

/// The UUID, the size and the name of the edited rendition of each asset whose size is known.
std::string selectSizes(AssetsIn place) {
    return std::string("SELECT uuid, derivedbytes, coalesce(renditions.filename, '') FROM ") +
           (place == AssetsIn::library ? "zgenericasset LEFT JOIN zrendition"
                                       : "ztrashedasset LEFT JOIN ztrashedrendition") +
           " AS renditions ON assetuuid = uuid WHERE derivedbytes >= 0";
}

/// A file that was found missing or damaged already needs no second finding.
Result<> Check::checkSizes(Database &database, AssetsIn place) {
    std::unordered_set<std::string> faulty;
    for (const Finding &each : report.findings)
        if (each.kind == Finding::Kind::missingThumbnail || each.kind == Finding::Kind::damagedThumbnail ||
            each.kind == Finding::Kind::missingRendition)
            faulty.insert(each.uuid);
    return database.prepare(selectSizes(place)).forEach([&](const Statement &row) {
        const std::string uuid(row.text(0));
        if (isCancelled() || faulty.contains(uuid) || !isUUID(uuid))
            return;
        const std::uint64_t bytes = bytesOfDerivedFiles(paths, uuid, row.text(2));
        if (bytes != static_cast<std::uint64_t>(row.integer(1)))
            find(Finding::Kind::wrongSize, uuid, paths.thumbnail(uuid, ThumbnailSize::small),
                 std::to_string(row.integer(1)) + " bytes with the other thumbnails, where " +
                     std::to_string(bytes) + " were found");
    });
}

/// The size is unknown while the files change.
Result<bool> Check::hasWrongSize(Database &database, const std::string &uuid) const {
    struct Row {
        std::int64_t bytes;
        std::string rendition;
        bool operator==(const Row &) const = default;
    };
    const auto read = [&] {
        return database
            .prepare(selectSizes(AssetsIn::library) + " AND uuid = ?1 UNION ALL " +
                     selectSizes(AssetsIn::trash) + " AND uuid = ?1")
            .bind(uuid)
            .first([](const Statement &row) {
                return Row{row.integer(1), std::string(row.text(2))};
            });
    };
    const auto before = read();
    if (!before)
        return passOn(before);
    if (!*before)
        return false;
    const std::uint64_t bytes = bytesOfDerivedFiles(paths, uuid, (*before)->rendition);
    const auto after = read();
    if (!after)
        return passOn(after);
    return *after == *before && bytes != static_cast<std::uint64_t>((*before)->bytes);
}

Result<> Check::readFaults(Database &database) {
    const struct {
        const char *assets, *faults;
        NotedFaults &noted;
    } places[] = {
        {"zgenericasset", "zscrub", notedOriginals},
        {"ztrashedasset", "ztrashedscrub", notedOriginals},
        {"zgenericasset", "zcompanionscrub", notedCompanions},
        {"ztrashedasset", "ztrashedcompanionscrub", notedCompanions},
    };
    for (const auto &[assets, faults, noted] : places) {
        const auto read = database
                              .prepare(std::string("SELECT uuid, fault, detail FROM ") + faults + " JOIN " +
                                       assets + " ON pk = asset WHERE fault <> 0")
                              .forEach([&noted = noted](const Statement &row) {
                                  noted[std::string(row.text(0))] = {
                                      static_cast<OriginalFault>(row.integer(1)), std::string(row.text(2))};
                              });
        if (!read)
            return read;
    }
    return {};
}

// Nothing need be made for what is in the trash, but its files are no strays.
Result<> Check::checkTrash(Database &database) {
    auto assets = database.prepare(selectTrashedAssets).forEach([&](const Statement &row) {
        if (isCancelled())
            return;
        const AssetRecord asset = readRecord(row);
        checkOriginal(asset);
        for (const ThumbnailKind &kind : thumbnailKinds)
            expected.insert(paths.thumbnail(asset.uuid, kind.size));
    });
    if (!assets || isCancelled())
        return assets;
    if (auto checked = checkCompanions(database, trashedCompanionTable); !checked)
        return checked;
    return database.prepare("SELECT assetuuid, filename FROM ztrashedrendition")
        .forEach([&](const Statement &row) {
            expected.insert(paths.renditionFolder(row.text(0)) + '/' + std::string(row.text(1)));
        });
}

bool Check::isCancelled() {
    cancelled = cancelled || (options.isCancelled && options.isCancelled());
    return cancelled;
}

bool Check::hasSize(const std::string &uuid, const Kept &file) {
    expected.insert(file.path);
    struct stat status {};
    if (::lstat(file.path.c_str(), &status) != 0)
        find(file.whenMissing, uuid, file.path);
    else if (!S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) != file.byteSize)
        find(file.whenChanged, uuid, file.path, "its size is another");
    else
        return true;
    return false;
}

void Check::checkOriginal(const AssetRecord &asset) {
    checkKept(asset.uuid,
              {paths.original(asset), asset.byteSize, asset.sha256, Finding::Kind::missingOriginal,
               Finding::Kind::changedOriginal, Finding::Kind::damagedOriginal},
              notedOriginals);
}

void Check::checkKept(const std::string &uuid, const Kept &file, const NotedFaults &noted) {
    if (!hasSize(uuid, file))
        return;
    const auto known = noted.find(uuid);
    OriginalFault fault = known != noted.end() ? known->second.fault : OriginalFault::none;
    std::string detail = known != noted.end() ? known->second.detail : std::string();
    if (options.sumOfFile) {
        const auto sum = options.sumOfFile(file.path);
        if (sum && *sum == file.sum)
            return;
        if (!sum)
            detail = sum.error().text;
        fault = !sum                              ? OriginalFault::unreadable
                : fault == OriginalFault::damaged ? OriginalFault::damaged
                                                  : OriginalFault::changed;
    }
    switch (fault) {
    case OriginalFault::damaged:
        return find(file.whenDamaged, uuid, file.path,
                    "its contents are others, though nothing seems to have written to it");
    case OriginalFault::changed:
        return find(file.whenChanged, uuid, file.path, "its contents are others");
    case OriginalFault::unreadable:
        return find(Finding::Kind::unreadable, uuid, file.path, std::move(detail));
    case OriginalFault::missing: // it is there again
    case OriginalFault::none:
        break;
    }
}

Result<> Check::checkCompanions(Database &database, std::string_view table) {
    const auto all = readCompanions(database, table);
    if (!all)
        return passOn(all);
    for (const auto &[uuid, companion] : *all) {
        if (isCancelled())
            return {};
        checkKept(uuid,
                  {companionPath(paths, uuid, companion), companion.byteSize, companion.sha256,
                   Finding::Kind::missingCompanion, Finding::Kind::changedCompanion,
                   Finding::Kind::damagedCompanion},
                  notedCompanions);
    }
    return {};
}

bool Check::isDamaged(const std::string &thumbnail, const ThumbnailKind &kind) const {
    const auto sound = checkThumbnail(thumbnail, kind.maxSide, options.thumbnails);
    return !sound && sound.error().kind != ProblemKind::notFound;
}

void Check::checkThumbnails(const AssetRecord &asset) {
    for (const ThumbnailKind &kind : thumbnailKinds) {
        const std::string path = paths.thumbnail(asset.uuid, kind.size);
        expected.insert(path);
        if (asset.thumbnailIndex == 0)
            continue;
        const auto sound = checkThumbnail(path, kind.maxSide, options.thumbnails);
        if (sound)
            continue;
        const bool mayBeMissing = kind.making == ThumbnailMaking::late ||
                                  (kind.size == ThumbnailSize::preview && purged.contains(asset.uuid));
        if (sound.error().kind != ProblemKind::notFound)
            find(Finding::Kind::damagedThumbnail, asset.uuid, path, sound.error().text);
        else if (!mayBeMissing)
            find(Finding::Kind::missingThumbnail, asset.uuid, path);
    }
}

void Check::checkAsset(const AssetRecord &asset) {
    checkOriginal(asset);
    if (asset.isUndecodable())
        find(Finding::Kind::undecodable, asset.uuid, paths.original(asset), asset.problem);
    checkThumbnails(asset);
}

void Check::checkRendition(const std::string &uuid, const std::string &path, Bytes sum) {
    expected.insert(path);
    if (::access(path.c_str(), F_OK) != 0)
        return find(Finding::Kind::missingRendition, uuid, path);
    if (!options.sumOfFile)
        return;
    const auto present = options.sumOfFile(path);
    if (!present)
        find(Finding::Kind::changedRendition, uuid, path, present.error().text);
    else if (!std::ranges::equal(*present, sum))
        find(Finding::Kind::changedRendition, uuid, path, "its contents are others");
}

void Check::checkStrays(const std::vector<std::string> &files, Finding::Kind kind) {
    for (const std::string &path : files) {
        const std::string name(lastPathComponent(path));
        if (!expected.contains(path) && !underWay.contains(name.substr(0, uuidLength)))
            find(kind, {}, path);
    }
}

} // namespace

const char *nameOf(Finding::Kind kind) noexcept {
    switch (kind) {
    case Finding::Kind::damagedStore:
        return "damaged store";
    case Finding::Kind::missingStore:
        return "missing store";
    case Finding::Kind::unsoundRow:
        return "unreadable entry of the store";
    case Finding::Kind::missingOriginal:
        return "missing original";
    case Finding::Kind::changedOriginal:
        return "changed original";
    case Finding::Kind::damagedOriginal:
        return "damaged original";
    case Finding::Kind::unreadable:
        return "unreadable file";
    case Finding::Kind::undecodable:
        return "picture that can't be decoded";
    case Finding::Kind::missingThumbnail:
        return "missing thumbnail";
    case Finding::Kind::damagedThumbnail:
        return "damaged thumbnail";
    case Finding::Kind::missingRendition:
        return "missing rendition";
    case Finding::Kind::changedRendition:
        return "changed rendition";
    case Finding::Kind::missingCompanion:
        return "missing companion";
    case Finding::Kind::changedCompanion:
        return "changed companion";
    case Finding::Kind::damagedCompanion:
        return "damaged companion";
    case Finding::Kind::strayOriginal:
        return "stray file among the originals";
    case Finding::Kind::strayThumbnail:
        return "stray file among the thumbnails";
    case Finding::Kind::strayRendition:
        return "stray file among the renditions";
    case Finding::Kind::strayCompanion:
        return "stray file among the companions";
    case Finding::Kind::unsavedFile:
        return "found file that is not saved";
    case Finding::Kind::wrongSize:
        return "thumbnails of another size";
    case Finding::Kind::wrongSum:
        return "wrong sum in the store";
    }
    return "";
}

bool hasOriginals(const LibraryPaths &paths) {
    for (const std::string &path : filesBelow(paths.folder() + "/DCIM")) {
        const std::string_view name = lastPathComponent(path);
        const std::string_view uuid = name.substr(0, 36);
        if (name.substr(uuid.size()).starts_with('.') && isUUID(uuid) &&
            path == paths.folder() + '/' + LibraryPaths::directoryOfOriginal(uuid) + '/' + std::string(name))
            return true;
    }
    return false;
}

Result<CheckReport> checkLibrary(const LibraryPaths &paths, const CheckOptions &options) {
    Check check(paths, options);
    if (const Result<> done = check.run(); !done)
        return passOn(done);
    return std::move(check.report);
}

} // namespace wickerlane::store
