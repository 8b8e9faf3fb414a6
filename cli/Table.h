// Columns of text under headings, and lists of things shown so or as JSON.
#ifndef CLI_TABLE_H
#define CLI_TABLE_H

#include <string>
#include <string_view>
#include <vector>

#include "cli/Output.h"

namespace wickerlane::cli {

/// Columns are as wide as what is in them. In a table that is wider than the terminal, UUIDs are cut to their
/// first part, then long texts, and at last columns are left out. Control characters in cells are escaped.
class Table {
public:
    enum class Align { left, right };
    enum class Kind {
        whole, ///< Is shown whole or not at all.
        uuid,  ///< Its first part names it as well.
        text,  ///< May be cut.
    };
    struct Column {
        std::string heading;
        Align align = Align::left;
        Kind kind = Kind::whole;
        /// Columns of a lower rank are left out before others.
        int rank = 1;
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
    void printRow(const std::vector<std::size_t> &widths, bool isHeading, const CellAt &cellAt) const;
};

/// How many places a text takes on a terminal.
[[nodiscard]] std::size_t widthOf(std::string_view text);
/// The beginning of a text that fits into a number of places, with an ellipsis when something is left out.
[[nodiscard]] std::string cut(const std::string &text, std::size_t places);

/// Writes a label, and a value in a column of its own, to standard output.
void printField(std::string_view label, std::string_view value);

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
