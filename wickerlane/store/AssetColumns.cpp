#include "wickerlane/store/AssetColumns.h"

#include <algorithm>
#include <array>

#include "wickerlane/model/AssetFields.h"

namespace wickerlane::store {

using sqlite::Statement;

namespace {

template <class Value>
void bindValue(Statement &statement, const Value &value) {
    statement.bind(value);
}
void bindValue(Statement &statement, AssetKind kind) {
    statement.bind(static_cast<int>(kind));
}
void bindValue(Statement &statement, const Sha256 &sum) {
    statement.bind(Bytes(sum));
}

template <std::integral Integer>
void readValue(const Statement &row, int column, Integer &value) {
    value = static_cast<Integer>(row.integer(column));
}
void readValue(const Statement &row, int column, double &value) {
    value = row.real(column);
}
void readValue(const Statement &row, int column, std::optional<double> &value) {
    value = optionalRealIn(row, column);
}
void readValue(const Statement &row, int column, std::optional<std::int64_t> &value) {
    value = row.isNull(column) ? std::nullopt : std::optional(row.integer(column));
}
void readValue(const Statement &row, int column, std::string &value) {
    value = row.text(column);
}
void readValue(const Statement &row, int column, AssetKind &value) {
    value = kindIn(row, column);
}
void readValue(const Statement &row, int column, Sha256 &value) {
    value = sumIn(row, column);
}

struct Column {
    std::string_view name;
    void (*bind)(Statement &, const AssetRecord &);
    void (*read)(const Statement &, int, AssetRecord &);
};

constexpr auto columns = std::apply(
    []<auto... members>(const AssetMember<members> &...each) {
        return std::array{Column{
            each.name,
            [](Statement &statement, const AssetRecord &record) { bindValue(statement, record.*members); },
            [](const Statement &row, int index, AssetRecord &record) {
                readValue(row, index, record.*members);
            }}...};
    },
    assetMembers);

/// SQL that is put together while this is compiled.
struct SQL {
    std::array<char, 1024> characters{};
    std::size_t length = 0;

    constexpr void append(std::string_view text) {
        for (const char each : text)
            characters.at(length++) = each;
    }
    [[nodiscard]] constexpr std::string_view text() const { return {characters.data(), length}; }
};

constexpr SQL insertion = [] {
    SQL sql;
    sql.append("INSERT INTO zgenericasset (");
    for (std::size_t i = 0; i < columns.size(); ++i) {
        sql.append(i == 0 ? "" : ", ");
        sql.append(columns[i].name);
    }
    sql.append(") VALUES (");
    for (std::size_t i = 0; i < columns.size(); ++i)
        sql.append(i == 0 ? "?" : ",?");
    sql.append(")");
    return sql;
}();

/// The key and the columns of the records, with what follows them.
constexpr SQL selectionWith(std::string_view rest) {
    SQL sql;
    sql.append("SELECT pk");
    for (const Column &each : columns) {
        sql.append(", ");
        sql.append(each.name);
    }
    sql.append(rest);
    return sql;
}

constexpr SQL selection = selectionWith(" FROM zgenericasset ");
constexpr SQL trashSelection = selectionWith(", datetrashed FROM ztrashedasset ");

} // namespace

constinit const std::string_view insertAsset = insertion.text();
constinit const std::string_view selectAssets = selection.text();
constinit const std::string_view selectTrashedAssets = trashSelection.text();
constinit const int trashedDateColumn = columns.size() + 1;

void bindRecord(Statement &statement, const AssetRecord &record) {
    for (const Column &each : columns)
        each.bind(statement, record);
}

AssetKind kindIn(const Statement &row, int column) {
    return row.integer(column) == 1 ? AssetKind::video : AssetKind::photo;
}

Sha256 sumIn(const Statement &row, int column) {
    Sha256 sum{};
    const Bytes bytes = row.blob(column);
    std::copy_n(bytes.begin(), std::min(bytes.size(), sum.size()), sum.begin());
    return sum;
}

std::optional<double> optionalRealIn(const Statement &row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(row.real(column));
}

AssetRecord readRecord(const Statement &row) {
    AssetRecord record;
    readRecordInto(record, row);
    return record;
}

void readRecordInto(AssetRecord &record, const Statement &row) {
    record.primaryKey = row.integer(0);
    for (int index = 1; const Column &each : columns)
        each.read(row, index++, record);
}

} // namespace wickerlane::store
