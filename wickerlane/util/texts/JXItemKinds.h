// Of which kinds the items of a collection are.
#ifndef WICKERLANE_UTIL_TEXTS_JXITEMKINDS_H
#define WICKERLANE_UTIL_TEXTS_JXITEMKINDS_H

#include "wickerlane/platform/object/String.h"
#include "wickerlane/util/texts/JXItemCollection.h"

// May be called from any thread.

/// What a collection is called in the keys of texts: "PHOTO" when all its items are photos, "VIDEO" when all
/// are videos, "ITEM" for a mixed or empty collection and one of another kind; null when all are of one kind
/// that there is not. Immortal.
WL_EXTERN_C wickerlane::String *JXSuffixForItems(JXItemCollection items);

/// Counts the items of each kind. Items of other kinds are not counted. No counter may be null.
WL_EXTERN_C void JXAssetCountsByType(JXItemCollection items, std::uint64_t *photos, std::uint64_t *videos,
                                     std::uint64_t *kind2, std::uint64_t *kind3);

#endif
