// What is read as a text property list can be written, and comes back equal from the binary form.
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
    if (!root || format != PropertyListFormat::text)
        return 0;
    const auto binary = createPropertyListData(root.get());
    if (!binary)
        std::abort();
    const auto back = createPropertyListObject(binary->span());
    if (!back || !root->isEqual(back.get()))
        std::abort();
    return 0;
}
