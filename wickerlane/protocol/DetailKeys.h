// What the properties of setDetails:forPhotos: may say; none is required.
#ifndef WICKERLANE_PROTOCOL_DETAILKEYS_H
#define WICKERLANE_PROTOCOL_DETAILKEYS_H

#include <string_view>

namespace wickerlane::protocol::detail {

inline constexpr std::string_view favourite = "favourite"; ///< Boolean.
inline constexpr std::string_view hidden = "hidden";       ///< Boolean.
inline constexpr std::string_view rating = "rating";       ///< Integer, 0 to 5.
inline constexpr std::string_view caption = "caption";     ///< Text.
inline constexpr std::string_view keywords = "keywords";   ///< Array of texts; replaces those there.
inline constexpr std::string_view removeKeywords = "removeKeywords"; ///< Array of texts.
inline constexpr std::string_view addKeywords = "addKeywords";       ///< Array of texts; after the removal.

} // namespace wickerlane::protocol::detail

#endif
