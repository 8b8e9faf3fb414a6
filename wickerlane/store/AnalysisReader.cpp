#include "wickerlane/store/AnalysisReader.h"

#include <algorithm>

#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/PageCursor.h"

namespace wickerlane::store {

namespace {

using sqlite::Database;
using sqlite::Statement;

std::uint64_t count(const Statement &row, int column) {
    return static_cast<std::uint64_t>(row.integer(column));
}

constexpr std::string_view selectMoments =
    "SELECT m.pk, coalesce(m.list, 0), m.startdate, m.enddate, m.assetcount, "
    "m.photocount, m.videocount, m.latitude, m.longitude, a.uuid, m.analyzed "
    "FROM zmoment m LEFT JOIN zgenericasset a ON a.pk = m.keyasset ";

MomentRecord readMoment(const Statement &row) {
    return {row.integer(0),
            row.integer(1),
            row.real(2),
            row.real(3),
            count(row, 4),
            count(row, 5),
            count(row, 6),
            optionalRealIn(row, 7),
            optionalRealIn(row, 8),
            std::string(row.text(9)),
            row.integer(10) != 0};
}

constexpr std::string_view selectAssetsOfMoment =
    "SELECT a.uuid FROM zmomentasset m JOIN zgenericasset a ON a.pk = m.asset "
    "WHERE m.moment = ? ORDER BY coalesce(a.clockdate, a.datecreated), a.pk";

std::string readUUID(const Statement &row) {
    return std::string(row.text(0));
}

/// A page of moments with their assets ends early when it has as many.
constexpr std::size_t enoughUUIDs = 100'000;

Result<> checkPage(std::size_t limit) {
    constexpr std::size_t largestPage = 10'000;
    if (limit == 0 || limit > largestPage)
        return fail(ProblemKind::invalid, "a page may have 1 to 10000 entries");
    return {};
}

Failure failWithoutCursor() {
    return fail(ProblemKind::invalid, "the cursor is none of these pages: begin without one");
}

Result<DuplicatesPage> duplicatesAfter(Database &database, std::optional<bool> isSame,
                                       const std::optional<PageCursor<std::int64_t>> &cursor,
                                       std::size_t limit) {
    DuplicatesPage page;
    std::int64_t group = 0;
    const auto isLast = [&] {
        // Assets that have been deleted since can have left one alone.
        if (!page.groups.empty() && page.groups.back().uuids.size() < 2)
            page.groups.pop_back();
        return page.groups.size() >= limit;
    };
    const auto takeRow = [&](const Statement &row) {
        const bool same = row.integer(0) == 0;
        if (page.groups.empty() || page.groups.back().isSame != same || group != row.integer(1)) {
            if (isLast()) {
                page.next = cursorText(group, std::int64_t{page.groups.back().isSame ? 0 : 1});
                return false;
            }
            page.groups.push_back({same, {}});
            group = row.integer(1);
        }
        page.groups.back().uuids.emplace_back(row.text(2));
        return true;
    };
    const std::optional<int> likeness = isSame ? std::optional(*isSame ? 0 : 1) : std::nullopt;
    const auto done =
        database
            .prepare("SELECT d.likeness, d.duplicategroup, a.uuid FROM zduplicate d JOIN zgenericasset a "
                     "ON a.pk = d.asset WHERE (?1 IS NULL OR d.likeness = ?1) AND "
                     "(?2 IS NULL OR (d.likeness, d.duplicategroup) > (?2, ?3)) "
                     "ORDER BY d.likeness, d.duplicategroup, d.asset")
            .bind(likeness, cursor ? std::optional(cursor->value) : std::nullopt, cursor ? cursor->number : 0)
            .forEachWhile(takeRow);
    if (!done)
        return passOn(done);
    if (page.next.empty())
        static_cast<void>(isLast());
    return page;
}

} // namespace

Result<AnalysisReader> AnalysisReader::open(const LibraryPaths &paths) {
    auto opened = Database::open(paths.database(), Database::Access::read);
    if (!opened)
        return passOn(opened);
    const auto uuid = opened->prepare("SELECT uuid FROM zlibrary LIMIT 1").first([](const Statement &row) {
        return std::string(row.text(0));
    });
    if (!uuid)
        return passOn(uuid);
    if (!*uuid)
        return fail(ProblemKind::damagedStore, "the library's store has no identity", paths.database());
    return AnalysisReader(*std::move(opened), **uuid);
}

Result<MomentPage> AnalysisReader::moments(const MomentQuery &query) {
    if (const auto checked = checkPage(query.limit); !checked)
        return passOn(checked);
    const auto cursor = cursorIn<double>(query.cursor);
    if (!cursor && !query.cursor.empty())
        return failWithoutCursor();
    const std::string direction = query.isDescending ? " DESC" : "";
    const std::string behind = query.isDescending ? " < " : " > ";
    const sqlite::Snapshot snapshot(database);
    auto moments =
        database
            .prepare(std::string(selectMoments) +
                     "WHERE (?1 IS NULL OR m.startdate >= ?1) AND (?2 IS NULL OR m.startdate < ?2) " +
                     "AND (?3 IS NULL OR (m.startdate, m.pk)" + behind + "(?3, ?4)) ORDER BY m.startdate" +
                     direction + ", m.pk" + direction + " LIMIT ?5")
            .bind(query.from, query.until, cursor ? std::optional(cursor->value) : std::nullopt,
                  cursor ? cursor->number : 0, query.limit + 1)
            .all(readMoment);
    if (!moments)
        return passOn(moments);
    Statement assets = database.prepare(selectAssetsOfMoment);
    const auto isComplete = areMomentsComplete();
    if (!isComplete)
        return passOn(isComplete);
    MomentPage page{*std::move(moments), {}, storeUUID, *isComplete};
    const std::size_t found = page.moments.size();
    std::size_t taken = std::min(found, query.limit);
    if (query.withAssets) {
        std::size_t uuidsOfPage = 0;
        for (std::size_t i = 0; i < taken; ++i) {
            auto uuids = assets.bind(page.moments[i].primaryKey).all(readUUID);
            if (!uuids)
                return passOn(uuids);
            uuidsOfPage += uuids->size();
            page.moments[i].uuids = *std::move(uuids);
            if (uuidsOfPage >= enoughUUIDs)
                taken = i + 1;
        }
    }
    page.moments.resize(taken);
    if (taken < found)
        page.next = cursorText(page.moments.back().primaryKey, page.moments.back().startDate);
    return page;
}

Result<std::vector<MomentListRecord>> AnalysisReader::momentLists() {
    return database
        .prepare("SELECT l.pk, l.startdate, l.enddate, l.momentcount, l.assetcount, a.uuid, "
                 "l.analyzed FROM zmomentlist l LEFT JOIN zgenericasset a ON a.pk = l.keyasset "
                 "ORDER BY l.startdate, l.pk")
        .all([](const Statement &row) {
            return MomentListRecord{row.integer(0),     row.real(1),   row.real(2),
                                    count(row, 3),      count(row, 4), std::string(row.text(5)),
                                    row.integer(6) != 0};
        });
}

Result<DuplicatesPage> AnalysisReader::duplicates(const DuplicatesQuery &query) {
    if (const auto checked = checkPage(query.limit); !checked)
        return passOn(checked);
    const auto cursor = cursorIn<std::int64_t>(query.cursor);
    if (!cursor && !query.cursor.empty())
        return failWithoutCursor();
    const sqlite::Snapshot snapshot(database);
    const auto isComplete = areDuplicatesComplete();
    if (!isComplete)
        return passOn(isComplete);
    auto page = duplicatesAfter(database, query.isSame, cursor, query.limit);
    if (page)
        page->isComplete = *isComplete;
    return page;
}

Result<std::vector<FeedEntryRecord>> AnalysisReader::cloudFeed() {
    std::vector<FeedEntryRecord> entries;
    std::int64_t entry = 0;
    const auto read = [&](const Statement &row) {
        if (entry != row.integer(0))
            entries.push_back({std::string(row.text(1)), row.real(2), row.real(3), {}});
        entry = row.integer(0);
        entries.back().uuids.emplace_back(row.text(4));
    };
    const auto done =
        database
            .prepare("SELECT e.pk, b.uuid, e.startdate, e.enddate, a.uuid FROM zcloudfeedentry e "
                     "JOIN zalbum b ON b.pk = e.album JOIN zcloudfeedasset f ON f.entry = e.pk "
                     "JOIN zgenericasset a ON a.pk = f.asset ORDER BY e.enddate DESC, e.pk DESC, a.pk")
            .forEach(read);
    if (!done)
        return passOn(done);
    return entries;
}

Result<bool> AnalysisReader::areMomentsComplete() {
    return database
        .prepare("SELECT 1 WHERE NOT EXISTS (SELECT 1 FROM zmomentchange) AND "
                 "NOT EXISTS (SELECT 1 FROM zmoment WHERE analyzed = 0) AND "
                 "NOT EXISTS (SELECT 1 FROM zmomentlist WHERE analyzed = 0)")
        .any();
}

Result<bool> AnalysisReader::areDuplicatesComplete() {
    return database
        .prepare("SELECT 1 FROM zduplicatestate WHERE grouped >= changed AND "
                 "NOT EXISTS (SELECT 1 FROM zduefingerprint)")
        .any();
}

} // namespace wickerlane::store
