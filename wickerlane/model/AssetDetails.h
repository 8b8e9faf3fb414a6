// What people say of an asset: its bounds, and the form in which it is kept.
#ifndef WICKERLANE_MODEL_ASSETDETAILS_H
#define WICKERLANE_MODEL_ASSETDETAILS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

inline constexpr std::int64_t maxRating = 5; ///< Stars; 0 for none.
inline constexpr std::size_t maxCaptionBytes = 4'096;
inline constexpr std::size_t maxKeywords = 64; ///< Of one asset.
inline constexpr std::size_t maxKeywordBytes = 64;
/// Of the keywords of an asset in the form in which they are kept: one a line, without a line end after the
/// last.
inline constexpr std::size_t maxKeywordLines = maxKeywords * (maxKeywordBytes + 1) - 1;

/// Whether a text can be a caption: valid UTF-8, not too long, no control characters but tabs and line ends.
[[nodiscard]] WL_EXPORT bool isCaption(std::string_view text) noexcept;
/// Whether a text can be a keyword: valid UTF-8, not empty, not too long, no control characters, no space at
/// its start or end.
[[nodiscard]] WL_EXPORT bool isKeyword(std::string_view text) noexcept;
/// Whether a text can be all keywords of an asset, in the form in which they are kept.
[[nodiscard]] WL_EXPORT bool areKeywordLines(std::string_view lines);

/// What of a text can be a caption. Empty for what is not UTF-8.
[[nodiscard]] WL_EXPORT std::string captionOf(std::string_view text);
/// What of a text can be a keyword; may be empty, as for what is not UTF-8.
[[nodiscard]] WL_EXPORT std::string keywordOf(std::string_view text);

[[nodiscard]] WL_EXPORT std::vector<std::string> keywordsIn(std::string_view lines);
/// The keywords in their order as they are kept: each once, no more than there may be, without those that
/// can't be keywords.
[[nodiscard]] WL_EXPORT std::string keywordLines(const std::vector<std::string> &keywords);

} // namespace wickerlane

#endif
