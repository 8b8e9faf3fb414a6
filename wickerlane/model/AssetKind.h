// Photos and videos.
#ifndef WICKERLANE_MODEL_ASSETKIND_H
#define WICKERLANE_MODEL_ASSETKIND_H

#include <cstdint>

namespace wickerlane {

/// The numbers are those that travel in requests and stand in the database.
enum class AssetKind : std::uint8_t { photo = 0, video = 1 };

} // namespace wickerlane

#endif
