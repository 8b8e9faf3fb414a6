// What is read as an XML property list can be written, and comes back equal from the binary form.
#include "fuzz/PropertyListToBinary.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    wickerlane::fuzz::checkPropertyListToBinary(bytes, size, wickerlane::PropertyListFormat::xml);
    return 0;
}
