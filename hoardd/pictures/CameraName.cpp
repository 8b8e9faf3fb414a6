#include "hoardd/pictures/CameraName.h"

#include <algorithm>
#include <vector>

namespace wickerlane::hoardd {

namespace {

constexpr std::string_view legalForms[] = {"corporation", "corp", "corp.", "company", "co",       "co.",
                                           "co.,",        "ltd",  "ltd.",  "co.,ltd", "co.,ltd.", "inc",
                                           "inc.",        "gmbh", "ag",    "limited"};

char lowerCase(char each) {
    return each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each;
}

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), lowerCase);
    return lower;
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(' '), text.size());
        if (length > 0)
            words.push_back(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return words;
}

std::string joined(const std::vector<std::string_view> &words) {
    std::string text;
    for (const std::string_view each : words)
        text.append(text.empty() ? "" : " ").append(each);
    return text;
}

} // namespace

std::string cameraName(std::string_view maker, std::string_view model) {
    std::vector<std::string_view> words = wordsOf(maker);
    while (words.size() > 1 &&
           std::ranges::find(legalForms, inLowerCase(words.back())) != std::end(legalForms))
        words.pop_back();
    const std::string name = joined(wordsOf(model));
    if (words.empty() || name.empty())
        return words.empty() ? name : joined(words);
    // A model often begins with the first word of a longer maker.
    return inLowerCase(name).starts_with(inLowerCase(words.front())) ? name : joined(words) + ' ' + name;
}

} // namespace wickerlane::hoardd
