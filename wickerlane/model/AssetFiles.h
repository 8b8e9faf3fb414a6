// The files that an asset may have besides its original.
#ifndef WICKERLANE_MODEL_ASSETFILES_H
#define WICKERLANE_MODEL_ASSETFILES_H

#include <cstdint>
#include <string>

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/URL.h"

namespace wickerlane {

/// The edited picture that is shown instead of the original.
struct EditedRendition {
    Ref<URL> file;              ///< Null when the asset has none.
    Ref<Dictionary> properties; ///< What the editor said of it; null when it said nothing.
};

/// The second file of an asset's shot: the raw file of a picture, or the short video that was taken with it.
struct CompanionRecord {
    std::string assetUUID;
    std::string path;
    std::string originalFilename; ///< What its sender called it; may be empty.
    std::string format;           ///< Media type, told by content.
    std::uint64_t byteSize = 0;
};

} // namespace wickerlane

#endif
