#include "cli/view/Languages.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "wickerlane/platform/bundle/LocalizationMatcher.h"

namespace wickerlane::cli::view {
namespace {

constexpr std::size_t maxLanguages = 10;

/// The languages of the header, the most wanted first.
std::vector<std::string> languagesIn(std::string_view header) {
    std::vector<std::pair<double, std::string>> weighted;
    while (!header.empty() && weighted.size() < maxLanguages) {
        const std::size_t length = std::min(header.find(','), header.size());
        std::string_view each = header.substr(0, length);
        header.remove_prefix(std::min(length + 1, header.size()));
        each.remove_prefix(std::min(each.find_first_not_of(' '), each.size()));
        double weight = 1;
        if (const std::size_t quality = each.find(";q="); quality != each.npos)
            std::from_chars(each.data() + quality + 3, each.data() + each.size(), weight);
        weighted.emplace_back(-weight, each.substr(0, each.find(';')));
    }
    std::ranges::stable_sort(weighted, {}, &std::pair<double, std::string>::first);
    std::vector<std::string> languages;
    languages.reserve(weighted.size());
    for (auto &[weight, language] : weighted)
        languages.push_back(std::move(language));
    return languages;
}

} // namespace

std::string languageFor(std::string_view acceptLanguage) {
    const std::vector<std::string> available(pageLanguages.begin(), pageLanguages.end());
    const auto best = matchingLocalizations(available, languagesIn(acceptLanguage));
    return best.empty() ? available.front() : best.front();
}

} // namespace wickerlane::cli::view
