#include "wickerlane/store/AnalysisReader.h"

namespace wickerlane::store {

namespace {

using sqlite::Database;
using sqlite::Statement;

/// What a statement gives, row by row.
template <class Record, class Read>
std::optional<std::vector<Record>> rowsOf(Statement statement, const Read &read) {
    std::vector<Record> records;
    while (statement.next())
        records.push_back(read(statement));
    return statement.failed() ? std::nullopt : std::optional(std::move(records));
}

std::optional<double> optionalReal(const Statement &row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(row.real(column));
}

std::uint64_t count(const Statement &row, int column) {
    return static_cast<std::uint64_t>(row.integer(column));
}

std::optional<bool> truth(Database &database, std::string_view query) {
    const auto value = database.integer(query);
    return value ? std::optional(*value != 0) : std::nullopt;
}

} // namespace

std::optional<AnalysisReader> AnalysisReader::open(const LibraryPaths &paths, std::string &problem) {
    auto opened = Database::open(paths.database(), Database::Access::read, problem);
    return opened ? std::optional(AnalysisReader(std::move(*opened))) : std::nullopt;
}

std::optional<std::vector<MomentRecord>> AnalysisReader::moments() {
    return rowsOf<MomentRecord>(
        database.prepare("SELECT m.pk, coalesce(m.list, 0), m.startdate, m.enddate, m.assetcount, "
                         "m.photocount, m.videocount, m.latitude, m.longitude, a.uuid, m.analyzed "
                         "FROM zmoment m LEFT JOIN zgenericasset a ON a.pk = m.keyasset "
                         "ORDER BY m.startdate, m.pk"),
        [](const Statement &row) {
            return MomentRecord{row.integer(0),       row.integer(1),
                                row.real(2),          row.real(3),
                                count(row, 4),        count(row, 5),
                                count(row, 6),        optionalReal(row, 7),
                                optionalReal(row, 8), std::string(row.text(9)),
                                row.integer(10) != 0};
        });
}

std::optional<std::vector<MomentListRecord>> AnalysisReader::momentLists() {
    return rowsOf<MomentListRecord>(
        database.prepare("SELECT l.pk, l.startdate, l.enddate, l.momentcount, l.assetcount, a.uuid, "
                         "l.analyzed FROM zmomentlist l LEFT JOIN zgenericasset a ON a.pk = l.keyasset "
                         "ORDER BY l.startdate, l.pk"),
        [](const Statement &row) {
            return MomentListRecord{row.integer(0),     row.real(1),   row.real(2),
                                    count(row, 3),      count(row, 4), std::string(row.text(5)),
                                    row.integer(6) != 0};
        });
}

std::optional<std::vector<std::string>> AnalysisReader::assetsOfMoment(std::int64_t primaryKey) {
    Statement statement = database.prepare(
        "SELECT a.uuid FROM zmomentasset m JOIN zgenericasset a ON a.pk = m.asset WHERE m.moment = ? "
        "ORDER BY a.datecreated, a.pk");
    statement.bind(primaryKey);
    return rowsOf<std::string>(std::move(statement),
                               [](const Statement &row) { return std::string(row.text(0)); });
}

std::optional<std::vector<DuplicatesRecord>> AnalysisReader::duplicates() {
    std::vector<DuplicatesRecord> groups;
    Statement statement = database.prepare(
        "SELECT d.likeness, d.duplicategroup, a.uuid FROM zduplicate d JOIN zgenericasset a ON a.pk = "
        "d.asset ORDER BY d.likeness, d.duplicategroup, d.asset");
    std::int64_t group = 0;
    while (statement.next()) {
        const bool isSame = statement.integer(0) == 0;
        if (groups.empty() || groups.back().isSame != isSame || group != statement.integer(1)) {
            groups.push_back({isSame, {}});
            group = statement.integer(1);
        }
        groups.back().uuids.emplace_back(statement.text(2));
    }
    if (statement.failed())
        return std::nullopt;
    // Assets that have been deleted since can have left one alone.
    std::erase_if(groups, [](const DuplicatesRecord &each) { return each.uuids.size() < 2; });
    return groups;
}

std::optional<std::vector<FeedEntryRecord>> AnalysisReader::cloudFeed() {
    std::vector<FeedEntryRecord> entries;
    Statement statement =
        database.prepare("SELECT e.pk, b.uuid, e.startdate, e.enddate, a.uuid FROM zcloudfeedentry e "
                         "JOIN zalbum b ON b.pk = e.album JOIN zcloudfeedasset f ON f.entry = e.pk "
                         "JOIN zgenericasset a ON a.pk = f.asset ORDER BY e.enddate DESC, e.pk DESC, a.pk");
    std::int64_t entry = 0;
    while (statement.next()) {
        if (entry != statement.integer(0))
            entries.push_back({std::string(statement.text(1)), statement.real(2), statement.real(3), {}});
        entry = statement.integer(0);
        entries.back().uuids.emplace_back(statement.text(4));
    }
    return statement.failed() ? std::nullopt : std::optional(std::move(entries));
}

std::optional<bool> AnalysisReader::areMomentsComplete() {
    return truth(database, "SELECT NOT EXISTS (SELECT 1 FROM zmomentchange) AND "
                           "NOT EXISTS (SELECT 1 FROM zmoment WHERE analyzed = 0) AND "
                           "NOT EXISTS (SELECT 1 FROM zmomentlist WHERE analyzed = 0)");
}

std::optional<bool> AnalysisReader::areDuplicatesComplete() {
    return truth(database,
                 "SELECT (SELECT grouped >= changed FROM zduplicatestate) AND NOT EXISTS (SELECT 1 FROM "
                 "zgenericasset a LEFT JOIN zfingerprint f ON f.asset = a.pk WHERE f.asset IS NULL OR "
                 "f.thumbnailindex <> a.thumbnailindex)");
}

} // namespace wickerlane::store
