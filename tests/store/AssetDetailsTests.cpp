// The form in which captions and keywords are kept.
#include "wickerlane/model/AssetDetails.h"

#include <gtest/gtest.h>

using namespace wickerlane;

namespace {

std::string times(std::size_t count, const char *text) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST(AssetDetails, OfAnyTextComesACaption) {
    const struct {
        std::string text, caption;
    } cases[] = {
        {"", ""},
        {" \n a\tb \r\n c\rd \n\n", "a\tb \n c\nd"},
        {"a\x1B[2J\x7F\xC2\x9B"
         "b\xC2\xA9",
         "a[2Jb\xC2\xA9"},
        {std::string("a\0b", 3), "ab"},
        {"a\xFF", ""},
        {"\r\r ", ""},
        {times(maxCaptionBytes, "x") + "y", times(maxCaptionBytes, "x")},
        {"xyz" + times(maxCaptionBytes / 4, "\xF0\x9F\x98\x80"),
         "xyz" + times(maxCaptionBytes / 4 - 1, "\xF0\x9F\x98\x80")},
        {times(maxCaptionBytes - 1, "x") + " y", times(maxCaptionBytes - 1, "x")},
    };
    for (const auto &[text, caption] : cases) {
        EXPECT_EQ(captionOf(text), caption);
        EXPECT_TRUE(isCaption(captionOf(text))) << text;
        EXPECT_EQ(isCaption(text), text.size() <= maxCaptionBytes &&
                                       text.find_first_of("\r\x1B\xFF\0", 0, 4) == std::string::npos)
            << text;
    }
}

TEST(AssetDetails, OfAnyTextComesAKeyword) {
    const struct {
        std::string text, keyword;
    } cases[] = {
        {"", ""},     {" a  b ", "a  b"}, {"a\nb\tc", "abc"},
        {"\xFF", ""}, {"\n", ""},         {times(23, "\xE2\x82\xAC"), times(21, "\xE2\x82\xAC")},
    };
    for (const auto &[text, keyword] : cases) {
        EXPECT_EQ(keywordOf(text), keyword);
        EXPECT_FALSE(isKeyword(text)) << text;
        EXPECT_EQ(isKeyword(keyword), !keyword.empty()) << keyword;
    }
}

TEST(AssetDetails, KeywordsAreKeptAsLinesInTheirOrder) {
    EXPECT_EQ(keywordLines({"b", "a", "", "b", " c", "d\ne", "A"}), "b\na\nA");
    EXPECT_EQ(keywordsIn("b\na\nA"), (std::vector<std::string>{"b", "a", "A"}));
    EXPECT_TRUE(keywordsIn("").empty());
    std::vector<std::string> many;
    for (std::size_t i = 0; i <= maxKeywords; ++i)
        many.push_back(std::string(maxKeywordBytes - 3, 'x') + std::to_string(100 + i));
    const std::string most = keywordLines(many);
    EXPECT_EQ(most.size(), maxKeywordLines);
    EXPECT_TRUE(areKeywordLines(most));
    for (const std::string &wrong :
         {most + "\ny", std::string("a\n"), std::string("\na"), std::string("a\n\nb"), std::string("a\nb\na"),
          std::string("a "), std::string("\xFF")})
        EXPECT_FALSE(areKeywordLines(wrong)) << wrong;
}

} // namespace
