// What somebody may have meant who has misspelt a word.
#ifndef CLI_SUGGESTION_H
#define CLI_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

namespace wickerlane::cli {

/// The word of a list that is most like another: a few letters are wrong, missing, too many or swapped. The
/// case of ASCII letters does not count. Empty when none is like it.
[[nodiscard]] std::string likeliest(std::string_view given, const std::vector<std::string> &words);

/// "; did you mean WORD?", or the end of the sentence.
[[nodiscard]] std::string didYouMean(std::string_view word, const std::vector<std::string> &words);

} // namespace wickerlane::cli

#endif
