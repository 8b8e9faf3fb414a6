#include "wickerlane/store/AnalysisReader.h"

#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::store {

namespace {

using sqlite::Database;
using sqlite::Statement;

std::uint64_t count(const Statement &row, int column) {
    return static_cast<std::uint64_t>(row.integer(column));
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

Result<std::vector<MomentRecord>> AnalysisReader::moments() {
    return database
        .prepare("SELECT m.pk, coalesce(m.list, 0), m.startdate, m.enddate, m.assetcount, "
                 "m.photocount, m.videocount, m.latitude, m.longitude, a.uuid, m.analyzed "
                 "FROM zmoment m LEFT JOIN zgenericasset a ON a.pk = m.keyasset "
                 "ORDER BY m.startdate, m.pk")
        .all([](const Statement &row) {
            return MomentRecord{row.integer(0),
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
        });
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

Result<std::vector<std::string>> AnalysisReader::assetsOfMoment(std::int64_t primaryKey) {
    return database
        .prepare("SELECT a.uuid FROM zmomentasset m JOIN zgenericasset a ON a.pk = m.asset "
                 "WHERE m.moment = ? ORDER BY coalesce(a.clockdate, a.datecreated), a.pk")
        .bind(primaryKey)
        .all([](const Statement &row) { return std::string(row.text(0)); });
}

Ref<StoredObject> AnalysisReader::objectOf(const MomentRecord &moment) const {
    return StoredObject::create(storeUUID, momentEntity, moment.primaryKey);
}

Ref<StoredObject> AnalysisReader::objectOf(const MomentListRecord &list) const {
    return StoredObject::create(storeUUID, momentListEntity, list.primaryKey);
}

Result<std::vector<DuplicatesRecord>> AnalysisReader::duplicates() {
    std::vector<DuplicatesRecord> groups;
    std::int64_t group = 0;
    const auto read = [&](const Statement &row) {
        const bool isSame = row.integer(0) == 0;
        if (groups.empty() || groups.back().isSame != isSame || group != row.integer(1)) {
            groups.push_back({isSame, {}});
            group = row.integer(1);
        }
        groups.back().uuids.emplace_back(row.text(2));
    };
    const auto done =
        database
            .prepare("SELECT d.likeness, d.duplicategroup, a.uuid FROM zduplicate d JOIN zgenericasset a "
                     "ON a.pk = d.asset ORDER BY d.likeness, d.duplicategroup, d.asset")
            .forEach(read);
    if (!done)
        return passOn(done);
    // Assets that have been deleted since can have left one alone.
    std::erase_if(groups, [](const DuplicatesRecord &each) { return each.uuids.size() < 2; });
    return groups;
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
