#include "wickerlane/store/Schema.h"

#include <algorithm>

namespace wickerlane::store {

void bindRecord(sqlite::Statement &statement, const AssetRecord &record) {
    statement.bind(record.uuid, static_cast<int>(record.kind), record.directory, record.filename,
                   record.originalFilename, record.format, record.width, record.height, record.orientation,
                   record.dateCreated, record.dateAdded, record.latitude, record.longitude, record.byteSize,
                   Bytes(record.sha256), record.thumbnailIndex, record.problem);
}

AssetRecord readRecord(const sqlite::Statement &statement) {
    AssetRecord record;
    int column = 0;
    const auto integer = [&] { return statement.integer(column++); };
    const auto text = [&] { return std::string(statement.text(column++)); };
    const auto optionalReal = [&]() -> std::optional<double> {
        const int at = column++;
        return statement.isNull(at) ? std::nullopt : std::optional(statement.real(at));
    };
    record.primaryKey = integer();
    record.uuid = text();
    record.kind = integer() == 1 ? AssetKind::video : AssetKind::photo;
    record.directory = text();
    record.filename = text();
    record.originalFilename = text();
    record.format = text();
    record.width = static_cast<std::uint32_t>(integer());
    record.height = static_cast<std::uint32_t>(integer());
    record.orientation = static_cast<std::uint32_t>(integer());
    record.dateCreated = statement.real(column++);
    record.dateAdded = statement.real(column++);
    record.latitude = optionalReal();
    record.longitude = optionalReal();
    record.byteSize = static_cast<std::uint64_t>(integer());
    const Bytes sum = statement.blob(column++);
    std::copy_n(sum.begin(), std::min(sum.size(), record.sha256.size()), record.sha256.begin());
    record.thumbnailIndex = integer();
    record.problem = text();
    return record;
}

} // namespace wickerlane::store
