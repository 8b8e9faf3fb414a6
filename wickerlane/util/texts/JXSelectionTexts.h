// Texts about the selection of photos and videos.
#ifndef WICKERLANE_UTIL_TEXTS_JXSELECTIONTEXTS_H
#define WICKERLANE_UTIL_TEXTS_JXSELECTIONTEXTS_H

#include "wickerlane/platform/object/String.h"
#include "wickerlane/util/texts/JXItemCollection.h"

// May be called from any thread. Texts are those of this process's language; they are borrowed.

/// "Select Photos" or "Select Videos" when `totalCount` counts nothing else; else "Select Items".
WL_EXTERN_C wickerlane::String *JXLocalizedSelectionPromptForItemCounts(std::uint64_t photoCount,
                                                                        std::uint64_t videoCount,
                                                                        std::uint64_t totalCount);
/// The same for a collection.
WL_EXTERN_C wickerlane::String *JXLocalizedSelectionPromptForItems(JXItemCollection items);

/// Returns the name of a collection in the keys of texts, or null for no name.
using JXSuffixFunction = wickerlane::String *(*)(JXItemCollection items);

/// The text of an action on a collection. Its key joins the action and the name from `suffixFunction`:
/// "SELECTED_PHOTO" for one item, "SELECTED_PHOTOS" for several, "SELECTED" without a name. Null for an empty
/// collection.
WL_EXTERN_C wickerlane::String *JXLocalizedStringForAction(wickerlane::String *action, JXItemCollection items,
                                                           JXSuffixFunction suffixFunction);

/// "3 Photos Selected". Null for an empty collection.
WL_EXTERN_C wickerlane::String *JXLocalizedSelectionMessageForItems(JXItemCollection items);

/// The prompt of a picker that adds to an album: "Add 3 photos to “Paris”", or, while nothing is picked, "Add
/// photos to “Paris”".
WL_EXTERN_C wickerlane::String *JXLocalizedAddPhotosPickerPromptForItems(JXItemCollection pickedItems,
                                                                         wickerlane::String *albumName);

/// Warns that items will be hidden in all albums that contain them: "These photos will be hidden everywhere,
/// including in 2 albums." Null for an empty collection. For 0 albums it is the text for several, with its
/// placeholder unfilled.
WL_EXTERN_C wickerlane::String *JXLocalizedHideItemsEverywhereWarning(JXItemCollection items,
                                                                      std::uint64_t albumCount);

#endif
