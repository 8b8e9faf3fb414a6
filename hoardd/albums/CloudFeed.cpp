#include "hoardd/albums/CloudFeed.h"

#include <cstdint>
#include <vector>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

constexpr double entryPause = 3600; // seconds

struct Entry {
    std::int64_t album = 0;
    double start = 0;
    double end = 0;
    std::vector<std::int64_t> assets;
};

bool readEntries(Database &database, std::vector<Entry> &entries) {
    Statement statement = database.prepare(
        "SELECT s.album, s.asset, s.dateadded FROM zalbumasset s JOIN zalbum a ON a.pk = s.album "
        "WHERE a.streamid IS NOT NULL ORDER BY s.album, s.dateadded, s.asset");
    while (statement.next()) {
        const std::int64_t album = statement.integer(0);
        const double date = statement.real(2);
        if (entries.empty() || entries.back().album != album || date - entries.back().end > entryPause)
            entries.push_back({album, date, date, {}});
        entries.back().end = date;
        entries.back().assets.push_back(statement.integer(1));
    }
    return !statement.failed();
}

} // namespace

bool rebuildCloudFeed(Database &database) {
    std::vector<Entry> entries;
    if (!readEntries(database, entries) || !database.execute("DELETE FROM zcloudfeedentry"))
        return false;
    Statement addEntry =
        database.prepare("INSERT INTO zcloudfeedentry (album, startdate, enddate) VALUES (?, ?, ?)");
    Statement addAsset = database.prepare("INSERT INTO zcloudfeedasset (entry, asset) VALUES (?, ?)");
    for (const Entry &entry : entries) {
        if (!addEntry.bind(entry.album, entry.start, entry.end).run())
            return false;
        const std::int64_t key = database.lastRowID();
        for (const std::int64_t asset : entry.assets)
            if (!addAsset.bind(key, asset).run())
                return false;
    }
    return true;
}

} // namespace wickerlane::hoardd
