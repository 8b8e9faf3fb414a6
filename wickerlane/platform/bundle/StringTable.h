// String tables: the texts of one localization, by their keys.
#ifndef WICKERLANE_PLATFORM_BUNDLE_STRINGTABLE_H
#define WICKERLANE_PLATFORM_BUNDLE_STRINGTABLE_H

#include <string>

#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane {

/// How large a file of texts may be.
inline constexpr std::size_t maxStringTableBytes = std::size_t{16} << 20;

/// Reads a string table in any form of a property list: the text form ("key" = "text"; in UTF-8, or in UTF-16
/// with a byte order mark), XML or binary. Null for bytes that are no dictionary. Thread-safe.
[[nodiscard]] WL_EXPORT Ref<Dictionary> createStringTable(Bytes bytes);

/// The same from a regular file. Null also for a file that can't be read, is larger than the limit, or is a
/// symbolic link. Thread-safe.
[[nodiscard]] WL_EXPORT Ref<Dictionary> createStringTableFromFile(const std::string &path);

} // namespace wickerlane

#endif
