#include "hoardd/library/StoreNotes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

#include "hoardd/library/DurableFolders.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/KeptSums.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

namespace fs = std::filesystem;
using sqlite::ColumnType;
using sqlite::Database;
using sqlite::Statement;
using store::LibraryPaths;

namespace {

/// What is noted, and by which column a row is known; or by which two, of the keys of assets.
struct NotedTable {
    const char *name;
    const char *key;
    const char *otherKey = nullptr;
};
constexpr NotedTable notedTables[] = {
    {"zlibrary", "uuid"},
    {"zgenericasset", "uuid"},
    {"zrendition", "assetuuid"},
    {"zcompanion", "assetuuid"},
    {"znotduplicate", "one", "other"},
    {"ztrashedasset", "uuid"},
    {"ztrashedrendition", "assetuuid"},
    {"ztrashedcompanion", "assetuuid"},
    {"ztrashednotduplicate", "one", "other"},
    {"zalbum", "uuid"},
    {"zperson", "personid"},
    {"zemail", "key"},
};

/// The key of a row, as an expression; `row` is empty, or names the row with a dot after it.
std::string keyIn(const NotedTable &table, const std::string &row) {
    return table.otherKey == nullptr ? row + table.key
                                     : row + table.key + " || ' ' || " + row + table.otherKey;
}

/// The columns that are noted: those of the row, and the UUIDs of two assets, whose keys may be others in the
/// store that gets the row back.
constexpr const char *columnsOfPair =
    "*, (SELECT uuid FROM zgenericasset WHERE pk = one UNION ALL SELECT uuid FROM ztrashedasset WHERE pk = "
    "one) "
    "AS oneuuid, (SELECT uuid FROM zgenericasset WHERE pk = other UNION ALL SELECT uuid FROM ztrashedasset "
    "WHERE pk = other) AS otheruuid";
const char *columnsOf(const NotedTable &table) {
    return table.otherKey == nullptr ? "*" : columnsOfPair;
}

/// The row of a key, as a condition for which an index serves.
std::string hasKey(const NotedTable &table) {
    return table.otherKey == nullptr
               ? std::string(table.key) + " = ?1"
               : std::string(table.key) + " = CAST(substr(?1, 1, instr(?1, ' ')) AS INTEGER) AND " +
                     table.otherKey + " = CAST(substr(?1, instr(?1, ' ')) AS INTEGER)";
}

const NotedTable *notedTable(std::string_view name) {
    const auto *found = std::ranges::find(notedTables, name, &NotedTable::name);
    return found == std::end(notedTables) ? nullptr : found;
}

constexpr std::size_t maxNotesBytes = std::size_t{4} << 30;
constexpr const char *completeFile = "/complete"; // there while no process writes notes
constexpr const char *unfinishedFile = "/unfinished";

std::string notesFile(const LibraryPaths &paths, std::uint64_t number) {
    std::string digits = std::to_string(number);
    return notesFolder(paths) + '/' + std::string(digits.size() < 8 ? 8 - digits.size() : 0, '0') + digits;
}

/// In ascending order.
std::vector<std::uint64_t> notesFiles(const LibraryPaths &paths) {
    std::vector<std::uint64_t> numbers;
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(notesFolder(paths), none)) {
        const std::string name = entry.path().filename();
        std::uint64_t number = 0;
        const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
        if (parsed.ec == std::errc() && parsed.ptr == name.data() + name.size())
            numbers.push_back(number);
    }
    std::ranges::sort(numbers);
    return numbers;
}

void appendHex(std::string &line, Bytes bytes) {
    constexpr const char *digits = "0123456789abcdef";
    for (const std::byte each : bytes) {
        line += digits[std::to_integer<unsigned>(each) >> 4];
        line += digits[std::to_integer<unsigned>(each) & 15];
    }
}

/// Escaped, so that no text ends a line or a column.
void appendText(std::string &line, std::string_view text) {
    for (const char each : text)
        if (static_cast<unsigned char>(each) < ' ' || each == '%') {
            line += '%';
            appendHex(line, std::as_bytes(std::span(&each, 1)));
        } else {
            line += each;
        }
}

