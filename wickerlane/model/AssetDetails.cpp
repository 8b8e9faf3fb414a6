#include "wickerlane/model/AssetDetails.h"

#include <algorithm>

#include "wickerlane/platform/message/value/MessageText.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

namespace {

enum class Lines { kept, none };

/// The length of the control character at the start of a text, which is not empty; 0 for any other.
std::size_t controlAtStart(std::string_view text, Lines lines) noexcept {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == 0x7F)
        return lines == Lines::kept && (first == '\n' || first == '\t') ? 0 : 1;
    const bool isTwoBytes = first == 0xC2 && text.size() > 1 && static_cast<unsigned char>(text[1]) < 0xA0;
    return isTwoBytes ? 2 : 0;
}

bool hasControls(std::string_view text, Lines lines) noexcept {
    for (; !text.empty(); text.remove_prefix(1))
        if (controlAtStart(text, lines) != 0)
            return true;
    return false;
}

/// Without control characters and the white space at both ends, and cut between characters if it is longer.
std::string tidied(std::string_view text, Lines lines, std::size_t maxBytes) {
    if (!isUTF8(text))
        return {};
    constexpr std::string_view white = " \t\n";
    std::string tidy;
    while (!text.empty() && tidy.size() <= maxBytes) {
        const bool isLineEnd = text[0] == '\r' && !text.substr(1).starts_with('\n');
        if (isLineEnd && lines == Lines::kept && !tidy.empty())
            tidy += '\n';
        const std::size_t control = controlAtStart(text, lines);
        if (control == 0 && !(tidy.empty() && white.find(text[0]) != std::string_view::npos))
            tidy += text[0];
        text.remove_prefix(std::max<std::size_t>(control, 1));
    }
    if (tidy.size() > maxBytes)
        tidy.resize(utf8::lengthOfWhole(std::string_view(tidy).substr(0, maxBytes)));
    tidy.resize(tidy.find_last_not_of(white) + 1);
    return tidy;
}

} // namespace

bool isCaption(std::string_view text) noexcept {
    return text.size() <= maxCaptionBytes && isUTF8(text) && !hasControls(text, Lines::kept);
}

bool isKeyword(std::string_view text) noexcept {
    return !text.empty() && text.size() <= maxKeywordBytes && isUTF8(text) &&
           !hasControls(text, Lines::none) && !text.starts_with(' ') && !text.ends_with(' ');
}

bool areKeywordLines(std::string_view lines) {
    return lines.size() <= maxKeywordLines && keywordLines(keywordsIn(lines)) == lines;
}

std::string captionOf(std::string_view text) {
    return tidied(text, Lines::kept, maxCaptionBytes);
}

std::string keywordOf(std::string_view text) {
    return tidied(text, Lines::none, maxKeywordBytes);
}

std::vector<std::string> keywordsIn(std::string_view lines) {
    std::vector<std::string> keywords;
    while (!lines.empty()) {
        const std::size_t length = std::min(lines.find('\n'), lines.size());
        keywords.emplace_back(lines.substr(0, length));
        lines.remove_prefix(std::min(length + 1, lines.size()));
    }
    return keywords;
}

std::string keywordLines(const std::vector<std::string> &keywords) {
    std::string lines;
    std::vector<std::string_view> taken;
    for (const std::string &each : keywords) {
        if (taken.size() == maxKeywords)
            break;
        if (!isKeyword(each) || std::ranges::find(taken, each) != taken.end())
            continue;
        taken.emplace_back(each);
        lines.append(lines.empty() ? "" : "\n").append(each);
    }
    return lines;
}

} // namespace wickerlane
