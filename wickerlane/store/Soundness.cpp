#include "wickerlane/store/Soundness.h"

#include "wickerlane/model/RecordFaults.h"

namespace wickerlane::store {

std::span<const TextColumn> textColumns() {
    static constexpr TextColumn columns[] = {
        {"bulletin", "zbulletin", "sender", false},
        {"e-mail address", "zemail", "address", false},
        {"person", "zperson", "personid", false},
        {"change", "zchange", "assetuuid", true},
    };
    return columns;
}

Result<std::vector<std::pair<std::int64_t, std::string>>> rowsWithoutText(sqlite::Database &database,
                                                                          const TextColumn &column) {
    std::vector<std::pair<std::int64_t, std::string>> rows;
    const auto read =
        database.prepare(std::string("SELECT rowid, ") + column.column + " FROM " + column.table)
            .forEach([&](const sqlite::Statement &row) {
                const std::string_view text = row.text(1);
                if (!isText(text) || (column.holdsUUID && !isUUID(text)))
                    rows.emplace_back(row.integer(0), text);
            });
    if (!read)
        return passOn(read);
    return rows;
}

} // namespace wickerlane::store
