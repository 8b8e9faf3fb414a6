// What is made of an asset after it was saved: its edited rendition, and its thumbnails anew.
#ifndef HOARDD_PICTURES_RENDITIONS_H
#define HOARDD_PICTURES_RENDITIONS_H

#include <string>

#include "hoardd/library/Library.h"
#include "hoardd/pictures/NewThumbnails.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::hoardd {

/// Works on an open library, and blocks. Its functions give an empty text on success, else the reason;
/// whatever the instant of a kill, the asset has its earlier rendition and thumbnails or the new ones.
/// Thread-safe.
class Renditions {
public:
    explicit Renditions(Library &opened) : library(opened) {}

    /// Where an asset's edited rendition is; empty when it has none.
    [[nodiscard]] std::string pathOf(const store::AssetRecord &asset) const;

    /// Gives an asset an edited rendition: a picture that can be decoded, with properties of the editor's own
    /// (may be null). Its thumbnails are made of it. The same picture once more changes nothing.
    [[nodiscard]] std::string set(const store::AssetRecord &asset, const Data &picture,
                                  const Dictionary *properties);

    /// Makes the thumbnails of an asset, of its edited rendition if it has one: when some are missing, or in
    /// any case if `force`. A new index tells caches of thumbnails that there are others now.
    [[nodiscard]] std::string makeThumbnails(const store::AssetRecord &asset, bool force, bool newIndex);

private:
    [[nodiscard]] std::string make(int picture, NewThumbnails &thumbnails);
    [[nodiscard]] std::string publish(NewThumbnails &thumbnails, const store::AssetRecord &asset,
                                      bool newIndex);

    Library &library;
};

} // namespace wickerlane::hoardd

#endif
