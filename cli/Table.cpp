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

void Table::print() const {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        std::size_t width = widthOf(columns[i].heading);
        for (const auto &row : rows)
            width = std::max(width, widthOf(row[i]));
        widths.push_back(width);
    }
    const auto printRow = [&](auto cellAt) {
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
    };
    printRow([&](std::size_t i) -> const std::string & { return columns[i].heading; });
    for (const auto &row : rows)
        printRow([&](std::size_t i) -> const std::string & { return row[i]; });
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
