// Property lists: trees of strings, numbers, dates, data, arrays and dictionaries as bytes.
#ifndef WICKERLANE_PLATFORM_PROPERTYLIST_PROPERTYLIST_H
#define WICKERLANE_PLATFORM_PROPERTYLIST_PROPERTYLIST_H

#include <limits>

#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Error.h"

namespace wickerlane {

enum class PropertyListFormat { binary, xml, text };

/// Codes, in platformErrorDomain, of the errors that the functions below give.
enum class PropertyListErrorCode : std::int64_t {
    corrupt = 1, ///< The bytes are not a property list; the description says where and why.
    unsupported =
        2,        ///< The tree holds what no property list can; the description names the place by its keys.
    tooLarge = 3, ///< A limit on depth, size or memory was reached.
};

/// Containers nest at most so deep, in what is written and in what is read.
inline constexpr std::size_t propertyListDepthLimit = 512;

/// Writes the binary format, version 1.0: equal objects once, numbers and references in their smallest sizes,
/// dictionaries in the order of their entries. A container that occurs in several places is written once;
/// equal but distinct containers stay distinct. Null, with a reason in `error` when not null, when the tree
/// holds something that is not a property list, a key that is not text, or a container that contains itself.
/// Null without an error for a null root. Text that holds lone surrogates is written with U+FFFD in their
/// place.
[[nodiscard]] WL_EXPORT Ref<Data> createPropertyListData(const Object *root, Ref<Error> *error = nullptr);

/// Reads any of the three formats, told by the contents: binary, XML, and the text form, which is one value
/// (`{ key = value; }`, `( a, b )`, `<0fa0>`, "text" or a bare word) or a string table (`"key" = "value";`
/// lines, where `key;` stands for a value equal to its key). Text may be UTF-8, or UTF-16 with a byte order
/// mark; nothing but white space and comments is an empty table. Objects are immutable. Integers up to
/// INT64_MAX are read as signed numbers, greater ones as unsigned. Of equal keys in one dictionary the last
/// one counts.
///
/// Hostile bytes give null and a reason: depth, counts, offsets, cycles and sizes are checked, and memory
/// stays within a small multiple of the input, which the XML form limits to 256 MiB and the text form to 16
/// MiB. `format`, when not null, receives what it was. A tree that would take more than about `memory` bytes
/// is not read.
[[nodiscard]] WL_EXPORT Ref<Object>
createPropertyListObject(Bytes bytes, Ref<Error> *error = nullptr, PropertyListFormat *format = nullptr,
                         std::size_t memory = std::numeric_limits<std::size_t>::max());

} // namespace wickerlane

#endif
