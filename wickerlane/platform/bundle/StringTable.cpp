#include "wickerlane/platform/bundle/StringTable.h"

#include <vector>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {

Ref<Dictionary> createStringTable(Bytes bytes) {
    const Ref<Object> root = createPropertyListObject(bytes);
    return as<Dictionary>(root.get());
}

Ref<Dictionary> createStringTableFromFile(const std::string &path) {
    std::vector<std::byte> bytes;
    return readFile(path, bytes, maxStringTableBytes) ? createStringTable(bytes) : nullptr;
}

} // namespace wickerlane
