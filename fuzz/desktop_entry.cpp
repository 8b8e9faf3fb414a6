// Any text: an entry is read or not, and what is read of it is text.
#include "wickerlane/platform/applications/library/DesktopEntry.h"

#include <cstdint>
#include <cstdlib>

#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(bytes), size);
    const auto entry = parseDesktopEntry(text);
    if (!entry)
        return 0;
    for (const std::string &value : {entry->type, entry->name, entry->tryExec})
        if (!String::create(value) || value.size() > text.size())
            std::abort();
    // Another group behind it changes nothing.
    const auto more = parseDesktopEntry(std::string(text) + "\n[Another]\nType=Link\nHidden=true\n");
    if (!more || more->type != entry->type || more->isHidden != entry->isHidden)
        std::abort();
    return 0;
}
