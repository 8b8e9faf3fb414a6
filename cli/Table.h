// Columns of text under headings, and lists of things shown so or as JSON.
#ifndef CLI_TABLE_H
#define CLI_TABLE_H

#include <string>
#include <string_view>
#include <vector>

#include "cli/Output.h"

namespace wickerlane::cli {

/// Columns are as wide as what is in them. Control characters in cells are escaped.
class Table {
public:
    enum class Align { left, right };
    struct Column {
        std::string heading;
        Align align = Align::left;
    };

    explicit Table(std::vector<Column> described) : columns(std::move(described)) {}
    /// As many cells as there are columns.
    void add(std::vector<std::string> cells);
    [[nodiscard]] bool isEmpty() const { return rows.empty(); }
    void print() const;
    /// Prints the rows that are there and forgets them, so that a long table takes little memory. Its columns
    /// grow with later rows.
    void printRows();

private:
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> printedWidths; ///< Of the rows that were printed; empty before the first.
    [[nodiscard]] std::vector<std::size_t> widths() const;
    template <class CellAt>
    void printRow(const std::vector<std::size_t> &widths, const CellAt &cellAt) const;
};

/// A list that may be long, written as it grows: as JSON, or as a table.
class Listing {
public:
    Listing(std::vector<Table::Column> columns, bool json) : table(std::move(columns)), asJSON(json) {}

    [[nodiscard]] bool isJSON() const noexcept { return asJSON; }
    /// An entry of JSON.
    void add(const JSON &entry) { list.add(entry); }
    /// A row of the table.
    void addRow(std::vector<std::string> cells);
    /// Writes the rest. A table that had no rows is replaced by a note.
    void end(std::string_view noteWhenEmpty);

private:
    Table table;
    JSONList list;
    std::size_t rowCount = 0;
    bool asJSON;
};

/// Writes JSON or the table. An empty table is replaced by a note.
void printListing(const JSON &list, const Table &table, std::string_view noteWhenEmpty, bool asJSON);

} // namespace wickerlane::cli

#endif
