// Trees and bytes for the tests of property lists.
#ifndef WICKERLANE_TESTS_PLATFORM_PROPERTYLIST_LISTS_H
#define WICKERLANE_TESTS_PLATFORM_PROPERTYLIST_LISTS_H

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/URL.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::test {

inline Dictionary *dictionary(std::initializer_list<std::pair<std::string_view, Object *>> entries) {
    return autorelease(Dictionary::createWithKeys(entries));
}

inline Data *makeData(std::string_view bytes) {
    return autorelease(Data::create(bytes.data(), bytes.size()));
}

inline std::string stringOf(const Data &data) {
    return {static_cast<const char *>(data.bytes()), data.length()};
}

// Empty when it could not be written.
inline std::string written(const Object *root) {
    Ref<Error> error;
    const auto data = createPropertyListData(root, &error);
    EXPECT_EQ(static_cast<bool>(data), !error);
    return data ? stringOf(*data) : std::string();
}

inline Ref<Object> readBack(std::string_view bytes, Ref<Error> *error = nullptr,
                            PropertyListFormat *format = nullptr) {
    return createPropertyListObject(std::as_bytes(std::span(bytes)), error, format);
}

// Why it cannot be read; says so when it can.
inline std::string reasonFor(std::string_view bytes) {
    Ref<Error> error;
    const auto root = readBack(bytes, &error);
    if (root)
        return "(read as " + std::string(root->description()->utf8()) + ")";
    return error ? std::string(error->localizedDescription()->utf8()) : "(no error)";
}

inline std::string bigEndian(std::uint64_t value, std::size_t size) {
    std::string bytes(size, '\0');
    for (; size != 0; value >>= 8)
        bytes[--size] = static_cast<char>(value);
    return bytes;
}

struct Trailer {
    std::uint8_t offsetSize = 1;
    std::uint8_t referenceSize = 1;
    std::optional<std::uint64_t> count = {}; // otherwise what there is
    std::uint64_t root = 0;
    std::optional<std::uint64_t> table = {}; // otherwise where it is
};

inline std::string trailer(const Trailer &t) {
    return std::string(6, '\0') + static_cast<char>(t.offsetSize) + static_cast<char>(t.referenceSize) +
           bigEndian(*t.count, 8) + bigEndian(t.root, 8) + bigEndian(*t.table, 8);
}

// A binary list of the objects' bytes; offsets take the fewest bytes unless `t` says otherwise.
inline std::string assemble(const std::vector<std::string> &objects, Trailer t = {}) {
    std::string bytes = "bplist00";
    std::vector<std::size_t> offsets;
    for (const std::string &object : objects) {
        offsets.push_back(bytes.size());
        bytes += object;
    }
    const std::size_t table = bytes.size();
    if (t.offsetSize == 1)
        t.offsetSize = table <= 0xFF ? 1 : (table <= 0xFFFF ? 2 : 4);
    for (const std::size_t offset : offsets)
        bytes += bigEndian(offset, t.offsetSize);
    t.count = t.count.value_or(objects.size());
    t.table = t.table.value_or(table);
    return bytes + trailer(t);
}

} // namespace wickerlane::test

#endif
