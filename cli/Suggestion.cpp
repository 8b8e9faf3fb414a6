#include "cli/Suggestion.h"

#include <algorithm>

#include "cli/Formatting.h"
#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

/// How many letters must be replaced, added, left out or swapped with the next to make one word of the other.
std::size_t distance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> before, last(other.size() + 1), next(other.size() + 1);
    for (std::size_t j = 0; j <= other.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= one.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            next[j] = std::min(
                {last[j] + 1, next[j - 1] + 1, last[j - 1] + (one[i - 1] == other[j - 1] ? 0U : 1U)});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
                next[j] = std::min(next[j], before[j - 2] + 1);
        }
        before = last;
        std::swap(last, next);
    }
    return last[other.size()];
}

} // namespace

std::string likeliest(std::string_view given, const std::vector<std::string> &words) {
    constexpr std::size_t longest = 64; // more is no misspelt word
    if (given.size() > longest)
        return {};
    const std::string word = lowerCase(given);
    std::string best;
    std::size_t least = std::max<std::size_t>(word.size() / 3, 1) + 1;
    for (const std::string &each : words) {
        const std::string other = lowerCase(each);
        const bool begins = word.size() >= 3 && other.starts_with(word);
        if (!begins && other.size() >= word.size() + least)
            continue; // it may be long
        const std::size_t differences = begins ? 1 : distance(word, other);
        if (differences < least) {
            least = differences;
            best = each;
        }
    }
    return best;
}

std::string didYouMean(std::string_view word, const std::vector<std::string> &words) {
    const std::string best = likeliest(word, words);
    return best.empty() ? localized(".") : localized("; did you mean {}?", best);
}

} // namespace wickerlane::cli
