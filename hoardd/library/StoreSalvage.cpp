#include "hoardd/library/StoreSalvage.h"

#include <algorithm>
#include <limits>

namespace wickerlane::hoardd {

using sqlite::Database;
using sqlite::Statement;

namespace {

using Names = std::vector<std::string>;

Names namesOf(Database &database, const std::string &table, const char *condition) {
    return database.prepare("SELECT name FROM pragma_table_info(?)" + std::string(condition))
        .bind(table)
        .all([](const Statement &row) { return std::string(row.text(0)); })
        .value_or(Names());
}

std::string joined(const Names &names, const char *behind = "") {
    std::string text;
    for (const std::string &each : names)
        text.append(text.empty() ? "" : ", ").append(each).append(behind);
    return text;
}

/// One table that is copied. Damaged pages can give an order that is none, or the same rows for ever: a row
/// counts only when its number has grown.
class Salvage {
public:
    Salvage(Database &damaged, Database &target, const std::string &name, const WantsFile &wanted)
        : from(damaged), table(name), wants(wanted) {
        const Names there = namesOf(from, table, "");
        for (std::string &column : namesOf(target, table, ""))
            if (std::ranges::find(there, column) != there.end())
                columns.push_back(std::move(column));
        keys = namesOf(target, table, " WHERE pk > 0 ORDER BY pk");
        hasRowIDs = target.prepare("SELECT rowid FROM " + table + " LIMIT 0").run().has_value();
        std::string places;
        for (std::size_t i = 0; i < columns.size(); ++i)
            places += i == 0 ? "?" : ", ?";
        insertion = "INSERT OR IGNORE INTO " + table + " (" + joined(columns) + ") VALUES (" + places + ")";
        insert.emplace(target.prepare(insertion));
    }

    bool run() {
        if (columns.empty())
            return false;
        return hasRowIDs ? copyByNumber() : copyFromBothEnds();
    }

private:
    static constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    static constexpr int maxProbes = 200'000;

    void copy(const Statement &row, int first) {
        if (wants) {
            const auto valueOf = [&](const char *name) -> std::string_view {
                const auto found = std::ranges::find(columns, name);
                return found == columns.end() ? std::string_view()
                                              : row.text(first + static_cast<int>(found - columns.begin()));
            };
            if (!wants(valueOf("directory"), valueOf("filename")))
                return;
        }
        for (int i = 0; i < static_cast<int>(columns.size()); ++i)
            insert->bindColumn(row, first + i);
        static_cast<void>(insert->run()); // what the table can't hold is no row of it
    }

    /// Copies from after `last`, as far as it goes. Whether that was the end.
    bool copyAfter(std::int64_t &last) {
        bool isAscending = true;
        const auto done = from.prepare("SELECT rowid, " + joined(columns) + " FROM " + table +
                                       " NOT INDEXED WHERE rowid > ? ORDER BY rowid")
                              .bind(last)
                              .forEachWhile([&](const Statement &row) {
                                  const std::int64_t number = row.integer(0);
                                  isAscending = number > last;
                                  if (isAscending) {
                                      last = number;
                                      copy(row, 1);
                                  }
                                  return isAscending;
                              });
        return done && isAscending;
    }

    bool copyByNumber() {
        std::int64_t last = lowest;
        if (copyAfter(last))
            return true;
        // Behind a page that can't be read others can: they are found by the numbers of their rows.
        const auto highest =
            from.prepare("SELECT rowid FROM " + table + " NOT INDEXED ORDER BY rowid DESC LIMIT 1")
                .first([](const Statement &row) { return row.integer(0); });
        const std::int64_t start = std::max<std::int64_t>(last, 0);
        std::int64_t end = start + maxProbes;
        if (highest && *highest)
            end = std::min(end, **highest);
        auto probe = from.prepare("SELECT rowid FROM " + table + " NOT INDEXED WHERE rowid = ?");
        for (std::int64_t number = start + 1; number <= end; ++number) {
            const auto isThere = probe.bind(number).any();
            probe.reset();
            if (!isThere || !*isThere)
                continue;
            last = number - 1;
            if (copyAfter(last))
                break;
            number = std::max(number, last);
        }
        return false;
    }

    bool copyFromBothEnds() {
        for (const char *order : {"", " DESC"}) {
            std::size_t left = maxProbes * std::size_t{50};
            const auto done = from.prepare("SELECT " + joined(columns) + " FROM " + table + " ORDER BY " +
                                           joined(keys, order))
                                  .forEachWhile([&](const Statement &row) {
                                      copy(row, 0);
                                      return --left > 0;
                                  });
            if (done && *done)
                return true;
        }
        return false;
    }

    Database &from;
    const std::string table;
    const WantsFile &wants;
    Names columns, keys;
    bool hasRowIDs = false;
    std::string insertion;
    std::optional<Statement> insert;
};

struct ForeignKey {
    std::string column, parent, parentColumn;
    bool isSetNull;
};

} // namespace

std::vector<std::string> tablesOf(Database &database) {
    return database
        .prepare("SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite_%'")
        .all([](const Statement &row) { return std::string(row.text(0)); })
        .value_or(Names());
}

bool salvageTable(Database &from, Database &into, const std::string &table, const WantsFile &wants) {
    return Salvage(from, into, table, wants).run();
}

// Twice, since what refers to an orphan is one as well.
Result<> removeOrphans(Database &database) {
    for (int round = 0; round < 2; ++round)
        for (const std::string &table : tablesOf(database)) {
            const auto keys =
                database
                    .prepare("SELECT \"from\", \"table\", \"to\", on_delete FROM pragma_foreign_key_list(?)")
                    .bind(table)
                    .all([](const Statement &row) {
                        return ForeignKey{std::string(row.text(0)), std::string(row.text(1)),
                                          std::string(row.text(2)), row.text(3) == "SET NULL"};
                    });
            if (!keys)
                return passOn(keys);
            for (const auto &[column, parent, parentColumn, isSetNull] : *keys) {
                std::string sql = isSetNull ? "UPDATE " : "DELETE FROM ";
                sql.append(table);
                if (isSetNull)
                    sql.append(" SET ").append(column).append(" = NULL");
                sql.append(" WHERE ").append(column).append(" IS NOT NULL AND ").append(column);
                sql.append(" NOT IN (SELECT ")
                    .append(parentColumn)
                    .append(" FROM ")
                    .append(parent)
                    .append(")");
                if (const auto done = database.execute(sql.c_str()); !done)
                    return done;
            }
        }
    return {};
}

} // namespace wickerlane::hoardd
