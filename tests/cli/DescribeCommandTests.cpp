// wickerlane debug describe
#include "tests/cli/CommandRun.h"

using namespace wickerlane::test;

namespace {

TEST(DescribeCommand, DescribesCountsInALanguage) {
    struct Row {
        std::vector<std::string> arguments;
        std::string text;
    };
    const Row rows[] = {
        {{"--photos", "1234", "--videos", "1", "--language", "en"}, "1,234 Photos and 1 Video\n"},
        {{"--photos", "1234", "--videos", "1", "--language", "de"}, "1.234 Fotos und 1 Video\n"},
        {{"--photos", "1", "--others", "2", "--language", "fr", "--commas"}, "1 photo, 2 éléments\n"},
        {{"--photos", "3", "--videos", "2", "--language", "pt-PT", "--lower-case"}, "3 fotos e 2 vídeos\n"},
        {{"--photos", "1234", "--language", "ja-JP"}, "写真1,234枚\n"},
        {{"--videos", "1234", "--language", "ar-EG"}, "١٬٢٣٤ من الفيديوهات\n"},
        {{"--language", "en-AU", "--lower-case"}, "no photos or videos\n"},
    };
    for (const Row &row : rows) {
        std::vector<std::string> arguments{"debug", "describe"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.output, row.text) << result;
        EXPECT_EQ(result.exitCode, 0) << result;
    }
    EXPECT_EQ(run({"debug", "describe", "--photos", "2", "--language", "de-CH", "--json"}).json(),
              (nlohmann::json{{"language", "de"}, {"text", "2 Fotos"}}));
}

TEST(DescribeCommand, RefusesUnknownLanguagesAndWrongCounts) {
    const CommandResult unknown = run({"debug", "describe", "--photos", "1", "--language", "pl"});
    EXPECT_EQ(unknown.exitCode, 2) << unknown;
    EXPECT_NE(unknown.errors.find("choose one of ar, de, en, fr, ja, pt-BR"), std::string::npos) << unknown;
    for (const char *count : {"-1", "many", "99999999999999999999"})
        EXPECT_EQ(run({"debug", "describe", "--photos", count}).exitCode, 2) << count;
}

} // namespace