int digitOf(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

std::string unescaped(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] == '%' && i + 2 < text.size() && digitOf(text[i + 1]) >= 0 && digitOf(text[i + 2]) >= 0) {
            plain += static_cast<char>(digitOf(text[i + 1]) * 16 + digitOf(text[i + 2]));
            i += 2;
        } else {
            plain += text[i];
        }
    return plain;
}

std::vector<std::byte> bytesOfHex(std::string_view hex) {
    std::vector<std::byte> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::byte>(digitOf(hex[i]) * 16 + digitOf(hex[i + 1])));
    return bytes;
}

/// "\tname=" and the value, with a letter for its type.
void appendColumn(std::string &line, const Statement &row, int column) {
    line.append("\t").append(row.columnName(column)).append("=");
    switch (row.type(column)) {
    case ColumnType::null:
        line += 'n';
        break;
    case ColumnType::integer:
        line.append("i").append(std::to_string(row.integer(column)));
        break;
    case ColumnType::real: {
        char digits[40];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), row.real(column)).ptr;
        line.append("r").append(std::begin(digits), end);
        break;
    }
    case ColumnType::text:
        line += 't';
        appendText(line, row.text(column));
        break;
    case ColumnType::blob:
        line += 'b';
        appendHex(line, row.blob(column));
        break;
    }
}

/// Of the rest of a line.
std::string sumOf(std::string_view rest) {
    std::string sum;
    if (const auto whole = store::sha256Of(std::as_bytes(std::span(rest))))
        appendHex(sum, Bytes(*whole).first(4));
    return sum;
}

std::string finishedLine(std::string rest) {
    std::string line = sumOf(rest);
    return line.append("\t").append(rest).append("\n");
}

std::string startOfLine(std::string_view table, std::string_view key) {
    std::string start(table);
    start += '\t';
    appendText(start, key);
    return start;
}

/// Finds the row of a key.
Statement selectRow(Database &database, const NotedTable &table) {
    return database.prepare(std::string("SELECT ") + columnsOf(table) + " FROM " + table.name + " WHERE " +
                            hasKey(table) + " LIMIT 1");
}

/// The line of a row, or of its absence.
Result<std::string> lineOf(Statement &select, const std::string &table, const std::string &key) {
    std::string line = startOfLine(table, key);
    const auto row = select.bind(key).first([&](const Statement &found) {
        for (int column = 0; column < found.columnCount(); ++column)
            appendColumn(line, found, column);
        return true;
    });
    if (!row)
        return passOn(row);
    return finishedLine(std::move(line));
}

template <class Use>
void forEachColumn(std::string_view columns, const Use &use) {
    while (!columns.empty()) {
        const std::size_t end = std::min(columns.find('\t'), columns.size());
        const std::string_view column = columns.substr(0, end);
        columns.remove_prefix(std::min(end + 1, columns.size()));
        const std::size_t equals = column.find('=');
        if (equals != std::string_view::npos && equals + 1 < column.size())
            use(column.substr(0, equals), column[equals + 1], column.substr(equals + 2));
    }
}

void noteLine(NotedRows &rows, std::string_view line) {
    constexpr std::size_t sumLength = 8;
    if (line.size() <= sumLength || line[sumLength] != '\t')
        return;
    const std::string_view rest = line.substr(sumLength + 1);
    const std::size_t tableEnd = rest.find('\t');
    if (tableEnd == std::string_view::npos || sumOf(rest) != line.substr(0, sumLength))
        return;
    const std::size_t keyEnd = std::min(rest.find('\t', tableEnd + 1), rest.size());
    std::pair<std::string, std::string> name(rest.substr(0, tableEnd),
                                             unescaped(rest.substr(tableEnd + 1, keyEnd - tableEnd - 1)));
    if (keyEnd == rest.size())
        rows.erase(name);
    else
        rows[std::move(name)] = rest.substr(keyEnd + 1);
}

} // namespace

StoreNotes::StoreNotes(LibraryPaths libraryPaths) : paths(std::move(libraryPaths)) {
    const auto files = notesFiles(paths);
    // A new file, since the last may end within a line.
    number = files.empty() ? 1 : files.back() + 1;
    incomplete = ::unlink((notesFolder(paths) + completeFile).c_str()) != 0;
}

