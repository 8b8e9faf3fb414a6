// Property lists: trees of strings, numbers, dates, data, arrays and dictionaries as bytes.
#ifndef WICKERLANE_PLATFORM_PROPERTYLIST_PROPERTYLIST_H
#define WICKERLANE_PLATFORM_PROPERTYLIST_PROPERTYLIST_H

#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Error.h"

namespace wickerlane {

enum class PropertyListFormat { binary, xml, text };

/// Writes the binary format, version 1.0: equal objects once, numbers and references in their smallest sizes.
/// Null, with a reason in `error` when not null, when the tree holds something that is not a property list.
/// Null with null for a null root.
[[nodiscard]] WL_EXPORT Ref<Data> createPropertyListData(const Object *root, Ref<Error> *error = nullptr);

/// Reads any of the three formats, told by the contents. Objects are immutable. Hostile bytes give null and a
/// reason: depth (at most 512), counts, offsets, cycles and sizes are checked, and memory stays within a small
/// multiple of the input. `format`, when not null, receives what it was.
[[nodiscard]] WL_EXPORT Ref<Object> createPropertyListObject(Bytes bytes, Ref<Error> *error = nullptr,
                                                             PropertyListFormat *format = nullptr);

} // namespace wickerlane

#endif
