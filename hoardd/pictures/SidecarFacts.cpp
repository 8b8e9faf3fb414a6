#include "hoardd/pictures/SidecarFacts.h"

namespace wickerlane::hoardd {

void readSidecar(Library &library, int file, AssetRecord &record) {
    const auto facts = library.media().readMetadata(file);
    if (!facts)
        return;
    if (facts->rating != 0)
        record.rating = facts->rating;
    if (const std::string_view caption = facts->caption.text(); !caption.empty())
        record.caption = caption;
    if (const std::string_view keywords = facts->keywords.text(); !keywords.empty())
        record.keywords = keywords;
}

} // namespace wickerlane::hoardd