namespace {

/// The size of what is derived from an asset is found out again, so that a change of it alone is not noted.
std::string unlessMeasured(std::string_view table, std::string_view event) {
    if (event != "UPDATE" || (table != "zgenericasset" && table != "ztrashedasset"))
        return {};
    const std::string column = store::derivedBytesColumn;
    return " WHEN old." + column + " IS new." + column;
}

} // namespace

Result<> StoreNotes::watch(Database &database) {
    std::string sql =
        "PRAGMA temp_store=MEMORY; CREATE TEMP TABLE IF NOT EXISTS tempnote (source TEXT, key TEXT, "
        "PRIMARY KEY (source, key)) WITHOUT ROWID;";
    for (const NotedTable &each : notedTables)
        for (const auto &[event, row] :
             {std::pair("INSERT", "new"), {"UPDATE", "new"}, {"UPDATE", "old"}, {"DELETE", "old"}}) {
            const std::string table = each.name, key = keyIn(each, std::string(row) + '.');
            // Not by OR IGNORE, which the statement that fires the trigger overrides.
            sql.append("CREATE TEMP TRIGGER IF NOT EXISTS note_").append(table).append(event).append(row);
            sql.append(" AFTER ")
                .append(event)
                .append(" ON main.")
                .append(table)
                .append(unlessMeasured(table, event));
            sql.append(" BEGIN INSERT INTO tempnote SELECT '").append(table).append("', ").append(key);
            sql.append(" WHERE NOT EXISTS (SELECT 1 FROM tempnote WHERE source = '").append(table);
            sql.append("' AND key = ").append(key).append("); END;");
        }
    if (const auto watched = database.execute(sql.c_str()); !watched)
        return watched;
    if (number != 1)
        return {};
    // Of a new store there is only its identity to be noted; an older one has to be noted whole.
    const auto hasAssets = database.prepare("SELECT 1 FROM zgenericasset").any();
    if (!hasAssets)
        return passOn(hasAssets);
    incomplete = *hasAssets;
    if (const auto noted =
            database.execute("INSERT OR IGNORE INTO tempnote SELECT 'zlibrary', uuid FROM zlibrary");
        !noted)
        return noted;
    noteChanges(database);
    return {};
}

void StoreNotes::noteChanges(Database &database) {
    const auto changed =
        database.prepare("SELECT source, key FROM tempnote ORDER BY source").all([](const Statement &row) {
            return std::pair(std::string(row.text(0)), std::string(row.text(1)));
        });
    if (!changed || changed->empty())
        return;
    std::string lines = isTorn ? "\n" : "";
    Result<> noted;
    const NotedTable *table = nullptr;
    std::optional<Statement> select;
    for (const auto &[name, key] : *changed) {
        if (table == nullptr || table->name != name) {
            table = notedTable(name);
            if (table == nullptr)
                continue;
            select.emplace(selectRow(database, *table));
        }
        auto line = lineOf(*select, name, key);
        if (!line)
            noted = passOn(line);
        else
            lines += *line;
    }
    if (!file && noted)
        noted = makeDurableFolder(notesFolder(paths));
    const std::string path = notesFile(paths, number);
    if (!file)
        file = openFile(path, O_WRONLY | O_APPEND | O_CREAT);
    isTorn = !file || !writeAll(file.get(), std::as_bytes(std::span(lines)));
    if (isTorn && noted)
        noted = failSystem("write", path);
    if (!noted) {
        incomplete = true;
        JX_LOG(JXLogLevelWarning, JXPhotosStateLog, "can't note beside the store what has changed: %s",
               noted.error().text.c_str());
    }
    // What could not be noted is noted with all else when the notes are rewritten.
    static_cast<void>(database.execute("DELETE FROM tempnote"));
}

std::uint64_t StoreNotes::beginFile() {
    file.reset();
    isTorn = incomplete = false;
    return number++;
}

