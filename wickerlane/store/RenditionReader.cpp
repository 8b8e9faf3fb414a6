#include "wickerlane/store/RenditionReader.h"

#include "wickerlane/platform/propertylist/PropertyList.h"
#include "wickerlane/store/AssetColumns.h"

namespace wickerlane::store {

using sqlite::Database;
using sqlite::Statement;

Ref<Dictionary> Rendition::properties() const {
    if (codedProperties.empty())
        return nullptr;
    const auto object = createPropertyListObject(codedProperties);
    return Ref<Dictionary>(as<Dictionary>(object.get()));
}

Result<std::optional<Rendition>> readRendition(Database &database, std::string_view uuid) {
    return database.prepare("SELECT filename, sha256, properties FROM zrendition WHERE assetuuid = ?")
        .bind(uuid)
        .first([](const Statement &row) {
            const Bytes properties = row.blob(2);
            return Rendition{std::string(row.text(0)), sumIn(row, 1), {properties.begin(), properties.end()}};
        });
}

Result<std::optional<Rendition>> readRendition(const LibraryPaths &paths, std::string_view uuid) {
    auto database = Database::open(paths.database(), Database::Access::read);
    if (!database)
        return passOn(database);
    return readRendition(*database, uuid);
}

} // namespace wickerlane::store
