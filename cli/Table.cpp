#include "cli/Table.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "wickerlane/platform/console/Console.h"

namespace wickerlane::cli {
namespace {

/// Characters, not bytes: continuation bytes of UTF-8 take no place.
std::size_t widthOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace

void Table::add(std::vector<std::string> cells) {
    for (std::string &cell : cells)
        cell = escapingControls(cell);
    rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::widths() const {
    std::vector<std::size_t> widths = printedWidths;
    widths.resize(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        widths[i] = std::max(widths[i], widthOf(columns[i].heading));
        for (const auto &row : rows)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    return widths;
}

template <class CellAt>
void Table::printRow(const std::vector<std::size_t> &widths, const CellAt &cellAt) const {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string &cell = cellAt(i);
        const std::string padding(widths[i] - widthOf(cell), ' ');
        if (i > 0)
            line += "  ";
        line += columns[i].align == Align::right ? padding + cell : cell + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    fmt::print("{}\n", line);
}

void Table::print() const {
    const std::vector<std::size_t> all = widths();
    if (printedWidths.empty())
        printRow(all, [&](std::size_t i) -> const std::string & { return columns[i].heading; });
    for (const auto &row : rows)
        printRow(all, [&](std::size_t i) -> const std::string & { return row[i]; });
}

void Table::printRows() {
    print();
    printedWidths = widths();
    rows.clear();
}

void Listing::addRow(std::vector<std::string> cells) {
    constexpr std::size_t rowsAtOnce = 10'000;
    table.add(std::move(cells));
    if (++rowCount % rowsAtOnce == 0)
        table.printRows();
}

void Listing::end(std::string_view noteWhenEmpty) {
    if (asJSON)
        list.end();
    else if (rowCount == 0)
        note(noteWhenEmpty);
    else if (!table.isEmpty())
        table.print();
}

void printListing(const JSON &list, const Table &table, std::string_view noteWhenEmpty, bool asJSON) {
    if (asJSON)
        printJSON(list);
    else if (table.isEmpty())
        note(noteWhenEmpty);
    else
        table.print();
}

} // namespace wickerlane::cli