void StoreNotes::end() {
    if (!incomplete && fs::exists(notesFolder(paths)))
        static_cast<void>(openFile(notesFolder(paths) + completeFile, O_WRONLY | O_CREAT));
}

std::vector<std::string> notedTableNames() {
    std::vector<std::string> names;
    for (const NotedTable &each : notedTables)
        names.emplace_back(each.name);
    return names;
}

NotedRows forgottenRows(const LibraryPaths &paths, Database &database) {
    const NotedRows rows = readNotes(paths);
    // One in the trash is not lacking, though a note of its deletion may be.
    const auto isForgotten = [&](const std::string &uuid, const std::string &columns) {
        AssetRecord asset;
        asset.directory = notedText(columns, "directory");
        asset.filename = notedText(columns, "filename");
        return !asset.directory.empty() && ::access(paths.original(asset).c_str(), F_OK) == 0 &&
               !database
                    .prepare("SELECT 1 FROM zgenericasset WHERE uuid = ?1 UNION ALL "
                             "SELECT 1 FROM ztrashedasset WHERE uuid = ?1")
                    .bind(uuid)
                    .any()
                    .value_or(true);
    };
    constexpr std::string_view places[] = {"z", "ztrashed"}; // with which the names of their tables begin
    constexpr std::string_view ofAnAsset[] = {"rendition", "companion"};
    NotedRows forgotten;
    for (const std::string_view place : places)
        for (const auto &[name, columns] : rows) {
            if (name.first != (place == "z" ? "zgenericasset" : "ztrashedasset") ||
                forgotten.contains(std::pair(std::string("zgenericasset"), name.second)) ||
                !isForgotten(name.second, columns))
                continue;
            forgotten.emplace(name, columns);
            for (const std::string_view each : ofAnAsset)
                if (const auto found = rows.find(std::pair(std::string(place).append(each), name.second));
                    found != rows.end())
                    forgotten.insert(*found);
        }
    const auto hasForgotten = [&](const std::string &columns, const char *which) {
        const std::string uuid = notedText(columns, which);
        return forgotten.contains(std::pair(std::string("zgenericasset"), uuid)) ||
               forgotten.contains(std::pair(std::string("ztrashedasset"), uuid));
    };
    NotedRows pairs;
    for (const auto &[name, columns] : rows)
        if (const NotedTable *table = notedTable(name.first); table != nullptr && table->otherKey != nullptr)
            if (hasForgotten(columns, "oneuuid") || hasForgotten(columns, "otheruuid"))
                pairs.emplace(name, columns);
    forgotten.merge(pairs);
    return forgotten;
}

Result<> rewriteNotes(const LibraryPaths &paths, std::uint64_t number, Database &database,
                      const NotedRows &lacking) {
    if (const auto made = makeDurableFolder(notesFolder(paths)); !made)
        return made;
    const std::string unfinished = notesFolder(paths) + unfinishedFile;
    const UniqueFd file = openFile(unfinished, O_WRONLY | O_CREAT | O_TRUNC);
    if (!file)
        return failSystem("make", unfinished);
    std::string lines;
    bool isWritten = true;
    constexpr std::size_t enough = 256 << 10;
    for (const NotedTable &table : notedTables) {
        const auto read = database
                              .prepare("SELECT CAST(" + keyIn(table, {}) + " AS TEXT), " + columnsOf(table) +
                                       " FROM " + table.name)
                              .forEach([&](const Statement &row) {
                                  std::string line = startOfLine(table.name, row.text(0));
                                  for (int column = 1; column < row.columnCount(); ++column)
                                      appendColumn(line, row, column);
                                  lines += finishedLine(std::move(line));
                                  if (lines.size() > enough) {
                                      isWritten =
                                          isWritten && writeAll(file.get(), std::as_bytes(std::span(lines)));
                                      lines.clear();
                                  }
                              });
        if (!read)
            return read;
    }
    for (const auto &[name, columns] : lacking)
        lines += finishedLine(startOfLine(name.first, name.second) + '\t' + columns);
    isWritten = isWritten && writeAll(file.get(), std::as_bytes(std::span(lines)));
    const std::string path = notesFile(paths, number);
    if (!isWritten || ::fsync(file.get()) != 0 || ::rename(unfinished.c_str(), path.c_str()) != 0) {
        const Failure failed = failSystem("write", path);
        ::unlink(unfinished.c_str());
        return failed;
    }
    if (const auto durable = makeNamesDurable(notesFolder(paths)); !durable)
        return durable;
    for (const std::uint64_t older : notesFiles(paths))
        if (older < number)
            ::unlink(notesFile(paths, older).c_str());
    return {};
}

