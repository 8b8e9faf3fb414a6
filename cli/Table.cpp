#include "cli/Table.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cwchar>

#include "wickerlane/platform/console/Console.h"

namespace wickerlane::cli {
namespace {

constexpr std::size_t gap = 2;
constexpr std::string_view ellipsis = "\u2026";

/// The characters of a text in UTF-8, one after the other: `use` gets each with its width, until it gives
/// false. A byte that is none has the width 1.
template <class Use>
void forEachCharacter(std::string_view text, const Use &use) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t before = unicode != nullptr ? uselocale(unicode) : nullptr;
    std::mbstate_t state{};
    while (!text.empty()) {
        wchar_t character = 0;
        const std::size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
        const bool isCharacter = length > 0 && length <= text.size();
        const int columns = isCharacter ? wcwidth(character) : 1;
        const std::string_view bytes = text.substr(0, isCharacter ? length : 1);
        if (!isCharacter)
            state = {};
        if (!use(bytes, columns > 0 ? static_cast<std::size_t>(columns) : 0))
            break;
        text.remove_prefix(bytes.size());
    }
    if (before != nullptr)
        uselocale(before);
}

std::size_t columnsOfOutput() {
    winsize window = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : 80;
}

/// Makes the widths of columns smaller until they fit; 0 for a column that is left out.
void fit(const std::vector<Table::Column> &columns, std::vector<std::size_t> &widths) {
    constexpr std::size_t partOfUUID = 8, shortestText = 12;
    const std::size_t places = columnsOfOutput();
    const auto excess = [&] {
        std::size_t taken = 0;
        for (const std::size_t each : widths)
            taken += each > 0 ? each + gap : 0;
        return taken > places + gap ? taken - places - gap : 0;
    };
    const auto shrink = [&](Table::Kind kind, std::size_t least) {
        for (std::size_t i = columns.size(); i-- > 0;)
            if (columns[i].kind == kind && widths[i] > least)
                widths[i] -= std::min(widths[i] - least, kind == Table::Kind::uuid ? widths[i] : excess());
    };
    if (excess() > 0)
        shrink(Table::Kind::uuid, partOfUUID);
    if (excess() > 0)
        shrink(Table::Kind::text, shortestText);
    for (const int rank : {0, 1})
        for (std::size_t i = columns.size(); i-- > 0 && excess() > 0;)
            if (columns[i].rank == rank)
                widths[i] = 0;
}

} // namespace

std::size_t widthOf(std::string_view text) {
    std::size_t places = 0;
    forEachCharacter(text, [&](std::string_view, std::size_t width) {
        places += width;
        return true;
    });
    return places;
}

std::string cut(const std::string &text, std::size_t places) {
    if (widthOf(text) <= places)
        return text;
    std::string begin;
    std::size_t taken = 1; // by the ellipsis
    forEachCharacter(text, [&](std::string_view character, std::size_t width) {
        taken += width;
        if (taken > places)
            return false;
        begin += character;
        return true;
    });
    return begin.append(ellipsis);
}

void Table::add(std::vector<std::string> cells) {
    for (std::string &cell : cells)
        cell = escapingControls(cell);
    rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::widths() const {
    std::vector<std::size_t> widths = printedWidths;
    widths.resize(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!printedWidths.empty() && widths[i] == 0)
            continue; // left out
        widths[i] = std::max(widths[i], widthOf(columns[i].heading));
        for (const auto &row : rows)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    fit(columns, widths);
    return widths;
}

template <class CellAt>
void Table::printRow(const std::vector<std::size_t> &widths, bool isHeading, const CellAt &cellAt) const {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (widths[i] == 0)
            continue;
        const std::string &whole = cellAt(i);
        const std::string cell =
            columns[i].kind == Kind::uuid && !isHeading ? whole.substr(0, widths[i]) : cut(whole, widths[i]);
        const std::string padding(widths[i] - widthOf(cell), ' ');
        if (!line.empty())
            line.append(gap, ' ');
        line += columns[i].align == Align::right ? padding + cell : cell + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    printText((isHeading ? bold(line) : line) + "\n");
}

void Table::print() const {
    const std::vector<std::size_t> all = widths();
    if (printedWidths.empty())
        printRow(all, true, [&](std::size_t i) -> const std::string & { return columns[i].heading; });
    for (const auto &row : rows)
        printRow(all, false, [&](std::size_t i) -> const std::string & { return row[i]; });
}

void Table::printRows() {
    print();
    printedWidths = widths();
    rows.clear();
}

void printField(std::string_view label, std::string_view value) {
    constexpr std::size_t columns = 12;
    const std::size_t width = widthOf(label);
    print(fmt::format("{}{:{}}{}", label, "", width < columns ? columns - width : 1, value));
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
        advise(noteWhenEmpty);
    else if (!table.isEmpty())
        table.print();
}

void printListing(const JSON &list, const Table &table, std::string_view noteWhenEmpty, bool asJSON) {
    if (asJSON)
        printJSON(list);
    else if (table.isEmpty())
        advise(noteWhenEmpty);
    else
        table.print();
}

} // namespace wickerlane::cli
