// The kinds of the items of a collection.
#ifndef WICKERLANE_UTIL_TEXTS_JXITEMKINDS_H
#define WICKERLANE_UTIL_TEXTS_JXITEMKINDS_H

#include "wickerlane/platform/object/String.h"
#include "wickerlane/util/texts/JXItemCollection.h"

// May be called from any thread.

/// The name of a collection in the keys of texts: "PHOTO" when all items are photos, "VIDEO" when all are
/// videos, "ITEM" for items of the other two kinds or of several kinds, and for no items; null when all items
/// have the same unknown kind. Never destroyed.
WL_EXTERN_C wickerlane::String *JXSuffixForItems(JXItemCollection items);

/// Counts the items of each kind; those of unknown kinds are not counted. No counter may be null.
WL_EXTERN_C void JXAssetCountsByType(JXItemCollection items, std::uint64_t *photos, std::uint64_t *videos,
                                     std::uint64_t *kind2, std::uint64_t *kind3);

#endif
