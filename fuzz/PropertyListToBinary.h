// What the targets of the forms that are only read have in common.
#ifndef WICKERLANE_FUZZ_PROPERTYLISTTOBINARY_H
#define WICKERLANE_FUZZ_PROPERTYLISTTOBINARY_H

#include <cstdint>
#include <cstdlib>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane::fuzz {

/// What is read in the given form can be written in the binary one, and comes back equal from it; what can't
/// be read gives an error. Stops the process otherwise.
inline void checkPropertyListToBinary(const std::uint8_t *bytes, std::size_t size,
                                      PropertyListFormat wanted) {
    ReleaseScope scope;
    Ref<Error> error;
    PropertyListFormat format{};
    const auto root = createPropertyListObject(std::as_bytes(std::span(bytes, size)), &error, &format);
    if (!root && !error)
        std::abort();
    if (!root || format != wanted)
        return;
    const auto binary = createPropertyListData(root.get());
    if (!binary)
        std::abort();
    const auto back = createPropertyListObject(binary->span());
    if (!back || !root->isEqual(back.get()))
        std::abort();
}

} // namespace wickerlane::fuzz

#endif
