// What is read as a binary property list must, written and read again, be equal.
#include <cstdint>
#include <cstdlib>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

using namespace wickerlane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    ReleaseScope scope;
    Ref<Error> error;
    PropertyListFormat format{};
    const auto root = createPropertyListObject(std::as_bytes(std::span(bytes, size)), &error, &format);
    if (!root && !error)
        std::abort();
    if (!root || format != PropertyListFormat::binary)
        return 0;
    const auto once = createPropertyListData(root.get());
    if (!once)
        std::abort();
    // Compared as bytes: shared containers can make a tree too large to be walked, and not-a-number is not
    // equal to itself.
    const auto again = createPropertyListObject(once->span());
    const auto twice = createPropertyListData(again.get());
    if (!twice || !once->isEqual(twice.get()))
        std::abort();
    return 0;
}
