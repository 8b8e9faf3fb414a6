// The kind of a collection as a whole.
#ifndef WICKERLANE_UTIL_TEXTS_PHOTOTYPEINTERNAL_H
#define WICKERLANE_UTIL_TEXTS_PHOTOTYPEINTERNAL_H

#include "wickerlane/util/texts/JXItemCollection.h"

namespace wickerlane {

/// The kind of all items; JXAssetKindFourth for no items and for items of several kinds.
[[nodiscard]] std::uint16_t photoTypeForItems(JXItemCollection items);

} // namespace wickerlane

#endif
