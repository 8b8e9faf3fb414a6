#include "hoardd/pictures/SidecarFacts.h"

#include <fcntl.h>

#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

void readSidecar(Library &library, int file, AssetRecord &record) {
    const auto facts = library.media().readMetadata(file);
    if (!facts) {
        if (facts.error().kind != ProblemKind::invalid)
            record.dueDetails |= dueRating | dueCaption | dueKeywords;
        return;
    }
    if (facts->rating != 0)
        record.rating = facts->rating;
    if (const std::string_view caption = facts->caption.text(); !caption.empty())
        record.caption = caption;
    if (const std::string_view keywords = facts->keywords.text(); !keywords.empty())
        record.keywords = keywords;
}

void readKeptSidecar(Library &library, AssetRecord &record) {
    if (const UniqueFd file = openFile(library.paths().sidecar(record.uuid), O_RDONLY | O_NONBLOCK))
        readSidecar(library, file.get(), record);
}

} // namespace wickerlane::hoardd
