// Arrays and dictionaries, which are immutable. Elements, keys and values are borrowed; they live at least as
// long as the collection.
#ifndef WICKERLANE_API_WLCOLLECTIONS_H
#define WICKERLANE_API_WLCOLLECTIONS_H

#include "wickerlane/api/WLTypes.h"

/// An array of `count` objects, which it retains. Null when one of them is null.
WL_EXTERN_C WLArray *WLArrayCreate(WLObject *const *elements, size_t count);

WL_EXTERN_C size_t WLArrayCount(const WLArray *array);

/// The element at an index, which counts from 0. Null when there is none, and when the elements are not
/// objects.
WL_EXTERN_C WLObject *WLArrayGet(const WLArray *array, size_t index);

/// A dictionary of `count` entries with texts as keys; it retains the values. Of equal keys the last one
/// counts. Null when a key is null or not UTF-8, or a value is null.
WL_EXTERN_C WLDictionary *WLDictionaryCreate(const char *const *keys, WLObject *const *values, size_t count);

WL_EXTERN_C size_t WLDictionaryCount(const WLDictionary *dictionary);

/// The value under a key. Null when there is none.
WL_EXTERN_C WLObject *WLDictionaryGet(const WLDictionary *dictionary, const char *key);

// Key and value of the entry at an index, which counts from 0, in the order of the dictionary. Null when
// there is none.

WL_EXTERN_C WLObject *WLDictionaryKeyAt(const WLDictionary *dictionary, size_t index);
WL_EXTERN_C WLObject *WLDictionaryValueAt(const WLDictionary *dictionary, size_t index);

#endif