NotedRows readNotes(const LibraryPaths &paths) {
    NotedRows rows;
    for (const std::uint64_t number : notesFiles(paths)) {
        std::vector<std::byte> bytes;
        if (!readFile(notesFile(paths, number), bytes, maxNotesBytes))
            continue;
        std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            noteLine(rows, text.substr(0, end));
            text.remove_prefix(end + 1);
        }
    }
    return rows;
}

std::string notedText(const std::string &columns, std::string_view name) {
    std::string text;
    forEachColumn(columns, [&](std::string_view column, char type, std::string_view value) {
        if (column == name && type == 't')
            text = unescaped(value);
    });
    return text;
}

namespace {

/// Between the two assets of these UUIDs, whatever their keys are now.
bool insertNotedPair(Database &database, const std::string &table, const std::string &columns) {
    return database
               .prepare("WITH known AS (SELECT pk, uuid FROM zgenericasset UNION ALL "
                        "SELECT pk, uuid FROM ztrashedasset), "
                        "pair AS (SELECT min(a.pk, b.pk) AS low, max(a.pk, b.pk) AS high "
                        "FROM known AS a, known AS b WHERE a.uuid = ?1 AND b.uuid = ?2 AND a.pk <> b.pk) "
                        "INSERT INTO " +
                        table +
                        " (one, other) SELECT low, high FROM pair WHERE NOT EXISTS "
                        "(SELECT 1 FROM " +
                        table + " WHERE one = low AND other = high)")
               .bind(notedText(columns, "oneuuid"), notedText(columns, "otheruuid"))
               .run() &&
           database.integer("SELECT changes()").value_or(0) > 0 &&
           database.execute("UPDATE zduplicatestate SET changed = changed + 1");
}

} // namespace

bool insertNotedRow(Database &database, const std::string &table, const std::string &columns) {
    if (const NotedTable *noted = notedTable(table); noted != nullptr && noted->otherKey != nullptr)
        return insertNotedPair(database, table, columns);
    const auto known =
        database.prepare("SELECT name FROM pragma_table_info(?)").bind(table).all([](const Statement &row) {
            return std::string(row.text(0));
        });
    if (!known)
        return false;
    struct Value {
        char type;
        std::string text;
        std::vector<std::byte> bytes;
    };
    std::vector<Value> values;
    std::string names, places;
    forEachColumn(columns, [&](std::string_view column, char type, std::string_view value) {
        if (std::ranges::find(*known, column) == known->end() || column == store::derivedBytesColumn)
            return;
        names.append(names.empty() ? "" : ", ").append(column);
        places.append(places.empty() ? "?" : ", ?");
        values.push_back({type, type == 'b' ? std::string() : unescaped(value),
                          type == 'b' ? bytesOfHex(value) : std::vector<std::byte>()});
    });
    auto insert =
        database.prepare("INSERT OR IGNORE INTO " + table + " (" + names + ") VALUES (" + places + ")");
    for (const Value &each : values)
        switch (each.type) {
        case 'i': {
            std::int64_t number = 0;
            std::from_chars(each.text.data(), each.text.data() + each.text.size(), number);
            insert.bind(number);
            break;
        }
        case 'r': {
            double number = 0;
            std::from_chars(each.text.data(), each.text.data() + each.text.size(), number);
            insert.bind(number);
            break;
        }
        case 't':
            insert.bind(std::string_view(each.text));
            break;
        case 'b':
            insert.bind(Bytes(each.bytes));
            break;
        default:
            insert.bind(std::optional<std::int64_t>());
        }
    return insert.run() && database.integer("SELECT changes()").value_or(0) > 0;
}

} // namespace wickerlane::hoardd
