// Arrays and dictionaries. What they hold lives as long as they do.
#ifndef WICKERLANE_API_WLCOLLECTIONS_H
#define WICKERLANE_API_WLCOLLECTIONS_H

#include "wickerlane/api/WLTypes.h"

/// An array of so many objects, which it retains. Null when one of them is null.
WL_EXTERN_C WLArray *WLArrayCreate(WLObject *const *elements, size_t count);

WL_EXTERN_C size_t WLArrayCount(const WLArray *array);

/// Null when there is no such element, and for arrays of things that are no objects.
WL_EXTERN_C WLObject *WLArrayGet(const WLArray *array, size_t index);

/// A dictionary of so many entries with texts as keys; it retains the values. Of equal keys the last one
/// counts. Null when a key is null or not UTF-8, or a value null.
WL_EXTERN_C WLDictionary *WLDictionaryCreate(const char *const *keys, WLObject *const *values, size_t count);

WL_EXTERN_C size_t WLDictionaryCount(const WLDictionary *dictionary);

/// The value under a text. Null when there is none.
WL_EXTERN_C WLObject *WLDictionaryGet(const WLDictionary *dictionary, const char *key);

// The entries in order. Null when there is no such one.

WL_EXTERN_C WLObject *WLDictionaryKeyAt(const WLDictionary *dictionary, size_t index);
WL_EXTERN_C WLObject *WLDictionaryValueAt(const WLDictionary *dictionary, size_t index);

#endif
