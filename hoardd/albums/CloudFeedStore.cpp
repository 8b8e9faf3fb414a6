#include "hoardd/albums/CloudFeedStore.h"

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

Result<std::vector<Entry>> readEntries(Database &database) {
    std::vector<Entry> entries;
    const auto read =
        database
            .prepare(
                "SELECT s.album, s.asset, s.dateadded FROM zalbumasset s JOIN zalbum a ON a.pk = s.album "
                "WHERE a.streamid IS NOT NULL ORDER BY s.album, s.dateadded, s.asset")
            .forEach([&](const Statement &row) {
                const std::int64_t album = row.integer(0);
                const double date = row.real(2);
                if (entries.empty() || entries.back().album != album ||
                    date - entries.back().end > entryPause)
                    entries.push_back({album, date, date, {}});
                entries.back().end = date;
                entries.back().assets.push_back(row.integer(1));
            });
    if (!read)
        return passOn(read);
    return entries;
}

} // namespace

Result<> rebuildCloudFeed(Database &database) {
    const auto entries = readEntries(database);
    if (!entries)
        return passOn(entries);
    if (const auto cleared = database.execute("DELETE FROM zcloudfeedentry"); !cleared)
        return cleared;
    Statement addEntry =
        database.prepare("INSERT INTO zcloudfeedentry (album, startdate, enddate) VALUES (?, ?, ?)");
    Statement addAsset = database.prepare("INSERT INTO zcloudfeedasset (entry, asset) VALUES (?, ?)");
    for (const Entry &entry : *entries) {
        if (const auto added = addEntry.bind(entry.album, entry.start, entry.end).run(); !added)
            return added;
        const std::int64_t key = database.lastRowID();
        for (const std::int64_t asset : entry.assets)
            if (const auto added = addAsset.bind(key, asset).run(); !added)
                return added;
    }
    return {};
}

} // namespace wickerlane::hoardd
