#include "hoardd/analysis/MomentAnalysisStore.h"

#include <string>
#include <string_view>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

/// Narrows a query of moments or lists to a scope.
std::string_view condition(const AnalysisScope &scope) {
    switch (scope.kind) {
    case AnalysisScope::Kind::all:
        return "?1 = 0";
    case AnalysisScope::Kind::invalid:
        return "?1 = 0 AND analyzed = 0";
    case AnalysisScope::Kind::oneMoment:
        return "pk = ?1";
    case AnalysisScope::Kind::oneList:
        return "list = ?1";
    }
    return "0";
}

} // namespace

Result<std::vector<std::int64_t>> momentsIn(Database &database, const AnalysisScope &scope) {
    return database.prepare(std::string("SELECT pk FROM zmoment WHERE ").append(condition(scope)))
        .bind(scope.key)
        .all([](const Statement &row) { return row.integer(0); });
}

// A picture with features is a better key asset than one without, a photo better than a video, and among
// those the one nearest to the moment's middle. Cross joins keep to the order in which they are written: by
// itself SQLite would look through all photos of the library for those of a moment.
Result<> analyzeMoments(Database &database, std::span<const std::int64_t> moments) {
    Statement analyze = database.prepare(R"sql(
UPDATE zmoment SET
    (photocount, videocount) =
        (SELECT count(*) FILTER (WHERE a.kind = 0), count(*) FILTER (WHERE a.kind = 1)
         FROM zmomentasset m CROSS JOIN zgenericasset a
         WHERE m.moment = zmoment.pk AND a.pk = m.asset),
    keyasset = (SELECT a.pk FROM zmoment z CROSS JOIN zmomentasset m CROSS JOIN zgenericasset a
                LEFT JOIN zfingerprint f ON f.asset = a.pk
                WHERE z.pk = zmoment.pk AND m.moment = z.pk AND a.pk = m.asset
                ORDER BY a.thumbnailindex = 0, a.kind, f.difference IS NULL,
                         abs(coalesce(a.clockdate, a.datecreated) - (z.startdate + z.enddate) / 2), a.pk LIMIT 1),
    analyzed = 1
WHERE pk = ?)sql");
    for (const std::int64_t moment : moments)
        if (const auto analyzed = analyze.bind(moment).run(); !analyzed)
            return analyzed;
    return {};
}

Result<> analyzeLists(Database &database, const AnalysisScope &scope) {
    std::string narrowing(condition(scope));
    if (scope.kind == AnalysisScope::Kind::oneMoment)
        narrowing = "pk = (SELECT list FROM zmoment WHERE pk = ?1)";
    else if (scope.kind == AnalysisScope::Kind::oneList)
        narrowing = "pk = ?1";
    return database
        .prepare(R"sql(
UPDATE zmomentlist SET
    keyasset = (SELECT keyasset FROM zmoment WHERE list = zmomentlist.pk
                ORDER BY assetcount DESC, startdate LIMIT 1),
    analyzed = 1
WHERE )sql" + narrowing)
        .bind(scope.key)
        .run();
}

} // namespace wickerlane::hoardd
